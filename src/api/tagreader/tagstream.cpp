#include "tagstream_p.h"

TagLib::ByteVector TagStream::readBlock(unsigned long length)
{
    constexpr unsigned long chunkName = 4;
    constexpr long chunkSize = 4;
    TagLib::ByteVector block = BoundedStream::readBlock(length);
    if (!m_hiding || length != chunkName || (block != "ID3 " && block != "id3 "))
        return block;
    if (m_hiddenTag < 0)
        m_hiddenTag = tell() + chunkSize;
    return "junk";
}
