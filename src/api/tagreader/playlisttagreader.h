#pragma once

#include "tagreader/tagreader.h"

/// Items for playlists: title, artist, album and duration. Never looks at pictures.
class TAVO_TAGREADER_EXPORT PlayListTagReader : public TagReader
{
public:
    PlayListTagReader() = default;

    [[nodiscard]] QVariant
    readItem(const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const override;
};
