#include "remote/httppost.h"
#include "remote/rpcclient.h"

#include "printers.h"
#include "support/scriptedserver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

ServerAddress addressOf(const ScriptedServer& server)
{
    return ServerAddress::fromUrl(server.url()).value();
}

/// The result of a call to a server that gives this response.
Result<QVariant> callAnsweredBy(const QByteArray& response, const QByteArray& token = {})
{
    const ScriptedServer server([&](const QByteArray&) { return response; });
    return RpcClient(addressOf(server), token).call(QStringLiteral("describe"));
}

Result<QVariant> callAnsweredWithStatus(const QByteArray& status, const QByteArray& token = {})
{
    return callAnsweredBy(httpResponse("<html>", status), token);
}

std::string messageOf(const Result<QVariant>& result)
{
    EXPECT_FALSE(result);
    return result ? std::string() : result.failure().message.toString().toStdString();
}

/// What a server below the folder receives from the call.
std::string requestOf(const QByteArray& folder, const QByteArray& token)
{
    QByteArray request;
    QByteArray host;
    {
        const ScriptedServer server([&](const QByteArray& received) {
            request = received;
            return httpResponse(R"({"jsonrpc":"2.0","id":1,"result":true})");
        });
        ServerAddress address = addressOf(server);
        address.folder = folder;
        const QVariantHash parameters{{QStringLiteral("path"), QStringLiteral("/a")}};
        const Result<QVariant> result = RpcClient(address, token).call(QStringLiteral("set"), parameters);
        EXPECT_TRUE(result && result.value() == QVariant(true));
        host = address.hostField();
    }
    EXPECT_TRUE(request.contains("\r\nHost: " + host + "\r\n"));
    return request.toStdString();
}

TEST(RpcClientTest, PostsOneRequestOfJsonRpc)
{
    EXPECT_THAT(
        requestOf({}, {}),
        AllOf(
            StartsWith("POST /rpc HTTP/1.1\r\n"), HasSubstr("\r\nContent-Type: application/json\r\n"),
            Not(HasSubstr("Authorization")),
            EndsWith("\r\n\r\n{\"id\":1,\"jsonrpc\":\"2.0\",\"method\":\"set\",\"params\":{\"path\":\"/a\"}}")));
}

TEST(RpcClientTest, PresentsTheTokenBelowTheFolder)
{
    EXPECT_THAT(
        requestOf("/music", "correct horse battery"),
        AllOf(StartsWith("POST /music/rpc "), HasSubstr("\r\nAuthorization: Bearer correct horse battery\r\n")));
}

TEST(RpcClientTest, WhatTheServerRefusesIsAFailureOfItsWords)
{
    const Result<QVariant> result =
        callAnsweredBy(httpResponse(R"({"jsonrpc":"2.0","id":1,"error":{"code":-32000,"message":"No such item",)"
                                    R"("data":{"name":"noSuchItem","title":"Error","message":"No such item"}}})"));
    EXPECT_EQ(messageOf(result), "No such item");
    EXPECT_EQ(result.failure().kind, Failure::Kind::Refused);
    EXPECT_EQ(result.failure().name, QStringLiteral("noSuchItem"));
    EXPECT_EQ(result.failure().title.toString(), QStringLiteral("Error"));
}

TEST(RpcClientTest, StatusesOfTheServerAreExplained)
{
    EXPECT_THAT(messageOf(callAnsweredWithStatus("401 Unauthorized")), HasSubstr("needs a token"));
    EXPECT_THAT(
        messageOf(callAnsweredWithStatus("401 Unauthorized", "correct horse battery")), HasSubstr("does not accept"));
    EXPECT_THAT(messageOf(callAnsweredWithStatus("404 Not Found")), HasSubstr("no tavo server"));
    EXPECT_THAT(messageOf(callAnsweredWithStatus("421 Misdirected Request")), HasSubstr("--host"));
    EXPECT_THAT(messageOf(callAnsweredWithStatus("429 Too Many Requests")), HasSubstr("wrong tokens"));
    EXPECT_THAT(messageOf(callAnsweredWithStatus("502 Bad Gateway")), HasSubstr("502 Bad Gateway"));
}

TEST(RpcClientTest, AnswersThatAreNoJsonRpcAreFailures)
{
    for (const char* body : {"", "<html>", "1", "[]", "{}", "{\"result\":", R"({"result":1,"result":2})"})
        EXPECT_THAT(messageOf(callAnsweredBy(httpResponse(body))), HasSubstr("no tavo server")) << body;
}

TEST(RpcClientTest, BrokenResponsesAreFailures)
{
    const QByteArray cases[] = {
        "", "SSH-2.0-x\r\n", "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{",
        "HTTP/1.1 200 OK\r\nContent-Length: 99999999999\r\n\r\n", "HTTP/1.1 200 OK\r\nX: " + QByteArray(100'000, 'x')};
    for (const QByteArray& response : cases) {
        const Result<QVariant> result = callAnsweredBy(response);
        EXPECT_THAT(messageOf(result), HasSubstr("gives no answer")) << response.left(80).toStdString();
        EXPECT_EQ(result.failure().kind, Failure::Kind::Unanswered);
    }
}

TEST(RpcClientTest, ServerThatIsNotThereIsNamed)
{
    ServerAddress gone;
    {
        const ScriptedServer server([](const QByteArray&) { return QByteArray(); });
        gone = addressOf(server);
    }
    const Result<QVariant> result = RpcClient(gone, {}).call(QStringLiteral("describe"));
    EXPECT_THAT(
        messageOf(result),
        AllOf(HasSubstr("no server answers at " + gone.toUrl().toStdString()), HasSubstr("tavo serve")));
}

TEST(HttpPostTest, WaitsNoLongerThanItsPatience)
{
    std::promise<void> end;
    const ScriptedServer server([&](const QByteArray&) {
        end.get_future().wait();
        return QByteArray();
    });
    const HttpPost post{addressOf(server), "/rpc", {}, "{}"};
    const Result<HttpPost::Reply> reply = post.send(std::chrono::milliseconds(50));
    end.set_value();
    ASSERT_FALSE(reply);
    EXPECT_THAT(reply.failure().message.toString().toStdString(), HasSubstr("timed out"));
}

} // namespace
