#include "rpc/jsonrpc.h"

#include "printers.h"

#include <gtest/gtest.h>

namespace {

JsonRpc::Request requestFrom(const QByteArray& message)
{
    const auto parsed = JsonRpc::parse(message);
    const auto* request = std::get_if<JsonRpc::Request>(&parsed);
    EXPECT_NE(request, nullptr) << message.toStdString();
    return request ? *request : JsonRpc::Request();
}

/// Null of JSON.
QVariant null()
{
    return QVariant::fromValue(nullptr);
}

QString messageOf(const QByteArray& message)
{
    const auto parsed = JsonRpc::parse(message);
    const auto* malformed = std::get_if<JsonRpc::Malformed>(&parsed);
    return malformed ? malformed->error.message : QString();
}

/// 0 if it is not malformed.
int problemOf(const QByteArray& message)
{
    const auto parsed = JsonRpc::parse(message);
    const auto* malformed = std::get_if<JsonRpc::Malformed>(&parsed);
    return malformed ? malformed->error.code : 0;
}

TEST(JsonRpc, RequestCarriesIdMethodAndParameters)
{
    const JsonRpc::Request request = requestFrom(R"({"jsonrpc":"2.0","id":"a","method":"rows","params":{"path":"/"}})");
    EXPECT_EQ(request.id, QVariant(QStringLiteral("a")));
    EXPECT_EQ(request.method, QStringLiteral("rows"));
    EXPECT_EQ(request.parameters, QVariant(QVariantMap{{QStringLiteral("path"), QStringLiteral("/")}}));
}

TEST(JsonRpc, RequestWithoutIdWantsNoAnswer)
{
    EXPECT_FALSE(requestFrom(R"({"jsonrpc":"2.0","method":"rows"})").id.has_value());
    EXPECT_TRUE(requestFrom(R"({"jsonrpc":"2.0","id":null,"method":"rows"})").id.has_value());
}

TEST(JsonRpc, RequestMayHaveNoParameters)
{
    EXPECT_FALSE(requestFrom(R"({"jsonrpc":"2.0","id":1,"method":"rows"})").parameters.has_value());
    EXPECT_EQ(
        requestFrom(R"({"jsonrpc":"2.0","id":1,"method":"rows","params":[null]})").parameters,
        QVariant(QVariantList{null()}));
}

TEST(JsonRpc, WhatIsNoJsonIsAParseError)
{
    const QList<QByteArray> messages = {
        "",
        " ",
        "x",
        "{",
        "}",
        "{} {}",
        "{},{}",
        "] [",
        R"({"a":1,})",
        "\xff",
        "{\"a\":\"\xff\"}",
        "-",
        "1e",
        "01e400",
        QByteArray("\0", 1),
        "\xef\xbb\xbf{}"};
    for (const QByteArray& message : messages)
        EXPECT_EQ(problemOf(message), JsonRpc::ParseError) << message.toStdString();
}

TEST(JsonRpc, NumbersOutOfRangeSpoilNoMessage)
{
    for (const char* number : {"1e400", "1.5E+99999", "1e308"}) {
        const JsonRpc::Request request = requestFrom(
            QByteArray(R"({"jsonrpc":"2.0","id":7,"method":"1e400 \" 1e400","params":[)") + number + R"(,"1e400"]})");
        EXPECT_EQ(request.id, QVariant(7));
        EXPECT_EQ(request.method, QStringLiteral("1e400 \" 1e400"));
        const QVariantList parameters = request.parameters.value_or(QVariant()).toList();
        EXPECT_GE(parameters.value(0).toDouble(), 1e308);
        EXPECT_EQ(parameters.value(1), QVariant(QStringLiteral("1e400")));
    }
    EXPECT_EQ(problemOf(QByteArray("1e400,").repeated(100000)), JsonRpc::ParseError);
}

TEST(JsonRpc, ParseErrorsSayWhere)
{
    EXPECT_EQ(messageOf("rows please"), QStringLiteral("not JSON: a value expected at byte 0"));
    EXPECT_EQ(messageOf(R"({"id":1)"), QStringLiteral("not JSON: ',' or '}' expected at byte 7"));
    EXPECT_EQ(
        messageOf(QByteArray(101, '[')), QStringLiteral("the message is too large: nested deeper than 100 levels"));
}

TEST(JsonRpc, NestingWithoutEndIsAParseError)
{
    EXPECT_EQ(problemOf(QByteArray(500000, '[')), JsonRpc::ParseError);
    EXPECT_EQ(problemOf(QByteArray(R"({"a":)").repeated(100000)), JsonRpc::ParseError);
}

TEST(JsonRpc, JsonThatIsNoRequestIsInvalid)
{
    const QList<QByteArray> messages = {
        "1",
        "null",
        "\"text\"",
        "{}",
        R"({"jsonrpc":"2.0"})",
        R"({"jsonrpc":"2.0","method":1})",
        R"({"method":"rows"})",
        R"({"jsonrpc":"1.0","method":"rows"})",
        R"({"jsonrpc":2.0,"method":"rows"})",
        R"({"jsonrpc":"2.0","method":"rows","params":"text"})",
        R"({"jsonrpc":"2.0","method":"rows","params":null})",
        R"({"jsonrpc":"2.0","id":{},"method":"rows"})",
        R"({"jsonrpc":"2.0","id":true,"method":"rows"})"};
    for (const QByteArray& message : messages)
        EXPECT_EQ(problemOf(message), JsonRpc::InvalidRequest) << message.toStdString();
}

TEST(JsonRpc, TwoFieldsOfOneNameAreInvalid)
{
    const QList<QByteArray> messages = {
        R"({"jsonrpc":"2.0","id":1,"method":"rows","params":{"path":"/"},"params":[]})",
        R"({"jsonrpc":"2.0","id":1,"method":"rows","params":{"path":["/"],"p\u0061th" : "/"}})",
        R"({"jsonrpc":"2.0","id":1,"id":1,"method":"rows"})",
        R"({"jsonrpc":"2.0","method":"set","params":[[{"":[{}],"x":":","":0}]]})",
        R"({"\"":[1],"\"":1})",
        R"({"a":[1],"a")"
        "\t\r\n:1}"};
    for (const QByteArray& message : messages)
        EXPECT_EQ(problemOf(message), JsonRpc::InvalidRequest) << message.toStdString();
}

TEST(JsonRpc, FieldsOfDifferentObjectsMayHaveOneName)
{
    const QByteArray parameters = R"([{"a":{"a":["a","a"]}},{"a":"\",\"a\":","b":{"b":"a"},"\\":1,"c":[{"b":1}]}])";
    EXPECT_EQ(problemOf(R"({"jsonrpc":"2.0","id":1,"method":"a","params":)" + parameters + '}'), 0);
}

TEST(JsonRpc, BatchesAreInvalid)
{
    EXPECT_EQ(problemOf("[]"), JsonRpc::InvalidRequest);
    EXPECT_EQ(problemOf(R"([{"jsonrpc":"2.0","id":1,"method":"describe"}])"), JsonRpc::InvalidRequest);
}

TEST(JsonRpc, InvalidRequestIsAnsweredUnderItsId)
{
    const auto parsed = JsonRpc::parse(R"({"jsonrpc":"2.0","id":7,"method":1})");
    EXPECT_EQ(std::get<JsonRpc::Malformed>(parsed).id, QVariant(7));
}

TEST(JsonRpc, AnswersAreOneObjectEach)
{
    EXPECT_EQ(JsonRpc::result(1, "true").text(), R"({"jsonrpc":"2.0","id":1,"result":true})");
    EXPECT_EQ(JsonRpc::result(QStringLiteral("x"), "null").text(), R"({"jsonrpc":"2.0","id":"x","result":null})");
    EXPECT_EQ(
        JsonRpc::error(null(), {JsonRpc::ParseError, QStringLiteral("why")}),
        R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"why"}})");
    EXPECT_EQ(
        JsonRpc::error(
            2, {JsonRpc::WorkerRefused, QStringLiteral("m"), {{QStringLiteral("name"), QStringLiteral("n")}}}),
        R"({"jsonrpc":"2.0","id":2,"error":{"code":-32000,"data":{"name":"n"},"message":"m"}})");
    EXPECT_EQ(
        JsonRpc::notification(QStringLiteral("rowsChanged"), {{QStringLiteral("version"), 3}}),
        R"({"jsonrpc":"2.0","method":"rowsChanged","params":{"version":3}})");
}

TEST(JsonRpc, IdsComeBackExactly)
{
    for (const QByteArray id :
         {"0", "-1", "9007199254740993", "-9223372036854775808", "0.1", "1e+300", "null", R"("")", R"("\"1")"}) {
        const JsonRpc::Request request = requestFrom(R"({"jsonrpc":"2.0","method":"x","id":)" + id + '}');
        ASSERT_TRUE(request.id.has_value());
        EXPECT_EQ(JsonRpc::result(*request.id, "1").text(), R"({"jsonrpc":"2.0","id":)" + id + R"(,"result":1})");
    }
}

TEST(JsonRpc, AnswersShareTheMemoryOfTheirResult)
{
    const QByteArray json(1000, '1');
    const Message first = JsonRpc::result(1, json);
    const Message second = JsonRpc::result(2, json);
    EXPECT_EQ(first.body.constData(), json.constData());
    EXPECT_EQ(second.body.constData(), json.constData());
    EXPECT_EQ(second.text("\n"), R"({"jsonrpc":"2.0","id":2,"result":)" + json + "}\n");
}

} // namespace
