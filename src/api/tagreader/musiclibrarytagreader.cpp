#include "musiclibrarytagreader.h"

#include "coverartcache_p.h"
#include "mediaitem_p.h"

MusicLibraryTagReader::MusicLibraryTagReader(int albumArtWidth) : m_albumArtWidth(albumArtWidth) {}

QVariant MusicLibraryTagReader::readItem(
    const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const
{
    MediaItem item(root, path, serviceId, rows);
    const WantedTags wanted = m_albumArtWidth > 0 ? WantedTags::LibraryAndCover : WantedTags::Library;
    readFileTags(root.absoluteFilePath(path), wanted, [&](const FileTags& tags) {
        item.addLibraryFields(tags);
        if (!tags.frontCover.isEmpty())
            item.addAlbumArt(CoverArtCache::instance().get(tags.frontCover, m_albumArtWidth));
    });
    return item.toVariant();
}
