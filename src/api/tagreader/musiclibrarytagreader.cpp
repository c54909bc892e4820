#include "musiclibrarytagreader.h"

#include "coverartcache_p.h"
#include "mediaitem_p.h"
#include "readsafely_p.h"

namespace {

CoverArt albumArt(const TagFile& file, int width)
{
    const TagLib::ByteVector picture = file.frontCover();
    if (picture.isEmpty())
        return {};
    const QByteArray bytes = QByteArray::fromRawData(picture.data(), static_cast<int>(picture.size()));
    return CoverArtCache::instance().get(bytes, width);
}

} // namespace

MusicLibraryTagReader::MusicLibraryTagReader(int albumArtWidth) : m_albumArtWidth(albumArtWidth) {}

QVariant MusicLibraryTagReader::readItem(
    const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const
{
    const bool withArt = m_albumArtWidth > 0;
    MediaItem item(root, path, serviceId, rows);
    readSafely([&] {
        TagFile file(root.absoluteFilePath(path), withArt ? TagFile::Pictures::Read : TagFile::Pictures::Skipped);
        item.addLibraryFields(file);
        if (withArt)
            item.addAlbumArt(albumArt(file, m_albumArtWidth));
    });
    return item.toVariant();
}
