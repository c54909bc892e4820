#include "tavo/tavojson.h"

#include "i18n/trstring.h"
#include "model/cmpath.h"
#include "printers.h"
#include "tavo/tavovalue.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <limits>

namespace {

/// Without a limit every value has a text.
QByteArray json(const QVariant& value)
{
    return TavoJson::write(value).value_or(QByteArray());
}

/// As another reader of JSON understands it.
QJsonValue read(const QByteArray& text)
{
    QJsonParseError problem{};
    const QJsonArray values = QJsonDocument::fromJson('[' + text + ']', &problem).array();
    EXPECT_EQ(problem.error, QJsonParseError::NoError) << text.toStdString();
    EXPECT_EQ(values.size(), 1) << text.toStdString();
    return values.first();
}

TEST(Json, EveryTextComesBack)
{
    const QStringList texts = {
        QString(""),
        QStringLiteral("plain"),
        QStringLiteral("quote \" backslash \\ slash /"),
        QStringLiteral("tab\tnewline\nreturn\rescape\x1b zero") + QChar(0) + QStringLiteral("\x7f"),
        QString::fromUtf8("Bj\u00f6rk \u65e5\u672c \U0001F3B5"),
        QString(QChar(0x2028)) + QChar(0xFEFF) + QChar(0xFFFD)};
    for (const QString& text : texts)
        EXPECT_EQ(read(json(text)).toString(), text);
}

TEST(Json, UnpairedSurrogatesComeBack)
{
    const QString text = QString(QChar(0xD800)) + QLatin1Char('a') + QChar(0xDC00) + QChar(0xD801);
    EXPECT_EQ(json(text), "\"\\ud800a\\udc00\\ud801\"");
    EXPECT_EQ(read(json(text)).toString(), text);
}

TEST(Json, RandomTextsStayOnOneLineAndComeBack)
{
    QRandomGenerator random(1);
    for (int round = 0; round < 2000; ++round) {
        QString text;
        for (quint32 i = random.bounded(20U); i > 0; --i)
            text +=
                QChar(static_cast<ushort>(random.bounded(2) == 0 ? random.bounded(0x100) : random.bounded(0x10000)));
        const QByteArray line = json(text);
        EXPECT_FALSE(line.contains('\n'));
        EXPECT_EQ(read(line).toString(), text);
    }
}

TEST(Json, NumbersKeepTheirValue)
{
    EXPECT_EQ(json(0), "0");
    EXPECT_EQ(json(-1), "-1");
    EXPECT_EQ(json(std::numeric_limits<uint>::max()), "4294967295");
    EXPECT_EQ(json(std::numeric_limits<qlonglong>::min()), "-9223372036854775808");
    EXPECT_EQ(json(std::numeric_limits<qulonglong>::max()), "18446744073709551615");
    EXPECT_EQ(json(0.1), "0.1");
    EXPECT_EQ(read(json(1e300)).toDouble(), 1e300);
}

TEST(Json, WhatIsNoNumberIsNull)
{
    EXPECT_EQ(json(std::numeric_limits<double>::infinity()), "null");
    EXPECT_EQ(json(std::numeric_limits<double>::quiet_NaN()), "null");
    EXPECT_EQ(json(QVariant()), "null");
    EXPECT_EQ(json(QVariant::fromValue(nullptr)), "null");
}

TEST(Json, KeysOfAnObjectAreInOrder)
{
    const QVariantHash fields{
        {QStringLiteral("b"), true},
        {QStringLiteral("a"), QVariantList{1, QStringLiteral("x")}},
        {QStringLiteral("c"), QVariantMap{{QStringLiteral("\""), QVariant()}}}};
    EXPECT_EQ(json(fields), R"({"a":[1,"x"],"b":true,"c":{"\"":null}})");
    EXPECT_EQ(json(QVariantHash()), "{}");
    EXPECT_EQ(json(QVariantList()), "[]");
}

TEST(Json, ValuesOfThePlatformGiveTheirText)
{
    EXPECT_EQ(json(TrString({"Context", "from %1"}, QStringLiteral("here"))), "\"from here\"");
    EXPECT_EQ(json(QVariant::fromValue(TavoBytes{"\x01\x02"})), "\"AQI=\"");
    EXPECT_EQ(json(QVariant::fromValue(CMPath(QStringLiteral("file"), QStringLiteral("a b")))), "\"/file/a%20b\"");
    EXPECT_EQ(json(QStringList{QStringLiteral("a"), QStringLiteral("b")}), R"(["a","b"])");
}

TEST(Json, BytesAreBase64WhateverTheirNumber)
{
    for (int size : {0, 1, 2, 3, 3071, 3072, 3073, 10000}) {
        const QByteArray bytes(size, '\xfe');
        EXPECT_EQ(json(QVariant::fromValue(TavoBytes{bytes})), '"' + bytes.toBase64() + '"');
    }
}

TEST(Json, LongTextsAreWholeWhereverTheyAreCut)
{
    const QString pairs = QString::fromUtf8("\U0001F3B5").repeated(5000);
    for (const QString& text : {pairs, QLatin1Char('a') + pairs, QString(4095, QLatin1Char('a')) + pairs})
        EXPECT_EQ(json(text), '"' + text.toUtf8() + '"');
}

TEST(Json, TextBeyondTheLimitIsNotBuilt)
{
    const QVariantList values = {
        1,
        0.5,
        QVariant(),
        QString(10000, QLatin1Char('x')),
        QString(10000, QChar(0xE4)),
        QVariant::fromValue(TavoBytes{QByteArray(10000, '\0')}),
        QVariantList{1, QStringLiteral("text"), QVariantMap{{QStringLiteral("name"), 2}}}};
    for (const QVariant& value : values) {
        const QByteArray text = json(value);
        EXPECT_EQ(TavoJson::write(value, text.size()), text);
        EXPECT_EQ(TavoJson::write(value, text.size() - 1), std::nullopt);
        EXPECT_EQ(TavoJson::write(value, 0), std::nullopt);
    }
}

TEST(Json, ValueIsAppendedOrTheTextStays)
{
    QByteArray text = "{\"a\":";
    EXPECT_FALSE(TavoJson::append(text, QString(10000, QLatin1Char('x')), 1000));
    EXPECT_EQ(text, "{\"a\":");
    EXPECT_FALSE(TavoJson::append(text, 12, 6));
    EXPECT_EQ(text, "{\"a\":");
    EXPECT_TRUE(TavoJson::append(text, 12, 7));
    EXPECT_EQ(text, "{\"a\":12");
}

TEST(Json, EndlessValuesTakeNoMoreMemoryThanTheLimit)
{
    // Two million million bytes of text: each level has the one below 2000 times.
    QVariant value = QString(250, QLatin1Char('x'));
    for (int level = 0; level < 3; ++level)
        value = QVariantList(QVector<QVariant>(2000, value).toList());
    constexpr int limit = 1 << 20;
    QByteArray text;
    EXPECT_FALSE(TavoJson::append(text, value, limit));
    EXPECT_LE(text.capacity(), 2 * limit);
}

} // namespace
