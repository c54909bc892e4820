#pragma once

#include <QByteArray>
#include <QVariant>

#include <limits>
#include <optional>

/// The longest text, in bytes: the limit of a QByteArray minus some room for the writer.
constexpr qint64 longestJson = std::numeric_limits<int>::max() - 65536;

/// The value as JSON, on one line, valid UTF-8, an object's keys in their order. TavoBytes are base64. What has no
/// counterpart in JSON is written as its text, and as null if it has none.
///
/// Nothing if the text would be longer than `limit` bytes. This is noticed on the way: no more memory is used than for
/// a text of that length. Throws `std::bad_alloc` only if the system has no memory.
[[nodiscard]] std::optional<QByteArray> toJson(const QVariant& value, qint64 limit = longestJson);

/// Appends the value as toJson() writes it. False, with `text` as it was, if that would make `text` longer than `limit`
/// bytes.
[[nodiscard]] bool appendJson(QByteArray& text, const QVariant& value, qint64 limit = longestJson);
