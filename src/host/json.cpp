#include "json.h"

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
    void addPlain(const QChar* units, int count);
    /// Returns how many units it has written.
    int addUnit(const QString& text, int index);
    void addEscaped(ushort unit);
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

/// How many units from `start` on are written as they are.
int plainLength(const QString& text, int start)
{
    const auto isPlain = [](QChar c) { return c >= u' ' && c < u'\x7F' && c != u'"' && c != u'\\'; };
    return static_cast<int>(std::find_if_not(text.cbegin() + start, text.cend(), isPlain) - text.cbegin()) - start;
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
    for (int i = 0; i < text.size();) {
        const int plain = plainLength(text, i);
        addPlain(text.constData() + i, plain);
        i += plain;
        if (i < text.size())
            i += addUnit(text, i);
    }
    m_out += '"';
}

void Writer::addPlain(const QChar* units, int count)
{
    const size_t end = m_out.size();
    m_out.resize(end + static_cast<size_t>(count));
    std::transform(units, units + count, m_out.begin() + static_cast<std::ptrdiff_t>(end), [](QChar unit) {
        return unit.toLatin1();
    });
}

int Writer::addUnit(const QString& text, int index)
{
    const QChar unit = text.at(index);
    const bool isPair = unit.isHighSurrogate() && index + 1 < text.size() && text.at(index + 1).isLowSurrogate();
    const int units = isPair ? 2 : 1;
    if (unit == QLatin1Char('"') || unit == QLatin1Char('\\'))
        m_out += {'\\', unit.toLatin1()};
    else if (unit < QLatin1Char(' ') || unit == QChar(0x7F) || (unit.isSurrogate() && !isPair))
        addEscaped(unit.unicode());
    else
        m_out += QStringView(text).mid(index, units).toUtf8().toStdString();
    return units;
}

void Writer::addEscaped(ushort unit)
{
    m_out += "\\u";
    m_out += QByteArray::number(unit, 16).rightJustified(4, '0').toStdString();
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
