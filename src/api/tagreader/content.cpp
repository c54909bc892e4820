#include "content_p.h"

#include <id3v2header.h>

#include <QHash>

#include <algorithm>
#include <string_view>

namespace {

using namespace std::string_view_literals;

struct Signature
{
    size_t offset;
    std::string_view bytes;
    ContentKind kind;
};

template<size_t Count>
ContentKind firstMatch(std::string_view head, const Signature (&signatures)[Count])
{
    const auto* found = std::find_if(std::begin(signatures), std::end(signatures), [head](const Signature& known) {
        return head.size() >= known.offset && head.compare(known.offset, known.bytes.size(), known.bytes) == 0;
    });
    return found == std::end(signatures) ? ContentKind::Unknown : found->kind;
}

/// The codec's own header starts the first packet, behind the page's header and its table of segments.
ContentKind oggKind(std::string_view head)
{
    static constexpr Signature signatures[] = {
        {0, "\x01vorbis"sv, ContentKind::OggVorbis},
        {0, "OpusHead"sv, ContentKind::OggOpus},
        {0, "\x7f\x46LAC"sv, ContentKind::OggFlac},
        {0, "Speex   "sv, ContentKind::OggSpeex}};
    constexpr size_t pageHeader = 27;
    if (head.size() < pageHeader)
        return ContentKind::Unknown;
    const auto segments = static_cast<unsigned char>(head[pageHeader - 1]);
    return firstMatch(head.substr(std::min(head.size(), pageHeader + segments)), signatures);
}

/// Frames of MPEG audio start with 11 set bits; ADTS has a 12th, and 0 for the layer.
ContentKind frameKind(std::string_view head)
{
    if (head.size() < 2 || head[0] != '\xff' || (head[1] & 0xe0) != 0xe0)
        return ContentKind::Unknown;
    if ((head[1] & 0xf6) == 0xf0)
        return ContentKind::Adts;
    return (head[1] & 0x06) == 0 ? ContentKind::Unknown : ContentKind::Mpeg;
}

/// Recognises the kinds that may follow an ID3v2 tag.
ContentKind streamKind(std::string_view head)
{
    static constexpr Signature signatures[] = {
        {0, "fLaC"sv, ContentKind::Flac},     {0, "MAC "sv, ContentKind::Ape},
        {0, "wvpk"sv, ContentKind::WavPack},  {0, "MP+"sv, ContentKind::Musepack},
        {0, "MPCK"sv, ContentKind::Musepack}, {0, "TTA1"sv, ContentKind::TrueAudio}};
    const ContentKind kind = firstMatch(head, signatures);
    return kind == ContentKind::Unknown ? frameKind(head) : kind;
}

ContentKind containerKind(std::string_view head)
{
    static constexpr Signature signatures[] = {
        {4, "ftyp"sv, ContentKind::Mp4},
        {8, "WAVE"sv, ContentKind::Wav},
        {8, "AIFF"sv, ContentKind::Aiff},
        {8, "AIFC"sv, ContentKind::Aiff},
        {0, "\x30\x26\xb2\x75\x8e\x66\xcf\x11\xa6\xd9\x00\xaa\x00\x62\xce\x6c"sv, ContentKind::Asf}};
    return head.substr(0, 4) == "OggS" ? oggKind(head) : firstMatch(head, signatures);
}

TagLib::ByteVector headAt(TagLib::IOStream& stream, long offset)
{
    // Enough for an Ogg page header with a full table of segments and the name of a codec.
    constexpr unsigned long length = 27 + 255 + 8;
    stream.seek(offset);
    return stream.readBlock(length);
}

std::string_view view(const TagLib::ByteVector& bytes)
{
    return {bytes.data(), bytes.size()};
}

Content contentOf(TagLib::IOStream& stream)
{
    const TagLib::ByteVector bytes = headAt(stream, 0);
    const std::string_view head = view(bytes);
    if (head.substr(0, 3) == "ID3") {
        const TagLib::ID3v2::Header tag(bytes.mid(0, TagLib::ID3v2::Header::size()));
        const auto start = static_cast<long>(tag.completeTagSize());
        return {streamKind(view(headAt(stream, start))), start};
    }
    const ContentKind kind = containerKind(head);
    return {kind == ContentKind::Unknown ? streamKind(head) : kind, 0};
}

/// Musepack is missing here: TagLib would take anything for its earliest version, which has no signature.
ContentKind kindByExtension(const QString& extension)
{
    static const QHash<QString, ContentKind> kinds = [] {
        const std::pair<ContentKind, const char*> extensions[] = {
            {ContentKind::Mpeg, "mp3 mp2 mp1 mpga"},
            {ContentKind::Flac, "flac"},
            {ContentKind::OggVorbis, "ogg oga"},
            {ContentKind::OggOpus, "opus"},
            {ContentKind::OggSpeex, "spx"},
            {ContentKind::Mp4, "m4a m4b m4p m4r m4v mp4 3gp 3g2"},
            {ContentKind::Wav, "wav"},
            {ContentKind::Aiff, "aif aiff aifc afc"},
            {ContentKind::Asf, "wma asf"},
            {ContentKind::Ape, "ape"},
            {ContentKind::WavPack, "wv"},
            {ContentKind::TrueAudio, "tta"}};
        QHash<QString, ContentKind> result;
        for (const auto& [kind, names] : extensions) {
            for (const QString& name : QString::fromLatin1(names).split(QLatin1Char(' ')))
                result.insert(name, kind);
        }
        return result;
    }();
    return kinds.value(extension, ContentKind::Unknown);
}

} // namespace

Content findContent(TagLib::IOStream& stream, const QString& extension)
{
    Content content = contentOf(stream);
    if (content.kind == ContentKind::Unknown)
        content.kind = kindByExtension(extension);
    return content;
}
