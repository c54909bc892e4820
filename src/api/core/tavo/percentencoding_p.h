#pragma once

#include <QByteArray>
#include <QString>
#include <QVarLengthArray>

/// Percent-encoding of arbitrary QStrings, exact both ways: an unpaired surrogate, which UTF-8 cannot carry, becomes
/// the three bytes that its code point would have.
namespace PercentEncoding {

/// Room for what encoded texts usually need, so that putting one together allocates nothing.
using Buffer = QVarLengthArray<char, 512>;

/// Everything but letters, digits and "-._~" is encoded.
void appendSegment(Buffer& out, const QString& text);
/// As appendSegment(), slashes kept.
void appendPath(Buffer& out, const QString& text);
/// A "%" that no two hexadecimal digits follow stands for itself; bytes that are no UTF-8 give U+FFFD.
[[nodiscard]] QString decode(const QByteArray& encoded);

} // namespace PercentEncoding
