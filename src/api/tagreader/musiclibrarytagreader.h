#pragma once

#include "tagreader/tagreader.h"

/// Makes items for the music library. They have all fields of a playlist's items and album artist, genre, track and
/// disc number, year, the format of the sound and the front cover.
class TAVO_TAGREADER_EXPORT MusicLibraryTagReader : public TagReader
{
public:
    /// Covers wider than `albumArtWidth` pixels are scaled down to it, ratio kept; narrower ones are not scaled.
    /// 0 or less: items have no covers.
    explicit MusicLibraryTagReader(int albumArtWidth);

    /// As TagReader::readItem().
    [[nodiscard]] QVariant
    readItem(const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const override;

private:
    int m_albumArtWidth;
};
