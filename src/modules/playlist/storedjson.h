#pragma once

#include <QByteArray>
#include <QVariant>

/// Hashes, lists, texts, numbers and truth values as JSON, as the queue and its store keep them.
namespace StoredJson {

/// Null if the value is invalid.
[[nodiscard]] QByteArray fromValue(const QVariant& value);
/// What fromValue() was given, with its hashes as QVariantHash and whole numbers as qlonglong; invalid if the text is
/// no JSON object.
[[nodiscard]] QVariant toValue(const QByteArray& json);

} // namespace StoredJson
