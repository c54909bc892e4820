#pragma once

#include "coverart_p.h"

#include <QCache>
#include <QMutex>

/// Remembers the art that was last made, a few MB of it, by its picture's content: the tracks of an album carry the
/// same one. Thread-safe; no lock is held while art is made.
class CoverArtCache
{
public:
    [[nodiscard]] static CoverArtCache& instance();

    /// As makeCoverArt().
    [[nodiscard]] CoverArt get(const QByteArray& picture, int width);

    struct Key
    {
        size_t contentHash;
        int length;
        int width;
    };

private:
    QMutex m_mutex;
    QCache<Key, CoverArt> m_art{8 << 20};
};
