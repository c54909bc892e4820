#include "media/byterange.h"

#include "media/httpdate.h"

#include <algorithm>
#include <cctype>
#include <limits>

namespace {

constexpr std::string_view blanks = " \t";

std::string_view trimmed(std::string_view text)
{
    const size_t start = text.find_first_not_of(blanks);
    if (start == std::string_view::npos)
        return {};
    return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

constexpr std::string_view unit = "bytes=";

bool startsWithUnit(std::string_view text)
{
    return text.size() >= unit.size() && std::equal(unit.begin(), unit.end(), text.begin(), [](char lower, char c) {
               return std::tolower(static_cast<unsigned char>(c)) == lower;
           });
}

/// Nothing if the text is no number; a larger number than any offset becomes the largest.
std::optional<qint64> offsetIn(std::string_view digits)
{
    constexpr qint64 largest = std::numeric_limits<qint64>::max();
    constexpr int ten = 10;
    if (digits.empty())
        return std::nullopt;
    qint64 offset = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9')
            return std::nullopt;
        const int digit = c - '0';
        offset = offset > (largest - digit) / ten ? largest : offset * ten + digit;
    }
    return offset;
}

/// The last `length` bytes of the file.
ByteRange suffix(qint64 length, qint64 size)
{
    if (length == 0)
        return {ByteRange::Kind::Unsatisfiable};
    return {ByteRange::Kind::Part, size - std::min(length, size), size - 1};
}

ByteRange partFrom(qint64 first, qint64 last, qint64 size)
{
    if (last < first)
        return {};
    if (first >= size)
        return {ByteRange::Kind::Unsatisfiable};
    return {ByteRange::Kind::Part, first, std::min(last, size - 1)};
}

} // namespace

ByteRange parseRange(std::string_view header, qint64 size)
{
    const std::string_view value = trimmed(header);
    if (!startsWithUnit(value) || size <= 0)
        return {};
    const std::string_view range = trimmed(value.substr(unit.size()));
    const size_t dash = range.find('-');
    if (dash == std::string_view::npos)
        return {};
    const std::string_view lastText = range.substr(dash + 1);
    const std::optional<qint64> first = offsetIn(range.substr(0, dash));
    const std::optional<qint64> last = offsetIn(lastText);
    if (dash == 0)
        return last ? suffix(*last, size) : ByteRange();
    if (!first || (!last && !lastText.empty()))
        return {};
    return partFrom(*first, last.value_or(std::numeric_limits<qint64>::max()), size);
}

bool ifRangeMatches(std::string_view header, std::string_view etag, qint64 modified)
{
    const std::string_view validator = trimmed(header);
    return validator == etag || validator == toHttpDate(modified).toStdString();
}

ByteRange requestedRange(
    std::optional<std::string_view> range, std::optional<std::string_view> ifRange, std::string_view etag,
    qint64 modified, qint64 size)
{
    if (!range || (ifRange && !ifRangeMatches(*ifRange, etag, modified)))
        return {};
    return parseRange(*range, size);
}
