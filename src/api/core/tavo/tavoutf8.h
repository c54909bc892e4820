#pragma once

#include <QByteArray>
#include <QChar>
#include <QString>

#include <algorithm>

/// Text from bytes in UTF-8 that are part of something larger, such as file names.
namespace TavoUtf8 {

/// QString::fromUtf8(), but a U+FEFF at the beginning is kept: Qt would take it for a byte order mark and drop it.
///
/// `size`: the number of bytes. Bytes that are not UTF-8 become U+FFFD. Thread-safe.
[[nodiscard]] inline QString decode(const char* bytes, int size)
{
    // Qt takes a negative size for text that ends at a NUL; compilers warn of it where they cannot rule it out.
    QString text = QString::fromUtf8(bytes, std::max(size, 0));
    if (size > 0 && bytes[0] == '\xEF' && QByteArray::fromRawData(bytes, size).startsWith("\xEF\xBB\xBF"))
        text.prepend(QChar(QChar::ByteOrderMark));
    return text;
}

} // namespace TavoUtf8
