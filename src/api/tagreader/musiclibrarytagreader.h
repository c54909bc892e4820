#pragma once

#include "tagreader/tagreader.h"

/// Items for the music library: beside what a playlist has, album artist, genre, numbers, year, the format of the sound
/// and the front cover.
class TAVO_TAGREADER_EXPORT MusicLibraryTagReader : public TagReader
{
public:
    /// Covers wider than `albumArtWidth` pixels are scaled down to it, ratio kept; narrower ones stay as they are.
    /// 0 or less: items without covers.
    explicit MusicLibraryTagReader(int albumArtWidth);

    [[nodiscard]] QVariant
    readItem(const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const override;

private:
    int m_albumArtWidth;
};
