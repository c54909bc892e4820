#pragma once

#include <QByteArray>

#include <ctime>
#include <optional>

/// The time as HTTP writes it, "Sun, 06 Nov 1994 08:49:37 GMT".
[[nodiscard]] QByteArray toHttpDate(std::time_t time);
/// Reads any of the three forms that HTTP has had. Nothing if it is none of them.
[[nodiscard]] std::optional<std::time_t> fromHttpDate(const QByteArray& text);
