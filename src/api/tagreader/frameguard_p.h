#pragma once

#include <id3v2frame.h>
#include <id3v2framefactory.h>

namespace TagReaderDetail {

/// Gives the name of TagLib's frame header, which its frame factory's interface uses but does not let others name.
struct FrameHeaderAccess : TagLib::ID3v2::Frame
{
    using TagLib::ID3v2::Frame::Header;
};

} // namespace TagReaderDetail

/// Lets TagLib take in only those frames of an ID3v2 tag that items are made from; the others pass as unknown frames,
/// which are never decoded. Serves one tag.
///
/// So frames that hold frames in any depth, that unpack to any length or that reach beyond their own end do no harm.
class FrameGuard : public TagLib::ID3v2::FrameFactory
{
public:
    enum class Pictures { Skipped, Read };

    explicit FrameGuard(Pictures pictures) : m_pictures(pictures) {}
    ~FrameGuard() override = default;

protected:
    using Header = TagReaderDetail::FrameHeaderAccess::Header;

    bool updateFrame(Header* header) const override;

private:
    [[nodiscard]] bool isWanted(const Header& header) const;
    [[nodiscard]] bool hasRoomForText(unsigned int length) const;

    Pictures m_pictures;
    mutable unsigned int m_frames = 0;
    mutable unsigned int m_textBytes = 0;
};
