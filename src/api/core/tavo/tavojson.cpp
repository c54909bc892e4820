#include "tavo/tavojson.h"

#include "tavo/tavovalue.h"

#include <QLocale>
#include <QStringList>
#include <QVarLengthArray>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

/// The most that is written at once, in bytes.
constexpr int stepSize = 4096;

/// Writes values straight behind a text: by way of QJsonDocument a page of rows takes longer to write than to read from
/// the disk.
class Writer
{
public:
    Writer(QByteArray& text, qint64 limit);

    void add(const QVariant& value);
    /// Cuts the text behind the last byte written; to its former size if it is longer than the limit.
    [[nodiscard]] bool finish();

private:
    void addText(QStringView text);
    /// Return how many units they have written.
    int addPlainStart(QStringView text);
    int addSpecialStart(QStringView text);
    void addEscaped(QChar unit);
    void addUtf8(uint codePoint);
    void addBytes(const QByteArray& bytes);
    template<typename Integer>
    void addInteger(Integer integer);
    void addNumber(double number);
    template<typename List>
    void addList(const List& list);
    template<typename Fields>
    void addObject(const Fields& fields);
    void addOther(const QVariant& value);

    void put(char c);
    /// At most stepSize.
    void put(QLatin1String ascii);
    /// Where that many bytes can be written, at most stepSize; call setEnd() then.
    [[nodiscard]] char* room(int size);
    void setEnd(const char* end) { m_size = static_cast<int>(end - m_data); }
    void grow(int size);

    QByteArray& m_text;
    const int m_oldSize;
    const qint64 m_limit;
    /// The text's. The text is kept longer than its content: appending each byte to it would be a call into a library.
    char* m_data;
    int m_size;
    bool m_isTooLong = false;
};

template<typename T>
const T& contentOf(const QVariant& value)
{
    return *static_cast<const T*>(value.constData());
}

bool isPlain(QChar unit)
{
    return unit >= u' ' && unit < u'\x7F' && unit != u'"' && unit != u'\\';
}

/// The last six bits of a code point, as UTF-8 continues it.
char continuation(uint codePoint)
{
    return static_cast<char>(0x80U | (codePoint & 0x3FU));
}

Writer::Writer(QByteArray& text, qint64 limit)
    : m_text(text), m_oldSize(text.size()), m_limit(std::min(limit, TavoJson::longest)), m_data(text.data()),
      m_size(text.size())
{
}

bool Writer::finish()
{
    m_isTooLong = m_isTooLong || m_size > m_limit;
    m_text.resize(m_isTooLong ? m_oldSize : m_size);
    return !m_isTooLong;
}

void Writer::add(const QVariant& value)
{
    if (m_isTooLong)
        return;
    switch (value.userType()) {
    case QMetaType::Bool:
        put(value.toBool() ? QLatin1String("true") : QLatin1String("false"));
        break;
    case QMetaType::Int:
    case QMetaType::LongLong:
        addInteger(value.toLongLong());
        break;
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        addInteger(value.toULongLong());
        break;
    case QMetaType::Double:
    case QMetaType::Float:
        addNumber(value.toDouble());
        break;
    case QMetaType::QString:
        addText(contentOf<QString>(value));
        break;
    case QMetaType::QStringList:
        addList(contentOf<QStringList>(value));
        break;
    case QMetaType::QVariantList:
        addList(contentOf<QVariantList>(value));
        break;
    case QMetaType::QVariantHash:
        addObject(contentOf<QVariantHash>(value));
        break;
    case QMetaType::QVariantMap:
        addObject(contentOf<QVariantMap>(value));
        break;
    default:
        addOther(value);
    }
}

template<typename Integer>
void Writer::addInteger(Integer integer)
{
    constexpr int longest = 20;
    char* const start = room(longest);
    setEnd(std::to_chars(start, start + longest, integer).ptr);
}

void Writer::addNumber(double number)
{
    const QByteArray digits = std::isfinite(number) ? QByteArray::number(number, 'g', QLocale::FloatingPointShortest)
                                                    : QByteArrayLiteral("null");
    put(QLatin1String(digits));
}

void Writer::addOther(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<TavoBytes>())
        return addBytes(contentOf<TavoBytes>(value).bytes);
    const QString text = value.toString();
    if (text.isNull())
        put(QLatin1String("null"));
    else
        addText(text);
}

void Writer::addBytes(const QByteArray& bytes)
{
    // A multiple of 3, so that base64 has padding at its end only.
    constexpr int step = stepSize / 4 * 3;
    put('"');
    for (int start = 0; start < bytes.size() && !m_isTooLong; start += step) {
        const int size = std::min(step, bytes.size() - start);
        const QByteArray encoded = QByteArray::fromRawData(bytes.constData() + start, size).toBase64();
        put(QLatin1String(encoded));
    }
    put('"');
}

void Writer::addText(QStringView text)
{
    put('"');
    while (!text.isEmpty() && !m_isTooLong) {
        text = text.mid(addPlainStart(text));
        if (!text.isEmpty() && !isPlain(text.front()))
            text = text.mid(addSpecialStart(text));
    }
    put('"');
}

int Writer::addPlainStart(QStringView text)
{
    const int size = static_cast<int>(std::min(text.size(), qsizetype(stepSize)));
    const QChar* const start = text.data();
    const QChar* unit = start;
    char* out = room(size);
    for (const QChar* const end = start + size; unit != end && isPlain(*unit); ++unit)
        *out++ = unit->toLatin1();
    setEnd(out);
    return static_cast<int>(unit - start);
}

int Writer::addSpecialStart(QStringView text)
{
    const QChar unit = text.front();
    if (unit.isHighSurrogate() && text.size() > 1 && text[1].isLowSurrogate()) {
        addUtf8(QChar::surrogateToUcs4(unit, text[1]));
        return 2;
    }
    if (unit.isSurrogate() || unit <= u'\x7F')
        addEscaped(unit);
    else
        addUtf8(unit.unicode());
    return 1;
}

void Writer::addEscaped(QChar unit)
{
    constexpr char digits[] = "0123456789abcdef";
    put('\\');
    if (unit == u'"' || unit == u'\\')
        return put(unit.toLatin1());
    put('u');
    const unsigned value = unit.unicode();
    for (const unsigned shift : {12U, 8U, 4U, 0U})
        put(digits[(value >> shift) & 0xFU]);
}

void Writer::addUtf8(uint codePoint)
{
    constexpr int longest = 4;
    char* out = room(longest);
    if (codePoint < 0x800) {
        *out++ = static_cast<char>(0xC0U | (codePoint >> 6U));
    } else if (codePoint < 0x10000) {
        *out++ = static_cast<char>(0xE0U | (codePoint >> 12U));
        *out++ = continuation(codePoint >> 6U);
    } else {
        *out++ = static_cast<char>(0xF0U | (codePoint >> 18U));
        *out++ = continuation(codePoint >> 12U);
        *out++ = continuation(codePoint >> 6U);
    }
    *out++ = continuation(codePoint);
    setEnd(out);
}

template<typename List>
void Writer::addList(const List& list)
{
    put('[');
    bool isFirst = true;
    for (const auto& element : list) {
        if (!isFirst)
            put(',');
        add(element);
        isFirst = false;
    }
    put(']');
}

template<typename Fields>
void Writer::addObject(const Fields& fields)
{
    constexpr int usualSize = 8;
    QVarLengthArray<typename Fields::const_iterator, usualSize> sorted;
    for (auto field = fields.cbegin(); field != fields.cend(); ++field)
        sorted.push_back(field);
    std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.key() < b.key(); });
    put('{');
    bool isFirst = true;
    for (const auto& field : sorted) {
        if (!isFirst)
            put(',');
        addText(field.key());
        put(':');
        add(field.value());
        isFirst = false;
    }
    put('}');
}

void Writer::put(char c)
{
    *room(1) = c;
    ++m_size;
}

void Writer::put(QLatin1String ascii)
{
    setEnd(std::copy(ascii.begin(), ascii.end(), room(ascii.size())));
}

char* Writer::room(int size)
{
    if (m_text.size() - m_size < size)
        grow(size);
    return m_data + m_size;
}

/// The limit is checked here, when there is no more room. Beyond it the rest overwrites the text and is dropped.
void Writer::grow(int size)
{
    if (m_size > m_limit) {
        m_isTooLong = true;
        m_size = m_oldSize;
    }
    m_text.resize(std::max(m_text.size(), m_size + size));
    m_text.resize(m_text.capacity());
    m_data = m_text.data();
}

} // namespace

std::optional<QByteArray> TavoJson::write(const QVariant& value, qint64 limit)
{
    QByteArray text;
    if (!append(text, value, limit))
        return std::nullopt;
    return text;
}

bool TavoJson::append(QByteArray& text, const QVariant& value, qint64 limit)
{
    Writer writer(text, limit);
    writer.add(value);
    return writer.finish();
}
