#include "tavo/percentencoding_p.h"

#include <array>

namespace {

constexpr bool isUnreserved(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '~';
}

class Encoder
{
public:
    Encoder(int expectedLength, bool keepSlashes) : m_keepSlashes(keepSlashes) { m_out.reserve(expectedLength); }

    void add(char c)
    {
        if (isUnreserved(c) || (c == '/' && m_keepSlashes))
            m_out.append(c);
        else
            addEncoded(c);
    }

    [[nodiscard]] QByteArray take() { return std::move(m_out); }

private:
    void addEncoded(char c)
    {
        constexpr char digits[] = "0123456789ABCDEF";
        const auto byte = static_cast<unsigned char>(c);
        const std::array<char, 3> encoded = {'%', digits[byte >> 4], digits[byte & 0xF]};
        m_out.append(encoded.data(), static_cast<int>(encoded.size()));
    }

    QByteArray m_out;
    bool m_keepSlashes;
};

bool isPair(const QString& text, int index)
{
    return text.at(index).isHighSurrogate() && index + 1 < text.size() && text.at(index + 1).isLowSurrogate();
}

void addSurrogate(Encoder& encoder, ushort unit)
{
    encoder.add(static_cast<char>(0xE0 | (unit >> 12)));
    encoder.add(static_cast<char>(0x80 | ((unit >> 6) & 0x3F)));
    encoder.add(static_cast<char>(0x80 | (unit & 0x3F)));
}

void addUtf8(Encoder& encoder, const QChar* units, int count)
{
    for (const char c : QString::fromRawData(units, count).toUtf8())
        encoder.add(c);
}

QByteArray encode(const QString& text, bool keepSlashes)
{
    Encoder encoder(text.size() + text.size() / 4, keepSlashes);
    for (int i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        if (unit.unicode() < 0x80)
            encoder.add(static_cast<char>(unit.unicode()));
        else if (isPair(text, i))
            addUtf8(encoder, text.constData() + i++, 2);
        else if (unit.isSurrogate())
            addSurrogate(encoder, unit.unicode());
        else
            addUtf8(encoder, text.constData() + i, 1);
    }
    return encoder.take();
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

QByteArray PercentEncoding::encodeSegment(const QString& text)
{
    return encode(text, false);
}

QByteArray PercentEncoding::encodePath(const QString& text)
{
    return encode(text, true);
}

QString PercentEncoding::decode(const QByteArray& encoded)
{
    const QByteArray bytes = QByteArray::fromPercentEncoding(encoded);
    QString text;
    int start = 0;
    for (int i = bytes.indexOf('\xED'); i >= 0; i = bytes.indexOf('\xED', i + 1)) {
        if (const ushort surrogate = surrogateAt(bytes, i)) {
            text += QString::fromUtf8(bytes.constData() + start, i - start);
            text += QChar(surrogate);
            start = i + 3;
        }
    }
    return text + QString::fromUtf8(bytes.constData() + start, bytes.size() - start);
}
