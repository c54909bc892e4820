#include "rpc/json.h"

#include "printers.h"

#include <i18n/trstring.h>
#include <model/cmpath.h>
#include <tavo/tavovalue.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <limits>

namespace {

/// As another reader of JSON understands it.
QJsonValue read(const QByteArray& json)
{
    QJsonParseError problem{};
    const QJsonArray values = QJsonDocument::fromJson('[' + json + ']', &problem).array();
    EXPECT_EQ(problem.error, QJsonParseError::NoError) << json.toStdString();
    EXPECT_EQ(values.size(), 1) << json.toStdString();
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
        EXPECT_EQ(read(toJson(text)).toString(), text);
}

TEST(Json, UnpairedSurrogatesComeBack)
{
    const QString text = QString(QChar(0xD800)) + QLatin1Char('a') + QChar(0xDC00) + QChar(0xD801);
    EXPECT_EQ(toJson(text), "\"\\ud800a\\udc00\\ud801\"");
    EXPECT_EQ(read(toJson(text)).toString(), text);
}

TEST(Json, RandomTextsStayOnOneLineAndComeBack)
{
    QRandomGenerator random(1);
    for (int round = 0; round < 2000; ++round) {
        QString text;
        for (quint32 i = random.bounded(20U); i > 0; --i)
            text +=
                QChar(static_cast<ushort>(random.bounded(2) == 0 ? random.bounded(0x100) : random.bounded(0x10000)));
        const QByteArray json = toJson(text);
        EXPECT_FALSE(json.contains('\n'));
        EXPECT_EQ(read(json).toString(), text);
    }
}

TEST(Json, NumbersKeepTheirValue)
{
    EXPECT_EQ(toJson(0), "0");
    EXPECT_EQ(toJson(-1), "-1");
    EXPECT_EQ(toJson(std::numeric_limits<uint>::max()), "4294967295");
    EXPECT_EQ(toJson(std::numeric_limits<qlonglong>::min()), "-9223372036854775808");
    EXPECT_EQ(toJson(std::numeric_limits<qulonglong>::max()), "18446744073709551615");
    EXPECT_EQ(toJson(0.1), "0.1");
    EXPECT_EQ(read(toJson(1e300)).toDouble(), 1e300);
}

TEST(Json, WhatIsNoNumberIsNull)
{
    EXPECT_EQ(toJson(std::numeric_limits<double>::infinity()), "null");
    EXPECT_EQ(toJson(std::numeric_limits<double>::quiet_NaN()), "null");
    EXPECT_EQ(toJson(QVariant()), "null");
}

TEST(Json, KeysOfAnObjectAreInOrder)
{
    const QVariantHash fields{
        {QStringLiteral("b"), true},
        {QStringLiteral("a"), QVariantList{1, QStringLiteral("x")}},
        {QStringLiteral("c"), QVariantMap{{QStringLiteral("\""), QVariant()}}}};
    EXPECT_EQ(toJson(fields), R"({"a":[1,"x"],"b":true,"c":{"\"":null}})");
    EXPECT_EQ(toJson(QVariantHash()), "{}");
    EXPECT_EQ(toJson(QVariantList()), "[]");
}

TEST(Json, ValuesOfThePlatformGiveTheirText)
{
    EXPECT_EQ(toJson(TrString({"Context", "from %1"}, QStringLiteral("here"))), "\"from here\"");
    EXPECT_EQ(toJson(QVariant::fromValue(TavoBytes{"\x01\x02"})), "\"AQI=\"");
    EXPECT_EQ(toJson(QVariant::fromValue(CMPath(QStringLiteral("file"), QStringLiteral("a b")))), "\"/file/a%20b\"");
    EXPECT_EQ(toJson(QStringList{QStringLiteral("a"), QStringLiteral("b")}), R"(["a","b"])");
}

} // namespace
