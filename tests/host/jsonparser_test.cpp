#include "rpc/jsonparser.h"

#include "printers.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using Kind = JsonProblem::Kind;

QVariant valueOf(const QByteArray& text)
{
    const auto parsed = parseJson(text);
    const auto* problem = std::get_if<JsonProblem>(&parsed);
    EXPECT_EQ(problem, nullptr) << text.left(100).toStdString() << ": " << problem->message.toStdString();
    return problem ? QVariant() : std::get<QVariant>(parsed);
}

/// With a message that says that there is none, if there is none.
JsonProblem problemOf(const QByteArray& text)
{
    const auto parsed = parseJson(text);
    const auto* problem = std::get_if<JsonProblem>(&parsed);
    return problem ? *problem : JsonProblem{Kind::Syntax, QStringLiteral("none")};
}

QString textOf(const QByteArray& text)
{
    const QVariant value = valueOf(text);
    EXPECT_EQ(value.userType(), QMetaType::QString);
    return value.toString();
}

/// The value with its type's name, as QVariants of different types can be equal.
std::string typed(const QVariant& value)
{
    return std::string(value.typeName()) + ' ' + value.toString().toStdString();
}

TEST(JsonParser, ValuesHaveTheTypesOfTheirKinds)
{
    EXPECT_EQ(typed(valueOf("true")), "bool true");
    EXPECT_EQ(typed(valueOf(" false\r\n")), "bool false");
    EXPECT_EQ(valueOf("null").userType(), QMetaType::Nullptr);
    EXPECT_EQ(typed(valueOf("1")), "qlonglong 1");
    EXPECT_EQ(typed(valueOf("0.5")), "double 0.5");
    EXPECT_EQ(typed(valueOf("\"a\"")), "QString a");
    EXPECT_EQ(valueOf("[]").userType(), QMetaType::QVariantList);
    EXPECT_EQ(valueOf("{}").userType(), QMetaType::QVariantMap);
}

TEST(JsonParser, ValuesContainEachOther)
{
    const QVariantMap inner{{QStringLiteral("b"), QVariantList{}}, {QStringLiteral(""), QVariant::fromValue(nullptr)}};
    const QVariantList outer{1, inner, QStringLiteral("x")};
    EXPECT_EQ(valueOf(R"( [ 1 , { "b" : [ ] , "" : null } , "x" ] )"), QVariant(outer));
    EXPECT_EQ(valueOf("[1,{\"b\":[],\"\":null},\t\"x\"]\n"), QVariant(outer));
}

TEST(JsonParser, WholeNumbersAreIntegersWhateverTheirForm)
{
    EXPECT_EQ(typed(valueOf("-9223372036854775808")), "qlonglong -9223372036854775808");
    EXPECT_EQ(typed(valueOf("9223372036854775807")), "qlonglong 9223372036854775807");
    EXPECT_EQ(typed(valueOf("9007199254740993")), "qlonglong 9007199254740993");
    EXPECT_EQ(typed(valueOf("1.0")), "qlonglong 1");
    EXPECT_EQ(typed(valueOf("-12E+2")), "qlonglong -1200");
    EXPECT_EQ(typed(valueOf("-0")), "qlonglong 0");
    EXPECT_EQ(valueOf("9223372036854775808").userType(), QMetaType::Double);
    EXPECT_EQ(valueOf("1e19").userType(), QMetaType::Double);
}

TEST(JsonParser, NumbersOutOfRangeBecomeTheLargestOfTheirSign)
{
    constexpr double largest = std::numeric_limits<double>::max();
    EXPECT_EQ(valueOf("1e400").toDouble(), largest);
    EXPECT_EQ(valueOf("-1e400").toDouble(), -largest);
    EXPECT_EQ(valueOf("1" + QByteArray(100000, '0')).toDouble(), largest);
    EXPECT_EQ(valueOf("1e99999999999999999999").toDouble(), largest);
    EXPECT_EQ(valueOf("1e-99999999999999999999").toDouble(), 0);
    EXPECT_EQ(valueOf("0." + QByteArray(100000, '0') + '1').toDouble(), 0);
}

TEST(JsonParser, EscapesAreTheirCharacters)
{
    EXPECT_EQ(textOf(R"("\"\\\/\b\f\n\r\t")"), QStringLiteral("\"\\/\b\f\n\r\t"));
    EXPECT_EQ(textOf(R"("a\u00e4\u00E4b")"), QString::fromUtf8("a\u00e4\u00e4b"));
    EXPECT_EQ(textOf(R"("\ud83c\udfb5")"), QString::fromUtf8("\U0001F3B5"));
    EXPECT_EQ(textOf(R"("\ud800a\udc00")"), QString(QChar(0xD800)) + QLatin1Char('a') + QChar(0xDC00));
    EXPECT_EQ(textOf(R"("\u0000")"), QString(QChar(0)));
}

TEST(JsonParser, TextsAreUtf8)
{
    EXPECT_EQ(
        textOf("\"Bj\u00f6rk \u65e5\u672c \U0001F3B5\""), QString::fromUtf8("Bj\u00f6rk \u65e5\u672c \U0001F3B5"));
    EXPECT_EQ(textOf("\"\xEF\xBB\xBF\""), QString(QChar(0xFEFF)));
    EXPECT_FALSE(textOf("\"\"").isNull());
    for (const QByteArray bytes : {"\x80", "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
        for (const QByteArray& text : {'"' + bytes + '"', "\"a" + bytes + "\\n\"", '"' + bytes})
            EXPECT_EQ(problemOf(text).message.section(QLatin1Char(' '), 0, 1), QStringLiteral("invalid UTF-8"));
    }
}

TEST(JsonParser, SyntaxErrorsSayWhatIsWrongAndWhere)
{
    const QList<QPair<QByteArray, const char*>> problems = {
        {"", "a value expected at byte 0"},
        {" ", "a value expected at byte 1"},
        {"tru", "a value expected at byte 0"},
        {"[1,]", "a value expected at byte 3"},
        {"[1 2]", "',' or ']' expected at byte 3"},
        {"[", "a value expected at byte 1"},
        {R"({"a":1)", "',' or '}' expected at byte 6"},
        {R"({"a" 1})", "':' expected at byte 5"},
        {R"({"a":1,})", "a field's name expected at byte 7"},
        {"{a:1}", "a field's name expected at byte 1"},
        {"1 2", "more than one value at byte 2"},
        {"truex", "more than one value at byte 4"},
        {"01", "more than one value at byte 1"},
        {"-", "invalid number at byte 0"},
        {"-a", "invalid number at byte 0"},
        {"1.", "invalid number at byte 0"},
        {".5", "a value expected at byte 0"},
        {"+1", "a value expected at byte 0"},
        {"[1e+]", "invalid number at byte 1"},
        {"[\"a", "unterminated string at byte 1"},
        {"\"a\\", "invalid escape sequence at byte 2"},
        {"\"a\nb\"", "control character in a string at byte 2"},
        {R"("a\x")", "invalid escape sequence at byte 2"},
        {R"("\u12g4")", "invalid escape sequence at byte 1"},
        {R"("\u12")", "invalid escape sequence at byte 1"},
        {R"("\u-123")", "invalid escape sequence at byte 1"}};
    for (const auto& [text, message] : problems) {
        EXPECT_EQ(problemOf(text).message, QString::fromLatin1(message)) << text.toStdString();
        EXPECT_EQ(problemOf(text).kind, Kind::Syntax) << text.toStdString();
    }
}

TEST(JsonParser, TwoFieldsOfOneNameAreRefused)
{
    EXPECT_EQ(problemOf(R"({"a":1,"b":{"a":2},"\u0061":3})").kind, Kind::RepeatedName);
    EXPECT_EQ(problemOf(R"({"":1,"":1)").kind, Kind::RepeatedName);
}

TEST(JsonParser, NestingHasALimit)
{
    const auto nested = [](int depth) { return QByteArray(depth, '[') + QByteArray(depth, ']'); };
    EXPECT_TRUE(valueOf(nested(deepestJson)).isValid());
    EXPECT_EQ(problemOf(nested(deepestJson + 1)).kind, Kind::Size);
    EXPECT_EQ(problemOf(QByteArray(R"({"a":)").repeated(100000)).kind, Kind::Size);
    EXPECT_EQ(valueOf('[' + nested(1).repeated(deepestJson).replace("][", "],[") + ']').toList().size(), deepestJson);
}

TEST(JsonParser, NumberOfValuesHasALimit)
{
    // The array is one, too.
    const QByteArray most = QByteArray("0,").repeated(mostJsonValues - 2) + '0';
    EXPECT_EQ(valueOf('[' + most + ']').toList().size(), mostJsonValues - 1);
    EXPECT_EQ(problemOf("[0," + most + ']').kind, Kind::Size);
}

} // namespace
