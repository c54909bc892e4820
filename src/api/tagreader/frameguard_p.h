#pragma once

#include <id3v2frame.h>
#include <id3v2framefactory.h>

namespace TagReaderDetail {

/// Makes the type of TagLib's frame header accessible: the interface of its frame factory uses it, but it is protected.
struct FrameHeaderAccess : TagLib::ID3v2::Frame
{
    using TagLib::ID3v2::Frame::Header;
};

} // namespace TagReaderDetail

/// Makes TagLib decode only those frames of an ID3v2 tag that items need; it treats the others as unknown. For one tag.
///
/// So nested frames, frames that unpack to any length and frames that reach beyond their own end do no harm.
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
