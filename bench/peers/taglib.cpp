#include "peers/taglib.h"

#include "support/race.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>

#include <attachedpictureframe.h>
#include <benchmark/benchmark.h>
#include <fileref.h>
#include <flacfile.h>
#include <id3v2tag.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <oggfile.h>
#include <tpropertymap.h>
#include <xiphcomment.h>

#include <memory>
#include <set>
#include <string_view>

namespace {

using Picture = TagLib::FLAC::Picture;

std::unique_ptr<Picture> pictureOf(const TagLib::ByteVector& cover)
{
    auto picture = std::make_unique<Picture>();
    picture->setType(Picture::FrontCover);
    picture->setMimeType("image/jpeg");
    picture->setData(cover);
    return picture;
}

void setCover(TagLib::MPEG::File& file, const TagLib::ByteVector& cover)
{
    file.ID3v2Tag(true)->removeFrames("APIC");
    auto frame = std::make_unique<TagLib::ID3v2::AttachedPictureFrame>();
    frame->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
    frame->setMimeType("image/jpeg");
    frame->setPicture(cover);
    file.ID3v2Tag()->addFrame(frame.release());
}

void setCover(TagLib::File& file, const TagLib::ByteVector& cover)
{
    if (auto* const mpeg = dynamic_cast<TagLib::MPEG::File*>(&file)) {
        setCover(*mpeg, cover);
    } else if (auto* const flac = dynamic_cast<TagLib::FLAC::File*>(&file)) {
        flac->removePictures();
        flac->addPicture(pictureOf(cover).release());
    } else if (auto* const mp4 = dynamic_cast<TagLib::MP4::File*>(&file)) {
        TagLib::MP4::CoverArtList list;
        list.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG, cover));
        mp4->tag()->setItem("covr", list);
    } else if (auto* const xiph = dynamic_cast<TagLib::Ogg::XiphComment*>(file.tag())) {
        xiph->removeAllPictures();
        xiph->addPicture(pictureOf(cover).release());
    }
}

TagLib::ByteVector firstOf(const TagLib::List<Picture*>& pictures)
{
    return pictures.isEmpty() ? TagLib::ByteVector() : pictures.front()->data();
}

TagLib::ByteVector coverOf(TagLib::File& file)
{
    if (auto* const mpeg = dynamic_cast<TagLib::MPEG::File*>(&file)) {
        const TagLib::ID3v2::FrameList& frames = mpeg->ID3v2Tag()->frameList("APIC");
        if (frames.isEmpty())
            return {};
        return static_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frames.front())->picture();
    }
    if (auto* const flac = dynamic_cast<TagLib::FLAC::File*>(&file))
        return firstOf(flac->pictureList());
    if (auto* const mp4 = dynamic_cast<TagLib::MP4::File*>(&file)) {
        const TagLib::MP4::CoverArtList covers = mp4->tag()->item("covr").toCoverArtList();
        return covers.isEmpty() ? TagLib::ByteVector() : covers.front().data();
    }
    if (auto* const xiph = dynamic_cast<TagLib::Ogg::XiphComment*>(file.tag()))
        return firstOf(xiph->pictureList());
    return {};
}

void scaleDown(const TagLib::ByteVector& cover, int width)
{
    QByteArray bytes = QByteArray::fromRawData(cover.data(), static_cast<int>(cover.size()));
    QBuffer in(&bytes);
    QImageReader reader(&in, "jpeg");
    const QSize size = reader.size();
    require(size.width() > width, "a cover is too small");
    reader.setScaledSize({width, size.height() * width / size.width()});
    QByteArray scaled;
    QBuffer out(&scaled);
    require(reader.read().save(&out, "jpeg", 85), "cannot scale a cover");
}

void readPlayListFields(const TagLib::FileRef& file)
{
    benchmark::DoNotOptimize(file.tag()->title());
    benchmark::DoNotOptimize(file.tag()->artist());
    benchmark::DoNotOptimize(file.tag()->album());
    benchmark::DoNotOptimize(file.audioProperties()->lengthInMilliseconds());
}

void readLibraryFields(const TagLib::FileRef& file)
{
    readPlayListFields(file);
    const TagLib::PropertyMap properties = file.file()->properties();
    for (const char* const name : {"ALBUMARTIST", "GENRE", "TRACKNUMBER", "DISCNUMBER", "DATE"})
        benchmark::DoNotOptimize(properties.value(name).toString());
    benchmark::DoNotOptimize(file.audioProperties()->bitrate());
    benchmark::DoNotOptimize(file.audioProperties()->sampleRate());
    benchmark::DoNotOptimize(file.audioProperties()->channels());
}

} // namespace

void writeTags(const std::string& file, const Tags& tags, const TagLib::ByteVector& cover)
{
    TagLib::FileRef reference(file.c_str());
    require(!reference.isNull(), "TagLib does not know a kind of file");
    const auto utf8 = [](const std::string& text) { return TagLib::String(text, TagLib::String::UTF8); };
    reference.tag()->setTitle(utf8(tags.title));
    reference.tag()->setArtist(utf8(tags.artist));
    reference.tag()->setAlbum(utf8(tags.album));
    reference.tag()->setTrack(tags.track);
    reference.tag()->setYear(tags.year);
    setCover(*reference.file(), cover);
    require(reference.save(), "cannot write tags");
}

void BareTagLib::readForPlayList(const std::vector<std::string>& files)
{
    for (const std::string& file : files)
        readPlayListFields(TagLib::FileRef(file.c_str()));
}

void BareTagLib::readForLibrary(const std::vector<std::string>& files, int coverWidth)
{
    std::set<TagLib::ByteVector> known;
    for (const std::string& file : files) {
        const TagLib::FileRef reference(file.c_str());
        readLibraryFields(reference);
        const TagLib::ByteVector cover = coverOf(*reference.file());
        if (!cover.isEmpty() && known.insert(cover).second)
            scaleDown(cover, coverWidth);
    }
}
