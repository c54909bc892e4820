// A range is one part of the file, the whole file or unsatisfiable: never beyond the file, whatever the header says.

#include "check.h"

#include "media/byterange.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace {

void checkWithin(const ByteRange& range, qint64 size)
{
    if (range.kind != ByteRange::Kind::Part)
        return;
    FUZZ_CHECK(range.first >= 0 && range.first <= range.last && range.last < size);
    FUZZ_CHECK(range.length() >= 1 && range.length() <= size);
}

void checkAnyText(const std::string& header, qint64 size)
{
    const ByteRange range = parseRange(header, size);
    checkWithin(range, size);
    const bool isSingleRange = header.find(',') == std::string::npos && header.find('-') != std::string::npos;
    FUZZ_CHECK(range.kind == ByteRange::Kind::Whole || isSingleRange);
    FUZZ_CHECK(
        ifRangeMatches(header, header, 0) || header.empty() || std::strchr(" \t", header.front()) ||
        std::strchr(" \t", header.back()));
}

/// What well-formed ranges ask for.
void checkNumbers(qint64 first, qint64 last, qint64 size)
{
    using Kind = ByteRange::Kind;
    const ByteRange range = parseRange("bytes=" + std::to_string(first) + "-" + std::to_string(last), size);
    const Kind expected = last < first || size == 0 ? Kind::Whole : first >= size ? Kind::Unsatisfiable : Kind::Part;
    FUZZ_CHECK(range.kind == expected);
    FUZZ_CHECK(expected != Kind::Part || (range.first == first && range.last == std::min(last, size - 1)));
    const ByteRange suffix = parseRange("bytes=-" + std::to_string(last), size);
    FUZZ_CHECK(suffix.kind != Kind::Part || suffix.length() == std::min(last, size));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    qint64 numbers[3] = {};
    std::memcpy(numbers, data, std::min(size, sizeof(numbers)));
    for (qint64& number : numbers)
        number &= std::numeric_limits<qint64>::max();
    checkNumbers(numbers[0], numbers[1], numbers[2]);
    checkAnyText(std::string(reinterpret_cast<const char*>(data), size), numbers[2]);
    checkAnyText("bytes=" + std::string(reinterpret_cast<const char*>(data), size), numbers[2] % 1000);
    return 0;
}
