#pragma once

#include "tavo/tavoexport.h"

#include <QByteArray>
#include <QVariant>

#include <limits>
#include <optional>

/// JSON from values.
namespace TavoJson {

/// The longest text, in bytes: the limit of a QByteArray minus some room for the writer.
constexpr qint64 longest = std::numeric_limits<int>::max() - 65536;

/// The value as JSON, on one line, valid UTF-8, an object's keys in their order. TavoBytes are base64. A value
/// without a counterpart in JSON is written as its text, or as null if it has none.
///
/// Nothing if the text would be longer than `limit` bytes. This is noticed on the way: no more memory is used than for
/// a text of that length. Throws `std::bad_alloc` only if the system has no memory.
[[nodiscard]] TAVO_API_EXPORT std::optional<QByteArray> write(const QVariant& value, qint64 limit = longest);

/// Appends the value as write() does. False, with `text` as it was, if that would make `text` longer than `limit`
/// bytes.
[[nodiscard]] TAVO_API_EXPORT bool append(QByteArray& text, const QVariant& value, qint64 limit = longest);

} // namespace TavoJson
