#pragma once

#include "boundedstream_p.h"
#include "content_p.h"

/// A stream that knows what TagLib is reading, and keeps back what it must not see as it is: text without end, and the
/// ID3v2 chunk of a RIFF or AIFF file, which TagLib would read on the spot, without the frame guard.
class TagStream : public BoundedStream
{
public:
    using BoundedStream::BoundedStream;

    /// From now on a file of that kind is read. Until then nothing is kept back.
    void setKind(ContentKind kind) { m_kind = kind; }
    /// Where the first ID3v2 tag starts that was kept back; -1 if none was met.
    [[nodiscard]] long hiddenTag() const { return m_hiddenTag; }

    [[nodiscard]] TagLib::ByteVector readBlock(unsigned long length) override;

private:
    [[nodiscard]] bool isId3ChunkName(const TagLib::ByteVector& block) const;
    void limitText(TagLib::ByteVector& block);
    void limitLongText(TagLib::ByteVector& block);
    void limitMp4Text(TagLib::ByteVector& block);
    void limitAsfAttributes(TagLib::ByteVector& block);
    void remember(const TagLib::ByteVector& block);

    ContentKind m_kind = ContentKind::Unknown;
    long m_hiddenTag = -1;
    /// How the block that was read last starts, and its length.
    std::array<char, 8> m_lastStart = {};
    unsigned int m_lastLength = 0;
    unsigned int m_mp4Text = 0;
    /// Blocks until the one that is the number of an ASF object's attributes; 0: none is ahead.
    int m_asfCountAhead = 0;
};
