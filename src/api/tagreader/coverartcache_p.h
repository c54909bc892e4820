#pragma once

#include "coverart_p.h"

#include <QCache>
#include <QMutex>
#include <QPair>

/// Keeps the art that was used last, up to 8 MB, since the tracks of an album carry the same picture. Thread-safe; art
/// is made without holding the lock.
class CoverArtCache
{
public:
    [[nodiscard]] static CoverArtCache& instance();

    /// As makeCoverArt(). `picture` may be raw data that is valid during the call only.
    [[nodiscard]] CoverArt get(const QByteArray& picture, int width);

private:
    /// The picture's cryptographic digest and the width, so that no file can be made to show another's cover.
    using Key = QPair<QByteArray, int>;

    struct DigestedPicture
    {
        QByteArray picture;
        QByteArray digest;
    };

    [[nodiscard]] QByteArray digestOf(const QByteArray& picture);

    QMutex m_mutex;
    QCache<Key, CoverArt> m_art{8 << 20};
    DigestedPicture m_last;
};
