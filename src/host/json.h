#pragma once

#include <QByteArray>
#include <QVariant>

/// The value as JSON, on one line, UTF-8.
[[nodiscard]] QByteArray toJson(const QVariant& value);
