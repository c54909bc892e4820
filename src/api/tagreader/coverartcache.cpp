#include "coverartcache_p.h"

#include <QCryptographicHash>

/// The bytes that an entry takes beside its art's data.
static constexpr int entryOverhead = 256;

CoverArtCache& CoverArtCache::instance()
{
    static CoverArtCache cache;
    return cache;
}

CoverArt CoverArtCache::get(const QByteArray& picture, int width)
{
    const Key key(digestOf(picture), width);
    {
        const QMutexLocker locked(&m_mutex);
        if (const CoverArt* known = m_art.object(key))
            return *known;
    }
    CoverArt art = makeCoverArt(picture, width);
    const QMutexLocker locked(&m_mutex);
    m_art.insert(key, new CoverArt(art), art.data.size() + entryOverhead);
    return art;
}

QByteArray CoverArtCache::digestOf(const QByteArray& picture)
{
    // The tracks of an album follow each other, and comparing pictures is much faster than hashing them.
    QMutexLocker locker(&m_mutex);
    const DigestedPicture last = m_last;
    locker.unlock();
    if (picture == last.picture)
        return last.digest;
    // Qt's SHA-2 takes twice as long and more.
    const QByteArray copy(picture.constData(), picture.size());
    const DigestedPicture digested = {copy, QCryptographicHash::hash(copy, QCryptographicHash::Sha3_256)};
    locker.relock();
    m_last = digested;
    return digested.digest;
}
