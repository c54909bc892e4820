#pragma once

#include "boundedstream_p.h"

/// A stream that can keep the ID3v2 chunk of a RIFF or AIFF file to itself: TagLib would read it on the spot, without
/// the frame guard.
class TagStream : public BoundedStream
{
public:
    using BoundedStream::BoundedStream;

    /// From now on, the name of a chunk that holds an ID3v2 tag is read as another.
    void hideId3Chunk() { m_hiding = true; }
    /// Where the first hidden tag starts; -1 if none was met.
    [[nodiscard]] long hiddenTag() const { return m_hiddenTag; }

    [[nodiscard]] TagLib::ByteVector readBlock(unsigned long length) override;

private:
    bool m_hiding = false;
    long m_hiddenTag = -1;
};
