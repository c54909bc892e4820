#pragma once

#include <QByteArray>
#include <QString>

/// Percent-encoding of arbitrary QStrings, exact both ways: an unpaired surrogate, which UTF-8 cannot carry, becomes
/// the three bytes that its code point would have.
namespace PercentEncoding {

/// Everything but letters, digits and "-._~" is encoded.
[[nodiscard]] QByteArray encodeSegment(const QString& text);
/// As encodeSegment(), slashes kept.
[[nodiscard]] QByteArray encodePath(const QString& text);
/// A "%" that no two hexadecimal digits follow stands for itself; bytes that are no UTF-8 give U+FFFD.
[[nodiscard]] QString decode(const QByteArray& encoded);

} // namespace PercentEncoding
