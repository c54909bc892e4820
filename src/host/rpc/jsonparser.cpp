#include "rpc/jsonparser.h"

#include <tavo/tavoutf8.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace {

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isControl(char c)
{
    return static_cast<unsigned char>(c) < ' ';
}

/// A byte that a string does not contain as it is.
bool isSpecial(char c)
{
    return c == '"' || c == '\\' || isControl(c);
}

/// The number's value if it is whole and has at most 64 bits.
std::optional<qlonglong> wholeNumber(double number)
{
    constexpr double tooLarge = 9223372036854775808.0;
    if (number < -tooLarge || number >= tooLarge || number != std::trunc(number))
        return std::nullopt;
    return static_cast<qlonglong>(number);
}

/// `text`: a number in JSON's syntax.
QVariant numberFrom(const char* text, const char* end)
{
    qlonglong integer = 0;
    const std::from_chars_result read = std::from_chars(text, end, integer);
    if (read.ec == std::errc() && read.ptr == end)
        return integer;
    constexpr double largest = std::numeric_limits<double>::max();
    // Infinite if it is out of range, 0 if it is too small.
    const double number = QByteArray::fromRawData(text, static_cast<int>(end - text)).toDouble();
    if (const std::optional<qlonglong> whole = wholeNumber(number))
        return *whole;
    return std::clamp(number, -largest, largest);
}

/// Nothing if the bytes are not valid UTF-8.
std::optional<QString> decoded(const char* text, int size)
{
    QString string = TavoUtf8::decode(text, size);
    // Invalid bytes have become replacement characters, but the text may have some of its own.
    if (string.contains(QChar::ReplacementCharacter) && string.toUtf8() != QByteArray::fromRawData(text, size))
        return std::nullopt;
    return string;
}

/// Recursive: the depth is limited.
class Parser
{
public:
    explicit Parser(const QByteArray& text) : m_start(text.cbegin()), m_next(text.cbegin()), m_end(text.cend()) {}

    [[nodiscard]] std::variant<QVariant, JsonProblem> parse();

private:
    // After a problem these return an invalid value, nothing or false.
    [[nodiscard]] QVariant value();
    [[nodiscard]] QVariant object();
    [[nodiscard]] bool addField(QVariantMap& fields);
    [[nodiscard]] QVariant array();
    [[nodiscard]] QVariant word(QLatin1String text, const QVariant& meaning);
    [[nodiscard]] QVariant number();
    [[nodiscard]] std::optional<QString> string();
    [[nodiscard]] bool addUnescaped(QString& string);
    [[nodiscard]] bool addEscape(QString& string);
    [[nodiscard]] bool addHexEscape(QString& string);
    [[nodiscard]] bool descend();

    [[nodiscard]] bool isAtEnd() const { return m_next == m_end; }
    void skipSpace() { m_next = std::find_if_not(m_next, m_end, isSpace); }
    /// Whether there were any.
    bool skipDigits();
    /// Skips the character if it is the next one.
    [[nodiscard]] bool take(char c);
    /// The same, with space before it.
    [[nodiscard]] bool takeToken(char c);

    /// The first problem counts. Returns an invalid value.
    QVariant fail(JsonProblem::Kind kind, const QString& message);
    QVariant failAt(const char* place, const char* what);

    const char* m_start;
    const char* m_next;
    const char* m_end;
    int m_depth = 0;
    int m_values = 0;
    std::optional<JsonProblem> m_problem;
};

std::variant<QVariant, JsonProblem> Parser::parse()
{
    QVariant result = value();
    skipSpace();
    if (!isAtEnd())
        failAt(m_next, "more than one value");
    if (m_problem)
        return *std::move(m_problem);
    return result;
}

QVariant Parser::value()
{
    skipSpace();
    if (++m_values > mostJsonValues)
        return fail(JsonProblem::Kind::Size, QStringLiteral("more than %1 values").arg(mostJsonValues));
    switch (isAtEnd() ? '\0' : *m_next) {
    case '{':
        return object();
    case '[':
        return array();
    case '"':
        if (std::optional<QString> text = string())
            return *std::move(text);
        return {};
    case 't':
        return word(QLatin1String("true"), true);
    case 'f':
        return word(QLatin1String("false"), false);
    case 'n':
        return word(QLatin1String("null"), QVariant::fromValue(nullptr));
    default:
        return number();
    }
}

QVariant Parser::object()
{
    QVariantMap fields;
    if (!descend())
        return {};
    if (!takeToken('}')) {
        do {
            if (!addField(fields))
                return {};
        } while (takeToken(','));
        if (!takeToken('}'))
            return failAt(m_next, "',' or '}' expected");
    }
    --m_depth;
    return fields;
}

bool Parser::addField(QVariantMap& fields)
{
    skipSpace();
    if (isAtEnd() || *m_next != '"') {
        failAt(m_next, "a field's name expected");
        return false;
    }
    const std::optional<QString> name = string();
    if (!name)
        return false;
    const int before = fields.size();
    const auto field = fields.insert(*name, {});
    if (fields.size() == before) {
        fail(JsonProblem::Kind::RepeatedName, QStringLiteral("an object has two fields of one name"));
        return false;
    }
    if (!takeToken(':')) {
        failAt(m_next, "':' expected");
        return false;
    }
    *field = value();
    return !m_problem;
}

QVariant Parser::array()
{
    QVariantList elements;
    if (!descend())
        return {};
    if (!takeToken(']')) {
        do {
            elements.append(value());
            if (m_problem)
                return {};
        } while (takeToken(','));
        if (!takeToken(']'))
            return failAt(m_next, "',' or ']' expected");
    }
    --m_depth;
    return elements;
}

QVariant Parser::word(QLatin1String text, const QVariant& meaning)
{
    if (m_end - m_next < text.size() || !std::equal(text.begin(), text.end(), m_next))
        return failAt(m_next, "a value expected");
    m_next += text.size();
    return meaning;
}

QVariant Parser::number()
{
    const char* const start = m_next;
    const bool isNegative = take('-');
    bool isValid = take('0') || skipDigits();
    if (!isValid && !isNegative)
        return failAt(start, "a value expected");
    if (take('.'))
        isValid = skipDigits() && isValid;
    if (take('e') || take('E')) {
        static_cast<void>(take('+') || take('-'));
        isValid = skipDigits() && isValid;
    }
    return isValid ? numberFrom(start, m_next) : failAt(start, "invalid number");
}

std::optional<QString> Parser::string()
{
    const char* const start = m_next++;
    QString string;
    while (addUnescaped(string)) {
        if (take('"'))
            return string.isNull() ? QStringLiteral("") : string;
        if (!take('\\')) {
            failAt(isAtEnd() ? start : m_next, isAtEnd() ? "unterminated string" : "control character in a string");
            break;
        }
        if (!addEscape(string))
            break;
    }
    return std::nullopt;
}

bool Parser::addUnescaped(QString& string)
{
    const char* const start = m_next;
    m_next = std::find_if(start, m_end, isSpecial);
    if (m_next == start)
        return true;
    const std::optional<QString> text = decoded(start, static_cast<int>(m_next - start));
    if (!text) {
        failAt(start, "invalid UTF-8 in the string");
        return false;
    }
    string.append(*text);
    return true;
}

bool Parser::addEscape(QString& string)
{
    constexpr std::pair<char, char> escapes[] = {{'"', '"'},  {'\\', '\\'}, {'/', '/'},  {'b', '\b'},
                                                 {'f', '\f'}, {'n', '\n'},  {'r', '\r'}, {'t', '\t'}};
    if (take('u'))
        return addHexEscape(string);
    for (const auto& [name, meaning] : escapes) {
        if (take(name)) {
            string.append(QLatin1Char(meaning));
            return true;
        }
    }
    failAt(m_next - 1, "invalid escape sequence");
    return false;
}

bool Parser::addHexEscape(QString& string)
{
    constexpr int digits = 4;
    constexpr int base = 16;
    ushort unit = 0;
    const char* const end = m_next + std::min<std::ptrdiff_t>(digits, m_end - m_next);
    if (std::from_chars(m_next, end, unit, base).ptr != m_next + digits) {
        failAt(m_next - 2, "invalid escape sequence");
        return false;
    }
    m_next = end;
    string.append(QChar(unit));
    return true;
}

bool Parser::descend()
{
    ++m_next;
    if (++m_depth <= deepestJson)
        return true;
    fail(JsonProblem::Kind::Size, QStringLiteral("nested deeper than %1 levels").arg(deepestJson));
    return false;
}

bool Parser::skipDigits()
{
    const char* const start = m_next;
    m_next = std::find_if_not(m_next, m_end, isDigit);
    return m_next != start;
}

bool Parser::take(char c)
{
    if (isAtEnd() || *m_next != c)
        return false;
    ++m_next;
    return true;
}

bool Parser::takeToken(char c)
{
    skipSpace();
    return take(c);
}

QVariant Parser::fail(JsonProblem::Kind kind, const QString& message)
{
    if (!m_problem)
        m_problem = JsonProblem{kind, message};
    return {};
}

QVariant Parser::failAt(const char* place, const char* what)
{
    return fail(
        JsonProblem::Kind::Syntax, QStringLiteral("%1 at byte %2").arg(QLatin1String(what)).arg(place - m_start));
}

} // namespace

std::variant<QVariant, JsonProblem> parseJson(const QByteArray& text)
{
    return Parser(text).parse();
}
