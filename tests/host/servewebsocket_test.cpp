// The session's protocol over a WebSocket, and frames that break its rules.

#include "support/rpcrequest.h"
#include "support/serving.h"
#include "support/sessionclient.h"
#include "support/webclient.h"

#include <QJsonArray>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

constexpr int protocolError = 1002;
constexpr int unknownData = 1003;
constexpr int invalidText = 1007;
constexpr int tooLong = 1009;

class ServeWebSocket : public testing::Test
{
protected:
    ServeWebSocket()
    {
        serving.tree.addFile(serving.served(QStringLiteral("a/song.mp3")));
        serving.start();
    }

    /// The status of the answer to a request for a WebSocket.
    [[nodiscard]] int status(const std::vector<QByteArray>& fields) const
    {
        return HttpClient(serving.port()).get("/session", fields).status;
    }

    Serving serving;
};

TEST_F(ServeWebSocket, Describes)
{
    WebClient client(serving.port());
    ASSERT_EQ(client.response().status, 101);
    EXPECT_EQ(client.response().field("Server"), "tavo");
    const QJsonObject result = client.call("describe").value(QLatin1String("result")).toObject();
    EXPECT_EQ(result.value(QLatin1String("protocol")).toInt(), 1);
    EXPECT_EQ(result.value(QLatin1String("roots")).toArray().size(), 2);
}

TEST_F(ServeWebSocket, NotifiesOfChanges)
{
    WebClient client(serving.port());
    ASSERT_EQ(errorCode(client.call("open", pathParameter("/file/a"))), 0);
    serving.tree.addFile(serving.served(QStringLiteral("a/new.mp3")));
    EXPECT_EQ(client.nextChange().value(QLatin1String("path")).toString(), QStringLiteral("/file/a"));
}

TEST_F(ServeWebSocket, CountsOpenPathsAndNotifications)
{
    const auto metrics = [this] { return HttpClient(serving.port()).get("/metrics").body.toStdString(); };
    WebClient client(serving.port());
    ASSERT_EQ(errorCode(client.call("open", pathParameter("/file/a"))), 0);
    EXPECT_THAT(metrics(), testing::HasSubstr("tavo_open_paths 1\n"));
    EXPECT_THAT(metrics(), testing::HasSubstr("tavo_changes_total 0\n"));
    serving.tree.rename(serving.served(QStringLiteral("a")), QStringLiteral("gone"));
    int notifications = 1;
    while (!client.nextChange().value(QLatin1String("changes")).toArray().contains(QStringLiteral("close")))
        ++notifications;
    EXPECT_THAT(metrics(), testing::HasSubstr("tavo_open_paths 0\n"));
    EXPECT_THAT(metrics(), testing::HasSubstr("tavo_changes_total " + std::to_string(notifications) + '\n'));
}

TEST_F(ServeWebSocket, CountsWatches)
{
    const auto metrics = [this] { return HttpClient(serving.port()).get("/metrics").body.toStdString(); };
    WebClient client(serving.port());
    EXPECT_THAT(metrics(), testing::HasSubstr("tavo_watches 0\n"));
    ASSERT_EQ(errorCode(client.call("open", pathParameter("/file/a"))), 0);
    ASSERT_GT(serving.program().watches(), 0);
    EXPECT_THAT(metrics(), testing::HasSubstr("tavo_watches " + std::to_string(serving.program().watches()) + '\n'));
}

TEST_F(ServeWebSocket, CountsErrors)
{
    const auto metrics = [this] { return HttpClient(serving.port()).get("/metrics").body.toStdString(); };
    WebClient client(serving.port());
    static_cast<void>(client.call("rows", pathParameter("/file/a")));
    EXPECT_THAT(metrics(), testing::HasSubstr("tavo_errors_total 0\n"));
    EXPECT_NE(errorCode(client.call("rows", pathParameter("/file/none"))), 0);
    EXPECT_NE(errorCode(client.call("unknown")), 0);
    EXPECT_EQ(HttpClient(serving.port()).rpc(rpcRequest(1, "unknown")).status, 200);
    EXPECT_THAT(metrics(), testing::HasSubstr("tavo_errors_total 3\n"));
}

TEST_F(ServeWebSocket, NotifiesEveryClientOfAChange)
{
    std::vector<std::unique_ptr<WebClient>> clients;
    for (int i = 0; i < 20; ++i) {
        clients.push_back(std::make_unique<WebClient>(serving.port()));
        ASSERT_EQ(errorCode(clients.back()->call("open", pathParameter("/file/a"))), 0);
    }
    serving.tree.addFile(serving.served(QStringLiteral("a/new.mp3")));
    for (const auto& client : clients)
        EXPECT_EQ(client->nextChange().value(QLatin1String("path")).toString(), QStringLiteral("/file/a"));
}

TEST_F(ServeWebSocket, AnswersManyRequestsOnTheirWay)
{
    WebClient client(serving.port());
    constexpr int count = 500;
    for (int i = 0; i < count; ++i)
        client.request("rows", pathParameter("/file/a"));
    for (int id = count; id > 0; --id)
        EXPECT_EQ(errorCode(client.answerTo(id)), 0);
}

TEST_F(ServeWebSocket, TakesALongMessage)
{
    WebClient client(serving.port());
    const QByteArray message = rpcRequest(1, "describe");
    client.send(WebClient::Text, message + QByteArray((1 << 20) - message.size(), ' '));
    EXPECT_EQ(errorCode(client.answerTo(1)), 0);
    EXPECT_EQ(errorCode(client.call("describe")), 0);
}

TEST_F(ServeWebSocket, TakesAMessageInFragments)
{
    WebClient client(serving.port());
    const QByteArray message = rpcRequest(1, "describe");
    client.send(WebClient::Text, message.left(10), false);
    client.send(WebClient::Ping, "between");
    client.send(WebClient::Continuation, message.mid(10));
    EXPECT_EQ(client.nextFrame().payload, "between");
    EXPECT_EQ(errorCode(client.answerTo(1)), 0);
}

TEST_F(ServeWebSocket, AnswersAClose)
{
    WebClient client(serving.port());
    client.send(WebClient::Close, "\x03\xe8");
    EXPECT_EQ(client.closeCode(), 1000);
    EXPECT_TRUE(client.connection().isClosedByPeer());
}

TEST_F(ServeWebSocket, RefusesAnythingButAnOpening)
{
    const QByteArray version = "Sec-WebSocket-Version: 13";
    const QByteArray key = "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==";
    const QByteArray connection = "Connection: Upgrade";
    const QByteArray upgrade = "Upgrade: websocket";
    EXPECT_EQ(status({}), 426);
    EXPECT_EQ(status({upgrade, version, key}), 426);
    EXPECT_EQ(status({connection, version, key}), 426);
    EXPECT_EQ(status({connection, upgrade, key}), 426);
    EXPECT_EQ(status({connection, upgrade, key, "Sec-WebSocket-Version: 8"}), 426);
    EXPECT_EQ(status({connection, upgrade, version}), 400);
    EXPECT_EQ(status({connection, upgrade, version, "Sec-WebSocket-Key: short"}), 400);
    EXPECT_EQ(status({connection, upgrade, version, key, key}), 400);
    EXPECT_EQ(status({connection, upgrade, version, key, "Content-Length: 1"}), 400);
}

TEST_F(ServeWebSocket, RefusesForeignOrigins)
{
    EXPECT_EQ(WebClient(serving.port(), {"Origin: http://example.org"}).response().status, 403);
    EXPECT_EQ(WebClient(serving.port(), {"Origin: null"}).response().status, 403);
    EXPECT_EQ(WebClient(serving.port(), {"Origin: http://localhost"}).response().status, 101);
    EXPECT_EQ(WebClient(serving.port()).response().status, 101);
}

TEST_F(ServeWebSocket, RefusesFramesBeforeTheAnswer)
{
    HttpClient client(serving.port());
    client.send(
        requestText(
            "GET", "/session",
            {"Connection: Upgrade", "Upgrade: websocket", "Sec-WebSocket-Version: 13",
             "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ=="}) +
        "\x81\x80");
    EXPECT_EQ(client.receive().status, 400);
}

TEST_F(ServeWebSocket, ClosesAfterAnUnmaskedFrame)
{
    WebClient client(serving.port());
    client.connection().send(QByteArray("\x81\x02{}", 4));
    EXPECT_EQ(client.closeCode(), protocolError);
}

TEST_F(ServeWebSocket, ClosesAfterInvalidUtf8)
{
    WebClient client(serving.port());
    client.send(WebClient::Text, "\"\xff\"");
    EXPECT_EQ(client.closeCode(), invalidText);
}

TEST_F(ServeWebSocket, ClosesAfterABinaryMessage)
{
    WebClient client(serving.port());
    client.send(WebClient::Binary, "{}");
    EXPECT_EQ(client.closeCode(), unknownData);
}

TEST_F(ServeWebSocket, ClosesAfterAMessageThatIsTooLong)
{
    WebClient client(serving.port());
    client.send(WebClient::Text, QByteArray((1 << 20) + 1, ' '));
    EXPECT_EQ(client.closeCode(), tooLong);
}

TEST_F(ServeWebSocket, ClosesAfterFragmentsThatAreTooLongTogether)
{
    WebClient client(serving.port());
    client.send(WebClient::Text, QByteArray(1000, ' '), false);
    for (int i = 0; i < 1050; ++i)
        client.send(WebClient::Continuation, QByteArray(1000, ' '), false);
    EXPECT_EQ(client.closeCode(), tooLong);
}

TEST_F(ServeWebSocket, PausesAClientThatDoesNotRead)
{
    for (int i = 0; i < 2000; ++i)
        serving.tree.addFile(serving.served(QStringLiteral("a/%1.mp3").arg(i)));
    const int before = serving.program().memory("VmRSS");
    WebClient greedy(serving.port());
    WebClient other(serving.port());
    for (int i = 0; i < 2000; ++i)
        greedy.request("rows", pathParameter("/file/a"));
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(errorCode(other.call("rows", pathParameter("/file/a"))), 0);
    // All answers together are several hundred megabytes; the thread sanitizer multiplies what it watches.
    constexpr int someMegabytes = 150'000;
    EXPECT_LT(serving.program().memory("VmRSS") - before, someMegabytes);
}

} // namespace
