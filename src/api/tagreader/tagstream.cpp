#include "tagstream_p.h"

#include "textlimit_p.h"

#include <algorithm>
#include <string_view>

namespace {

/// Whether the name is that of an ASF object that starts with its number of attributes.
bool hasAsfAttributes(const TagLib::ByteVector& name)
{
    using namespace std::string_view_literals;
    static constexpr std::string_view names[] = {
        "\x40\xa4\xd0\xd2\x07\xe3\xd2\x11\x97\xf0\x00\xa0\xc9\x5e\xa8\x50"sv,
        "\xea\xcb\xf8\xc5\xaf\x5b\x77\x48\x84\x67\xaa\x8c\x44\xfa\x4c\xca"sv,
        "\x94\x1c\x23\x44\x98\x94\xd1\x49\xa1\x41\x1d\x13\x4e\x45\x70\x54"sv};
    return std::find(std::begin(names), std::end(names), std::string_view(name.data(), name.size())) != std::end(names);
}

} // namespace

TagLib::ByteVector TagStream::readBlock(unsigned long length)
{
    constexpr long chunkSize = 4;
    TagLib::ByteVector block = BoundedStream::readBlock(length);
    if (isId3ChunkName(block)) {
        if (m_hiddenTag < 0)
            m_hiddenTag = tell() + chunkSize;
        return "junk";
    }
    limitText(block);
    remember(block);
    return block;
}

bool TagStream::isId3ChunkName(const TagLib::ByteVector& block) const
{
    constexpr unsigned int chunkName = 4;
    return block.size() == chunkName && (m_kind == ContentKind::Wav || m_kind == ContentKind::Aiff) &&
           (block == "ID3 " || block == "id3 ");
}

void TagStream::limitText(TagLib::ByteVector& block)
{
    constexpr char vorbisComment[] = "\x03vorbis";
    constexpr char opusComment[] = "OpusTags";
    if (m_kind == ContentKind::Mp4)
        limitMp4Text(block);
    else if (m_kind == ContentKind::Asf)
        limitAsfAttributes(block);
    else if (m_kind == ContentKind::OggVorbis && block.startsWith(vorbisComment))
        TextLimit::applyToVorbisCommentStart(block, sizeof(vorbisComment) - 1);
    else if (m_kind == ContentKind::OggOpus && block.startsWith(opusComment))
        TextLimit::applyToVorbisCommentStart(block, sizeof(opusComment) - 1);
    else if (block.size() > TextLimit::mostText)
        limitLongText(block);
}

void TagStream::limitLongText(TagLib::ByteVector& block)
{
    constexpr char flacComment = 4;
    constexpr char flacKindMask = 0x7f;
    if (std::string_view(m_lastStart.data(), m_lastStart.size()) == "APETAGEX")
        TextLimit::applyToApeItems(block);
    else if (m_kind == ContentKind::Flac && m_lastLength == 4 && (m_lastStart[0] & flacKindMask) == flacComment)
        TextLimit::applyToVorbisComment(block);
    else if (m_kind == ContentKind::Wav && block.startsWith("INFO"))
        block.resize(TextLimit::mostText);
}

void TagStream::limitMp4Text(TagLib::ByteVector& block)
{
    constexpr unsigned int shortestValue = 16;
    if (block.size() < shortestValue || !TextLimit::isMp4Text(block))
        return;
    if (block.size() > TextLimit::mostText - m_mp4Text)
        block.clear();
    else
        m_mp4Text += block.size();
}

/// TagLib creates as many attributes as the file claims to have.
void TagStream::limitAsfAttributes(TagLib::ByteVector& block)
{
    constexpr unsigned int nameOfObject = 16;
    // The object's size is read between its name and the number.
    if (block.size() == nameOfObject)
        m_asfCountAhead = hasAsfAttributes(block) ? 2 : 0;
    else if (m_asfCountAhead > 0 && --m_asfCountAhead == 0 && block.toUShort(false) > TextLimit::mostFields)
        block = TagLib::ByteVector::fromShort(TextLimit::mostFields, false);
}

void TagStream::remember(const TagLib::ByteVector& block)
{
    m_lastLength = block.size();
    m_lastStart.fill('\0');
    std::copy_n(block.begin(), std::min<size_t>(m_lastLength, m_lastStart.size()), m_lastStart.begin());
}
