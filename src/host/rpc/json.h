#pragma once

#include <QByteArray>
#include <QVariant>

/// The value as JSON, on one line, valid UTF-8, an object's keys in their order. What has no counterpart in JSON is
/// written as its text, and as null if it has none.
[[nodiscard]] QByteArray toJson(const QVariant& value);
