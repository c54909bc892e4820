#pragma once

#include <QByteArray>

#include <optional>
#include <string_view>

/// The part of a file that a request asks for.
struct ByteRange
{
    enum class Kind {
        /// 200: there is no range, or none that can be served alone.
        Whole,
        /// 206: from `first` to `last`.
        Part,
        /// 416: the range begins behind the end of the file.
        Unsatisfiable
    };

    Kind kind = Kind::Whole;
    /// Offsets, both inclusive: 0 <= first <= last < size. Valid for a part only.
    qint64 first = 0;
    qint64 last = 0;

    /// Bytes of the part.
    [[nodiscard]] qint64 length() const { return last - first + 1; }
};

/// The part of a file of `size` bytes that the value of a Range header asks for.
///
/// Several ranges, another unit than bytes and anything malformed ask for the whole file, as does any range of an empty
/// file. Numbers may be larger than 64 bits can hold.
[[nodiscard]] ByteRange parseRange(std::string_view header, qint64 size);

/// Whether the value of an If-Range header names the present state of the file: its strong ETag, or exactly its
/// Last-Modified date. Only then the Range header counts. `modified`: seconds since 1970-01-01 UTC.
[[nodiscard]] bool ifRangeMatches(std::string_view header, std::string_view etag, qint64 modified);

/// The range of a request with these two headers, as far as it has them.
[[nodiscard]] ByteRange requestedRange(
    std::optional<std::string_view> range, std::optional<std::string_view> ifRange, std::string_view etag,
    qint64 modified, qint64 size);
