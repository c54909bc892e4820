#pragma once

#include "tagreader/tagreader.h"

/// Makes items for playlists, with title, artist, album and duration. It never reads pictures.
class TAVO_TAGREADER_EXPORT PlayListTagReader : public TagReader
{
public:
    PlayListTagReader() = default;

    /// As TagReader::readItem().
    [[nodiscard]] QVariant
    readItem(const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const override;
};
