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

void readTags(const QString& path, WantedTags wanted, int coverWidth, FileTags& tags)
{
    const bool withCover = coverWidth > 0;
    TagFile file(path, withCover ? TagFile::Pictures::Read : TagFile::Pictures::Skipped);
    FileTags read;
    readPlayListTags(file, read);
    if (wanted == WantedTags::Library)
        readFurtherTags(file, read);
    if (withCover)
        read.cover = readCover(file, coverWidth);
    tags = read;
}

void readAudioCover(int descriptor, const QString& extension, int width, CoverArt& cover)
{
    cover = readCover(TagFile(descriptor, extension, TagFile::Pictures::Read), width);
}

/// Empty if the file is longer than any picture needs to be.
QByteArray contentOf(int descriptor)
{
    constexpr int longestPicture = 1 << 25;
    BoundedStream file(descriptor);
    if (file.length() > longestPicture)
        return {};
    file.setLimits({longestPicture, longestPicture, longestPicture, 1});
    const TagLib::ByteVector content = file.readBlock(static_cast<unsigned long>(file.length()));
    return {content.data(), static_cast<int>(content.size())};
}

void readPicture(int descriptor, int width, CoverArt& cover)
{
    cover = makeCoverArt(contentOf(descriptor), width);
}

} // namespace

extern "C" Q_DECL_EXPORT const TagFunctions tavo_tag_functions;
const TagFunctions tavo_tag_functions = {readTags, readAudioCover, readPicture};
