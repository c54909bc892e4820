#pragma once

#include <QByteArray>
#include <QString>
#include <QVarLengthArray>

/// Percent-encoding of any QString, lossless both ways: an unpaired surrogate, which UTF-8 cannot represent, becomes
/// the three bytes that UTF-8 would give its code point. Thread-safe.
namespace PercentEncoding {

/// Large enough for most encoded texts, so that building one allocates nothing.
using Buffer = QVarLengthArray<char, 512>;

/// Appends `text`; all but letters, digits and "-._~" is encoded.
void appendSegment(Buffer& out, const QString& text);
/// As appendSegment(), but keeps slashes.
void appendPath(Buffer& out, const QString& text);
/// Keeps a "%" without two hexadecimal digits behind it. Replaces bytes that are not UTF-8 by U+FFFD.
[[nodiscard]] QString decode(const QByteArray& encoded);

} // namespace PercentEncoding
