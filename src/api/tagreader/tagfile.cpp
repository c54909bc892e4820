#include "tagfile_p.h"

#include "frontcover_p.h"

#include <QFile>
#include <QFileInfo>

#include <aifffile.h>
#include <apefile.h>
#include <apetag.h>
#include <asffile.h>
#include <asftag.h>
#include <flacfile.h>
#include <id3v1tag.h>
#include <infotag.h>
#include <mp4file.h>
#include <mp4tag.h>
#include <mpcfile.h>
#include <mpegfile.h>
#include <oggflacfile.h>
#include <opusfile.h>
#include <speexfile.h>
#include <trueaudiofile.h>
#include <vorbisfile.h>
#include <wavfile.h>
#include <wavpackfile.h>
#include <xiphcomment.h>

#include <limits>

namespace {

/// For the kinds whose blocks may be text or pictures: decoded text takes a multiple of its length.
constexpr BoundedStream::Limits tightLimits = {1UL << 23, 1UL << 23, 1UL << 22, 100'000};
/// For the kinds whose blocks may even hold any number of texts. Pictures are unusual in them.
constexpr BoundedStream::Limits tightestLimits = {1UL << 20, 1UL << 20, 1UL << 20, 100'000};

} // namespace

TagFile::TagFile(const QString& path, Pictures pictures) : m_stream(QFile::encodeName(path)), m_frames(pictures)
{
    open(QFileInfo(path).suffix());
}

TagFile::TagFile(int descriptor, const QString& extension, Pictures pictures) : m_stream(descriptor), m_frames(pictures)
{
    open(extension);
}

void TagFile::open(const QString& extension)
{
    if (!m_stream.isOpen())
        return;
    m_content = findContent(m_stream, extension.toLower());
    m_stream.setKind(m_content.kind);
    m_stream.seek(0);
    openContent();
}

void TagFile::openContent()
{
    switch (m_content.kind) {
    case ContentKind::Unknown:
        break;
    case ContentKind::Mpeg:
        openMpeg();
        break;
    case ContentKind::Adts:
        // If there is no tag at the start, TagLib's MPEG reader would search the whole file for frames of its own.
        if (m_content.start > 0)
            openMpeg(false);
        else
            openWithApeTag<TagLib::APE::File>(false);
        break;
    case ContentKind::Flac:
        openFlac();
        break;
    case ContentKind::OggVorbis:
        openOgg<TagLib::Ogg::Vorbis::File>(tightLimits);
        break;
    case ContentKind::OggOpus:
        openOgg<TagLib::Ogg::Opus::File>(tightLimits);
        break;
    case ContentKind::OggFlac:
        openOgg<TagLib::Ogg::FLAC::File>(tightestLimits);
        break;
    case ContentKind::OggSpeex:
        openOgg<TagLib::Ogg::Speex::File>(tightestLimits);
        break;
    case ContentKind::Mp4:
        if (auto* file = openAs<TagLib::MP4::File>())
            addTags({file->tag()});
        break;
    case ContentKind::Wav:
        openWav();
        break;
    case ContentKind::Aiff:
        openAiff();
        break;
    case ContentKind::Asf:
        m_stream.setLimits(tightLimits);
        if (auto* file = openAs<TagLib::ASF::File>())
            addTags({file->tag()});
        break;
    case ContentKind::Ape:
        openWithApeTag<TagLib::APE::File>();
        break;
    case ContentKind::WavPack:
        openWithApeTag<TagLib::WavPack::File>();
        break;
    case ContentKind::Musepack:
        openWithApeTag<TagLib::MPC::File>();
        break;
    case ContentKind::TrueAudio:
        if (auto* file = openAs<TagLib::TrueAudio::File>(&m_frames))
            addTags({file->ID3v2Tag(), file->ID3v1Tag()});
        break;
    }
}

void TagFile::openMpeg(bool readProperties)
{
    if (auto* file = openAs<TagLib::MPEG::File>(&m_frames, readProperties))
        addTags({file->ID3v2Tag(), file->APETag(), file->ID3v1Tag()});
}

void TagFile::openFlac()
{
    if (auto* file = openAs<TagLib::FLAC::File>(&m_frames))
        addTags({file->xiphComment(), file->ID3v2Tag(), file->ID3v1Tag()});
}

void TagFile::openWav()
{
    if (auto* file = openAs<TagLib::RIFF::WAV::File>())
        addTags({hiddenTag(), file->InfoTag()});
}

void TagFile::openAiff()
{
    if (openAs<TagLib::RIFF::AIFF::File>())
        addTags({hiddenTag()});
}

template<typename File>
void TagFile::openOgg(const BoundedStream::Limits& limits)
{
    m_stream.setLimits(limits);
    if (auto* file = openAs<File>())
        addTags({file->tag()});
}

template<typename File>
void TagFile::openWithApeTag(bool readProperties)
{
    if (auto* file = openAs<File>(readProperties))
        addTags({file->APETag(), file->ID3v1Tag()});
}

template<typename File, typename... Arguments>
File* TagFile::openAs(Arguments... arguments)
{
    auto file = std::make_unique<File>(&m_stream, arguments...);
    if (!file->isValid())
        return nullptr;
    File* result = file.get();
    m_file = std::move(file);
    return result;
}

void TagFile::addTags(std::initializer_list<TagLib::Tag*> tags)
{
    std::copy_if(tags.begin(), tags.end(), std::back_inserter(m_tags), [](const TagLib::Tag* tag) { return tag; });
}

TagLib::Tag* TagFile::hiddenTag()
{
    if (m_stream.hiddenTag() >= 0)
        m_hiddenTag = std::make_unique<TagLib::ID3v2::Tag>(m_file.get(), m_stream.hiddenTag(), &m_frames);
    return m_hiddenTag.get();
}

template<typename Get>
auto TagFile::firstOf(Get get) const
{
    decltype(get(*m_tags.front())) result = {};
    for (TagLib::Tag* tag : m_tags) {
        result = get(*tag);
        if (result != decltype(result)())
            break;
    }
    return result;
}

QString TagFile::text(TagField field) const
{
    return firstOf([field](const TagLib::Tag& tag) { return tagText(tag, field); });
}

int TagFile::year() const
{
    constexpr int lastYear = 9999;
    int year = firstOf([](const TagLib::Tag& tag) { return tagNumber(tag, TagNumber::Year); });
    // A date such as 19980501 starts with its year.
    while (year > lastYear)
        year /= 10;
    return year;
}

int TagFile::trackNumber() const
{
    return firstOf([](const TagLib::Tag& tag) { return tagNumber(tag, TagNumber::Track); });
}

int TagFile::discNumber() const
{
    return firstOf([](const TagLib::Tag& tag) { return tagNumber(tag, TagNumber::Disc); });
}

SoundFormat TagFile::sound()
{
    if (m_content.kind == ContentKind::Adts)
        return adtsFormat(m_stream, m_content.start);
    const TagLib::AudioProperties* properties = m_file ? m_file->audioProperties() : nullptr;
    if (!properties)
        return {};
    constexpr int thousand = 1000;
    const int kilobits = std::min(properties->bitrate(), std::numeric_limits<int>::max() / thousand);
    return {properties->lengthInMilliseconds(), kilobits * thousand, properties->sampleRate(), properties->channels()};
}

TagLib::ByteVector TagFile::frontCover() const
{
    if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(m_file.get())) {
        const TagLib::ByteVector picture = ::frontCover(flac->pictureList());
        if (!picture.isEmpty())
            return picture;
    }
    return firstOf([](TagLib::Tag& tag) { return ::frontCover(tag); });
}
