#include "tavo/percentencoding_p.h"

#include "tavo/tavoutf8.h"

#include <array>

namespace {

using KeptCharacters = std::array<bool, 0x80>;

constexpr KeptCharacters unreserved = [] {
    KeptCharacters kept{};
    for (const char c : "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~")
        kept[static_cast<size_t>(c)] = c != 0;
    return kept;
}();

constexpr KeptCharacters unreservedAndSlash = [] {
    KeptCharacters kept = unreserved;
    kept['/'] = true;
    return kept;
}();

char* writeEncoded(char* out, uint byte)
{
    constexpr char digits[] = "0123456789ABCDEF";
    *out++ = '%';
    *out++ = digits[byte >> 4];
    *out++ = digits[byte & 0xF];
    return out;
}

/// As UTF-8, but for surrogates too.
char* writeEncodedCodePoint(char* out, uint codePoint)
{
    const auto continuation = [codePoint](int shift) { return 0x80 | ((codePoint >> shift) & 0x3F); };
    if (codePoint < 0x80)
        return writeEncoded(out, codePoint);
    if (codePoint < 0x800)
        return writeEncoded(writeEncoded(out, 0xC0 | (codePoint >> 6)), continuation(0));
    out = codePoint < 0x10000 ? writeEncoded(out, 0xE0 | (codePoint >> 12))
                              : writeEncoded(writeEncoded(out, 0xF0 | (codePoint >> 18)), continuation(12));
    return writeEncoded(writeEncoded(out, continuation(6)), continuation(0));
}

/// `pair` points to a high surrogate with a low one behind it.
uint surrogateToUcs4(const QChar* pair)
{
    return QChar::surrogateToUcs4(pair[0], pair[1]);
}

void append(PercentEncoding::Buffer& buffer, const QString& text, const KeptCharacters& kept)
{
    constexpr int longestUnit = 9;
    const int start = buffer.size();
    buffer.resize(start + text.size() * longestUnit);
    char* out = buffer.data() + start;
    const QChar* const end = text.constData() + text.size();
    for (const QChar* unit = text.constData(); unit != end; ++unit) {
        if (unit->unicode() < kept.size() && kept[unit->unicode()])
            *out++ = static_cast<char>(unit->unicode());
        else if (unit->isHighSurrogate() && unit + 1 != end && unit[1].isLowSurrogate())
            out = writeEncodedCodePoint(out, surrogateToUcs4(unit++));
        else
            out = writeEncodedCodePoint(out, unit->unicode());
    }
    buffer.resize(static_cast<int>(out - buffer.data()));
}

/// The surrogate whose three bytes start at `index`, or 0.
ushort surrogateAt(const QByteArray& bytes, int index)
{
    if (index + 2 >= bytes.size() || bytes.at(index) != '\xED')
        return 0;
    const auto second = static_cast<unsigned char>(bytes.at(index + 1));
    const auto third = static_cast<unsigned char>(bytes.at(index + 2));
    if (second < 0xA0 || second > 0xBF || third < 0x80 || third > 0xBF)
        return 0;
    return static_cast<ushort>(0xD000 | ((second & 0x3F) << 6) | (third & 0x3F));
}

} // namespace

void PercentEncoding::appendSegment(Buffer& out, const QString& text)
{
    append(out, text, unreserved);
}

void PercentEncoding::appendPath(Buffer& out, const QString& text)
{
    append(out, text, unreservedAndSlash);
}

QString PercentEncoding::decode(const QByteArray& encoded)
{
    const QByteArray bytes = QByteArray::fromPercentEncoding(encoded);
    QString text;
    int start = 0;
    for (int i = bytes.indexOf('\xED'); i >= 0; i = bytes.indexOf('\xED', i + 1)) {
        if (const ushort surrogate = surrogateAt(bytes, i)) {
            text += TavoUtf8::decode(bytes.constData() + start, i - start);
            text += QChar(surrogate);
            start = i + 3;
        }
    }
    return text + TavoUtf8::decode(bytes.constData() + start, bytes.size() - start);
}
