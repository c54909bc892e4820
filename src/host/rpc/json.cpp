#include "rpc/json.h"

#include <QLocale>
#include <QStringList>
#include <QVarLengthArray>

#include <algorithm>
#include <cmath>
#include <string>

namespace {

/// Goes from the values to the text directly: by way of QJsonDocument a page of rows takes longer to write than to
/// read from the disk.
class Writer
{
public:
    void add(const QVariant& value);
    [[nodiscard]] QByteArray take() const { return QByteArray::fromStdString(m_out); }

private:
    void addText(const QString& text);
    void addAscii(QStringView text);
    void addEscaped(QChar unit);
    void addNumber(double number);
    template<typename List>
    void addList(const List& list);
    template<typename Fields>
    void addObject(const Fields& fields);
    void addOther(const QVariant& value);

    /// Not a QByteArray, whose every addition is a call into another library.
    std::string m_out;
};

template<typename T>
const T& contentOf(const QVariant& value)
{
    return *static_cast<const T*>(value.constData());
}

bool isPlainAscii(QChar unit)
{
    return unit >= u' ' && unit < u'\x7F' && unit != u'"' && unit != u'\\';
}

/// Whether the unit, or the pair that it belongs to, is written as it is.
bool isPlainAt(QStringView text, qsizetype index)
{
    const QChar unit = text[index];
    if (unit.isHighSurrogate())
        return index + 1 < text.size() && text[index + 1].isLowSurrogate();
    if (unit.isLowSurrogate())
        return index > 0 && text[index - 1].isHighSurrogate();
    return unit.unicode() > 0x7F || isPlainAscii(unit);
}

QStringView asciiStart(QStringView text)
{
    return text.left(std::find_if_not(text.cbegin(), text.cend(), isPlainAscii) - text.cbegin());
}

QStringView plainStart(QStringView text)
{
    qsizetype length = 0;
    while (length < text.size() && isPlainAt(text, length))
        ++length;
    return text.left(length);
}

void Writer::add(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        m_out += value.toBool() ? "true" : "false";
        break;
    case QMetaType::Int:
    case QMetaType::LongLong:
        m_out += std::to_string(value.toLongLong());
        break;
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        m_out += std::to_string(value.toULongLong());
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

void Writer::addNumber(double number)
{
    if (std::isfinite(number))
        m_out += QByteArray::number(number, 'g', QLocale::FloatingPointShortest).toStdString();
    else
        m_out += "null";
}

void Writer::addOther(const QVariant& value)
{
    const QString text = value.toString();
    if (text.isNull())
        m_out += "null";
    else
        addText(text);
}

void Writer::addText(const QString& text)
{
    m_out += '"';
    for (QStringView rest = text; !rest.isEmpty();) {
        const QStringView ascii = asciiStart(rest);
        addAscii(ascii);
        rest = rest.mid(ascii.size());
        const QStringView plain = plainStart(rest);
        if (!plain.isEmpty())
            m_out += plain.toUtf8().toStdString();
        else if (!rest.isEmpty())
            addEscaped(rest.front());
        rest = rest.mid(std::max(plain.size(), qsizetype(1)));
    }
    m_out += '"';
}

void Writer::addAscii(QStringView text)
{
    const size_t end = m_out.size();
    m_out.resize(end + static_cast<size_t>(text.size()));
    std::transform(text.cbegin(), text.cend(), m_out.begin() + static_cast<std::ptrdiff_t>(end), [](QChar unit) {
        return unit.toLatin1();
    });
}

void Writer::addEscaped(QChar unit)
{
    m_out += '\\';
    if (unit == u'"' || unit == u'\\')
        m_out += unit.toLatin1();
    else
        m_out += 'u' + QByteArray::number(unit.unicode(), 16).rightJustified(4, '0').toStdString();
}

template<typename List>
void Writer::addList(const List& list)
{
    m_out += '[';
    const char* separator = "";
    for (const auto& element : list) {
        m_out += separator;
        add(element);
        separator = ",";
    }
    m_out += ']';
}

template<typename Fields>
void Writer::addObject(const Fields& fields)
{
    constexpr int usualSize = 8;
    QVarLengthArray<typename Fields::const_iterator, usualSize> sorted;
    for (auto field = fields.cbegin(); field != fields.cend(); ++field)
        sorted.push_back(field);
    std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.key() < b.key(); });
    m_out += '{';
    const char* separator = "";
    for (const auto& field : sorted) {
        m_out += separator;
        addText(field.key());
        m_out += ':';
        add(field.value());
        separator = ",";
    }
    m_out += '}';
}

} // namespace

QByteArray toJson(const QVariant& value)
{
    Writer writer;
    writer.add(value);
    return writer.take();
}
