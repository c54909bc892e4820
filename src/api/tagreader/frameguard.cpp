#include "frameguard_p.h"

#include <algorithm>

namespace {

constexpr unsigned int mostFrames = 4096;
/// For the text of all frames together. TagLib stores each string in a frame's text separately, in up to a hundred
/// times its size.
constexpr unsigned int mostTextBytes = 256 * 1024;

bool isText(const TagLib::ByteVector& id)
{
    static constexpr const char* ids[] = {"TIT2", "TPE1", "TALB", "TPE2", "TCON", "TRCK", "TPOS", "TDRC"};
    return std::any_of(std::begin(ids), std::end(ids), [&id](const char* known) { return id == known; });
}

bool isPicture(const TagLib::ByteVector& id)
{
    return id == "APIC" || id == "PIC";
}

/// A compressed frame unpacks to any length, and TagLib trusts the data length that a frame claims, beyond its end too.
template<typename Header>
bool reachesBeyondItself(const Header& header)
{
    return header.compression() || (header.dataLengthIndicator() && !header.unsynchronisation());
}

} // namespace

bool FrameGuard::updateFrame(Header* header) const
{
    if (++m_frames > mostFrames) {
        // TagLib stops at an empty frame.
        header->setFrameSize(0);
        return false;
    }
    if (FrameFactory::updateFrame(header) && isWanted(*header))
        return true;
    // TagLib unpacks even unknown frames. Parsing the rendered header clears its flags.
    if (reachesBeyondItself(*header))
        header->setData(header->render(), header->version());
    return false;
}

bool FrameGuard::isWanted(const Header& header) const
{
    if (reachesBeyondItself(header))
        return false;
    const TagLib::ByteVector id = header.frameID();
    return (m_pictures == Pictures::Read && isPicture(id)) || (isText(id) && hasRoomForText(header.frameSize()));
}

bool FrameGuard::hasRoomForText(unsigned int length) const
{
    if (length > mostTextBytes - m_textBytes)
        return false;
    m_textBytes += length;
    return true;
}
