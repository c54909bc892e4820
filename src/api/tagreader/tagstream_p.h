#pragma once

#include "boundedstream_p.h"
#include "content_p.h"

/// A stream that follows what TagLib reads, and hides two things from it: text beyond the limits, and the ID3v2 chunk
/// of a RIFF or AIFF file, which TagLib would read without the frame guard.
class TagStream : public BoundedStream
{
public:
    using BoundedStream::BoundedStream;

    /// Sets the kind of file that TagLib reads from now on. Before this call nothing is hidden.
    void setKind(ContentKind kind) { m_kind = kind; }
    /// The offset of the first hidden ID3v2 tag; -1 if there was none.
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
    /// The first bytes of the block that was read last, and its length.
    std::array<char, 8> m_lastStart = {};
    unsigned int m_lastLength = 0;
    unsigned int m_mp4Text = 0;
    /// The number of blocks to read up to an ASF object's number of attributes; 0: none is ahead.
    int m_asfCountAhead = 0;
};
