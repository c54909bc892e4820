#include "frontcover_p.h"

#include <apetag.h>
#include <asfpicture.h>
#include <asftag.h>
#include <attachedpictureframe.h>
#include <id3v2tag.h>
#include <mp4coverart.h>
#include <mp4tag.h>
#include <xiphcomment.h>

namespace {

using TagLib::ByteVector;

/// All formats number the purposes of pictures as ID3v2 does.
constexpr int noPurpose = TagLib::ID3v2::AttachedPictureFrame::Other;
constexpr int frontCoverPurpose = TagLib::ID3v2::AttachedPictureFrame::FrontCover;

/// Chooses the best of the pictures that it considers.
class Choice
{
public:
    void consider(int purpose, const ByteVector& picture)
    {
        if (m_front.isEmpty() && purpose == frontCoverPurpose)
            m_front = picture;
        else if (m_other.isEmpty() && purpose == noPurpose)
            m_other = picture;
    }

    [[nodiscard]] const ByteVector& result() const { return m_front.isEmpty() ? m_other : m_front; }

private:
    ByteVector m_front;
    ByteVector m_other;
};

ByteVector cover(const TagLib::ID3v2::Tag& tag)
{
    Choice choice;
    for (const TagLib::ID3v2::Frame* frame : tag.frameList("APIC")) {
        if (const auto* picture = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frame))
            choice.consider(picture->type(), picture->picture());
    }
    return choice.result();
}

/// The value has a file name, a null byte and the picture.
ByteVector cover(const TagLib::APE::Tag& tag)
{
    const auto item = tag.itemListMap().find("COVER ART (FRONT)");
    if (item == tag.itemListMap().end())
        return {};
    const ByteVector data = item->second.binaryData();
    const int nameEnd = data.find('\0');
    return nameEnd < 0 ? ByteVector() : data.mid(static_cast<unsigned int>(nameEnd) + 1);
}

/// Pictures in MP4 have no purposes.
ByteVector cover(const TagLib::MP4::Tag& tag)
{
    const TagLib::MP4::CoverArtList covers = tag.item("covr").toCoverArtList();
    return covers.isEmpty() ? ByteVector() : covers.front().data();
}

ByteVector cover(const TagLib::ASF::Tag& tag)
{
    const auto pictures = tag.attributeListMap().find("WM/Picture");
    if (pictures == tag.attributeListMap().end())
        return {};
    Choice choice;
    for (const TagLib::ASF::Attribute& attribute : pictures->second) {
        const TagLib::ASF::Picture picture = attribute.toPicture();
        choice.consider(picture.type(), picture.picture());
    }
    return choice.result();
}

} // namespace

ByteVector frontCover(const TagLib::List<TagLib::FLAC::Picture*>& pictures)
{
    Choice choice;
    for (const TagLib::FLAC::Picture* picture : pictures)
        choice.consider(picture->type(), picture->data());
    return choice.result();
}

ByteVector frontCover(TagLib::Tag& tag)
{
    if (const auto* id3v2 = dynamic_cast<const TagLib::ID3v2::Tag*>(&tag))
        return cover(*id3v2);
    if (auto* xiph = dynamic_cast<TagLib::Ogg::XiphComment*>(&tag))
        return frontCover(xiph->pictureList());
    if (const auto* ape = dynamic_cast<const TagLib::APE::Tag*>(&tag))
        return cover(*ape);
    if (const auto* mp4 = dynamic_cast<const TagLib::MP4::Tag*>(&tag))
        return cover(*mp4);
    if (const auto* asf = dynamic_cast<const TagLib::ASF::Tag*>(&tag))
        return cover(*asf);
    return {};
}
