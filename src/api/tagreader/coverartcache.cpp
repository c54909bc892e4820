#include "coverartcache_p.h"

#include <QHash>

#include <string_view>

static bool operator==(const CoverArtCache::Key& a, const CoverArtCache::Key& b)
{
    return a.contentHash == b.contentHash && a.length == b.length && a.width == b.width;
}

static uint qHash(const CoverArtCache::Key& key, uint seed)
{
    return ::qHash(static_cast<quint64>(key.contentHash), seed);
}

namespace {

/// What an entry takes beside its bytes.
constexpr int entryOverhead = 256;

CoverArtCache::Key keyOf(const QByteArray& picture, int width)
{
    const std::string_view bytes(picture.constData(), static_cast<size_t>(picture.size()));
    return {std::hash<std::string_view>()(bytes), picture.size(), width};
}

} // namespace

CoverArtCache& CoverArtCache::instance()
{
    static CoverArtCache cache;
    return cache;
}

CoverArt CoverArtCache::get(const QByteArray& picture, int width)
{
    const Key key = keyOf(picture, width);
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
