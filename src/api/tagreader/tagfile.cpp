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

/// For Ogg, whose comments may go on for as long as a file: what a comment with the longest picture needs.
constexpr BoundedStream::Limits oggLimits = {1UL << 24, 3UL << 23, 200'000};

/// 0 for what is no number of anything.
int positive(unsigned int number)
{
    return number <= static_cast<unsigned int>(std::numeric_limits<int>::max()) ? static_cast<int>(number) : 0;
}

} // namespace

TagFile::TagFile(const QString& path, Pictures pictures) : m_stream(QFile::encodeName(path)), m_frames(pictures)
{
    if (!m_stream.isOpen())
        return;
    m_content = findContent(m_stream, QFileInfo(path).suffix().toLower());
    m_stream.seek(0);
    open();
}

void TagFile::open()
{
    switch (m_content.kind) {
    case ContentKind::Unknown:
        break;
    case ContentKind::Mpeg:
        openMpeg();
        break;
    case ContentKind::Adts:
        // Without a tag at its start, TagLib would look through all of a file for frames that it does not know.
        m_content.start > 0 ? openMpeg(false) : openWithApeTag<TagLib::APE::File>(false);
        break;
    case ContentKind::Flac:
        openFlac();
        break;
    case ContentKind::OggVorbis:
        openOgg<TagLib::Ogg::Vorbis::File>();
        break;
    case ContentKind::OggOpus:
        openOgg<TagLib::Ogg::Opus::File>();
        break;
    case ContentKind::OggFlac:
        openOgg<TagLib::Ogg::FLAC::File>();
        break;
    case ContentKind::OggSpeex:
        openOgg<TagLib::Ogg::Speex::File>();
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
    m_stream.hideId3Chunk();
    if (auto* file = openAs<TagLib::RIFF::WAV::File>())
        addTags({hiddenTag(), file->InfoTag()});
}

void TagFile::openAiff()
{
    m_stream.hideId3Chunk();
    if (openAs<TagLib::RIFF::AIFF::File>())
        addTags({hiddenTag()});
}

template<typename File>
void TagFile::openOgg()
{
    m_stream.setLimits(oggLimits);
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
    constexpr unsigned int lastYear = 9999;
    const unsigned int year = firstOf([](const TagLib::Tag& tag) { return tag.year(); });
    return year <= lastYear ? static_cast<int>(year) : 0;
}

int TagFile::trackNumber() const
{
    return positive(firstOf([](const TagLib::Tag& tag) { return tag.track(); }));
}

int TagFile::discNumber() const
{
    return firstOf([](const TagLib::Tag& tag) { return std::max(tagDiscNumber(tag), 0); });
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
