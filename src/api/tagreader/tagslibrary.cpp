#include "coverartcache_p.h"
#include "filetags_p.h"
#include "tagfile_p.h"

#include <new>

namespace {

void readPlayListTags(TagFile& file, FileTags& tags)
{
    tags.title = file.text(TagField::Title);
    tags.artist = file.text(TagField::Artist);
    tags.album = file.text(TagField::Album);
    tags.sound = file.sound();
}

void readFurtherTags(const TagFile& file, FileTags& tags)
{
    tags.albumArtist = file.text(TagField::AlbumArtist);
    tags.genre = file.text(TagField::Genre);
    tags.trackNumber = file.trackNumber();
    tags.discNumber = file.discNumber();
    tags.year = file.year();
}

CoverArt readCover(const TagFile& file, int width)
{
    try {
        const TagLib::ByteVector picture = file.frontCover();
        if (picture.isEmpty())
            return {};
        const auto bytes = QByteArray::fromRawData(picture.data(), static_cast<int>(picture.size()));
        return CoverArtCache::instance().get(bytes, width);
    } catch (const std::bad_alloc&) {
        // A picture may be large; the other tags are worth having without it.
        return {};
    }
}

FileTags readTags(const QString& path, WantedTags wanted, int coverWidth)
{
    const bool withCover = coverWidth > 0;
    TagFile file(path, withCover ? TagFile::Pictures::Read : TagFile::Pictures::Skipped);
    FileTags tags;
    readPlayListTags(file, tags);
    if (wanted == WantedTags::Library)
        readFurtherTags(file, tags);
    if (withCover)
        tags.cover = readCover(file, coverWidth);
    return tags;
}

} // namespace

extern "C" Q_DECL_EXPORT void
tavo_read_file_tags(const QString& path, WantedTags wanted, int coverWidth, FileTags& tags)
{
    tags = readTags(path, wanted, coverWidth);
}
