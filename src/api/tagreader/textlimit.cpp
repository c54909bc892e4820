#include "textlimit_p.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace {

using TagLib::ByteVector;

/// The bytes of text that a tag may still have.
class Allowance
{
public:
    [[nodiscard]] bool take(unsigned int length)
    {
        if (length > m_left)
            return false;
        m_left -= length;
        return true;
    }

private:
    unsigned int m_left = TextLimit::mostText;
};

std::string_view view(const ByteVector& bytes, unsigned int position, unsigned int length)
{
    const std::string_view all(bytes.data(), bytes.size());
    return position < all.size() ? all.substr(position, length) : std::string_view();
}

bool isPictureField(std::string_view field)
{
    using namespace std::string_view_literals;
    const auto startsWith = [field](std::string_view key) {
        const std::string_view start = field.substr(0, key.size());
        return std::equal(start.begin(), start.end(), key.begin(), key.end(), [](char a, char b) {
            return std::toupper(static_cast<unsigned char>(a)) == b;
        });
    };
    return startsWith("METADATA_BLOCK_PICTURE="sv) || startsWith("COVERART="sv);
}

/// The length of a number in a Vorbis comment.
constexpr unsigned int number = 4;

/// The position of a Vorbis comment's number of fields, behind the vendor's length and name. 0 if it is not in the
/// block.
unsigned int positionOfCount(const ByteVector& block, unsigned int start)
{
    const unsigned int vendor = block.toUInt(start, false);
    const unsigned int ahead = start + number;
    return vendor > block.size() || ahead + vendor + number > block.size() ? 0 : ahead + vendor;
}

void replace(ByteVector& bytes, unsigned int position, const ByteVector& by)
{
    std::copy(by.begin(), by.end(), bytes.begin() + static_cast<int>(position));
}

} // namespace

void TextLimit::applyToApeItems(ByteVector& items)
{
    // An item has its value's length, flags, a key, a null byte and the value. TagLib does not decode binary values.
    constexpr unsigned int header = 8;
    constexpr unsigned int kindMask = 6;
    constexpr char isBinary = 2;
    Allowance text;
    unsigned int position = 0;
    for (unsigned int count = 0; position + header < items.size(); ++count) {
        const int keyEnd = items.find('\0', position + header);
        const unsigned int length = items.toUInt(position, false);
        if (count == mostFields || keyEnd < 0 || length > items.size()) {
            items.resize(position);
            return;
        }
        const bool isText = (items.toUInt(position + 4, false) & kindMask) == 0;
        if (isText && !text.take(length))
            items[static_cast<int>(position) + 4] = isBinary;
        position = static_cast<unsigned int>(keyEnd) + 1 + length;
    }
}

void TextLimit::applyToVorbisCommentStart(ByteVector& block, unsigned int start)
{
    const unsigned int count = positionOfCount(block, start);
    if (count == 0)
        block.clear();
    else if (block.toUInt(count, false) > mostFields)
        replace(block, count, ByteVector::fromUInt(mostFields, false));
}

void TextLimit::applyToVorbisComment(ByteVector& comment)
{
    applyToVorbisCommentStart(comment, 0);
    Allowance text;
    unsigned int position = positionOfCount(comment, 0) + number;
    for (unsigned int count = 0; count < mostFields && position + number < comment.size(); ++count) {
        const unsigned int length = comment.toUInt(position, false);
        position += number;
        if (length > comment.size() - position)
            return;
        // TagLib skips fields without a key.
        if (length > 0 && !isPictureField(view(comment, position, length)) && !text.take(length))
            comment[static_cast<int>(position)] = '=';
        position += length;
    }
}

bool TextLimit::isMp4Text(const ByteVector& value)
{
    // One or more of: a size, "data", the kind of data (1: text), four bytes more, and the data.
    constexpr unsigned int header = 16;
    constexpr unsigned int mostPictures = 64;
    constexpr unsigned int text = 1;
    unsigned int position = 0;
    for (unsigned int count = 0; position < value.size(); ++count) {
        const unsigned int size = value.toUInt(position);
        const bool isPicture = size >= header && size <= value.size() && value.toUInt(position + 8) != text &&
                               view(value, position + 4, 4) == "data";
        if (!isPicture || count == mostPictures)
            return true;
        position += size;
    }
    return false;
}
