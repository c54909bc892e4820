#include "musiclibrarytagreader.h"

#include "itemrequest_p.h"
#include "mediaitem_p.h"

MusicLibraryTagReader::MusicLibraryTagReader(int albumArtWidth) : m_albumArtWidth(albumArtWidth) {}

QVariant MusicLibraryTagReader::readItem(
    const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const
{
    return itemWithinRequest([&] {
        MediaItem item(root, path, serviceId, rows);
        item.addLibraryFields(readFileTags(root.absoluteFilePath(path), WantedTags::Library, m_albumArtWidth));
        return item.toVariant();
    });
}
