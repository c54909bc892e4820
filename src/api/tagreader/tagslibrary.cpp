#include "filetags_p.h"
#include "tagfile_p.h"

#include <new>

namespace {

FileTags playListTags(TagFile& file)
{
    FileTags tags;
    tags.title = file.text(TagField::Title);
    tags.artist = file.text(TagField::Artist);
    tags.album = file.text(TagField::Album);
    tags.sound = file.sound();
    return tags;
}

FileTags libraryTags(TagFile& file)
{
    FileTags tags = playListTags(file);
    tags.albumArtist = file.text(TagField::AlbumArtist);
    tags.genre = file.text(TagField::Genre);
    tags.trackNumber = file.trackNumber();
    tags.discNumber = file.discNumber();
    tags.year = file.year();
    return tags;
}

TagLib::ByteVector frontCover(const TagFile& file)
{
    try {
        return file.frontCover();
    } catch (const std::bad_alloc&) {
        // It may be large, and the rest is worth having without it.
        return {};
    }
}

void readTags(const QString& path, WantedTags wanted, const FileTagsUser& use)
{
    const bool withCover = wanted == WantedTags::LibraryAndCover;
    TagFile file(path, withCover ? TagFile::Pictures::Read : TagFile::Pictures::Skipped);
    FileTags tags = wanted == WantedTags::PlayList ? playListTags(file) : libraryTags(file);
    const TagLib::ByteVector picture = withCover ? frontCover(file) : TagLib::ByteVector();
    tags.frontCover = QByteArray::fromRawData(picture.data(), static_cast<int>(picture.size()));
    // While the file is open: what outlasts it would else come to lie scattered over the memory that it gave back.
    use(tags);
}

} // namespace

extern "C" Q_DECL_EXPORT void tavo_read_file_tags(const QString& path, WantedTags wanted, const FileTagsUser& use)
{
    readTags(path, wanted, use);
}
