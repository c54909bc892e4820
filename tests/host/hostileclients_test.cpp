// Clients that try to pass for others, or to exhaust the server.

#include "support/rpcrequest.h"
#include "support/sessionclient.h"
#include "support/stillserving.h"

#include <QJsonArray>

#include <sys/resource.h>

namespace {

class HostileClients : public StillServing
{
protected:
    HostileClients()
    {
        serving.tree.addFile(serving.served(QStringLiteral("a/song.mp3")), "sound");
        start();
    }

    [[nodiscard]] HttpResponse rpc(const std::vector<QByteArray>& fields) const
    {
        std::vector<QByteArray> all = {"Content-Type: application/json"};
        all.insert(all.end(), fields.cbegin(), fields.cend());
        return HttpClient(serving.port()).post("/rpc", rpcRequest(1, "describe"), all);
    }

    /// The status of a request for a WebSocket.
    [[nodiscard]] int opening(const std::vector<QByteArray>& fields) const
    {
        return WebClient(serving.port(), fields).response().status;
    }
};

TEST_F(HostileClients, AreRefusedUnderForeignNames)
{
    for (const QByteArray host :
         {"evil.tld",
          "127.0.0.1.evil.tld",
          "localhost.evil.tld",
          "[::1].evil.tld",
          "localhost@evil.tld",
          "evil.tld@localhost",
          "localhos",
          "ocalhost",
          "127.0.0.",
          "127.0.0.2",
          "0.0.0.0",
          "2130706433",
          "0x7f.1",
          "localhost:80.evil.tld",
          "localhost evil.tld",
          "localhost, evil.tld",
          "localhost/",
          "",
          ":",
          "."})
        EXPECT_EQ(get("/health", {"Host: " + host}).status, 421) << host.toStdString();
    EXPECT_EQ(rpc({"Host: 127.0.0.1.evil.tld"}).status, 421);
    EXPECT_EQ(opening({"Host: 127.0.0.1.evil.tld"}), 421);
}

TEST_F(HostileClients, AreRefusedOnPagesOfOtherOrigins)
{
    for (const QByteArray origin :
         {"http://evil.tld", "https://localhost", "http://localhost.evil.tld", "http://localhost:1", "http://127.0.0.1",
          "http://evil.tld@localhost", "http://localhost/", "http://localhost, http://evil.tld", "localhost", "null",
          "file://", "chrome-extension://localhost", ""}) {
        EXPECT_EQ(opening({"Origin: " + origin}), 403) << origin.toStdString();
        EXPECT_EQ(rpc({"Origin: " + origin}).status, 403) << origin.toStdString();
    }
    EXPECT_EQ(opening({"Origin: http://localhost", "Origin: http://evil.tld"}), 403);
    EXPECT_EQ(opening({"Origin: http://evil.tld", "Origin: http://localhost"}), 403);
}

TEST_F(HostileClients, CannotClaimAnotherNameByForwardedFields)
{
    const std::vector<QByteArray> forwarded = {
        "X-Forwarded-Host: localhost", "X-Forwarded-For: 127.0.0.1", "X-Real-IP: 127.0.0.1", "X-Original-URL: /health",
        "Forwarded: for=127.0.0.1;host=localhost;proto=http"};
    std::vector<QByteArray> foreign = forwarded;
    foreign.emplace_back("Host: evil.tld");
    EXPECT_EQ(get("/health", foreign).status, 421);
    EXPECT_EQ(get("/none", forwarded).status, 404);
    EXPECT_EQ(get("/health", {"X-Forwarded-Host: evil.tld", "X-Forwarded-Prefix: /evil"}).status, 200);
    EXPECT_EQ(get("/media/file/none.mp3", {"X-HTTP-Method-Override: POST"}).status, 404);
}

TEST_F(HostileClients, ChangeNothingByGet)
{
    HttpClient client(serving.port());
    for (const QByteArray target : {"/rpc", "/rpc?method=set", "/login", "/login?token=x", "/logout"}) {
        EXPECT_EQ(client.get(target).status, 405) << target.toStdString();
        EXPECT_EQ(client.head(target).status, 405) << target.toStdString();
    }
}

void allowManyDescriptors()
{
    rlimit limits = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limits), 0);
    limits.rlim_cur = limits.rlim_max;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limits), 0);
}

TEST_F(HostileClients, AreTurnedAwayWhenTheyAreTooMany)
{
    ASSERT_NO_FATAL_FAILURE(allowManyDescriptors());
    constexpr int attempts = 2000;
    std::vector<HttpClient> clients;
    clients.reserve(attempts);
    for (int i = 0; i < attempts; ++i)
        clients.emplace_back(serving.port());
    int served = 0;
    for (HttpClient& client : clients)
        served += client.get("/health").status == 200 ? 1 : 0;
    // One place is taken already.
    EXPECT_EQ(served, 1023);
    EXPECT_EQ(clients.front().get("/health").status, 200);
}

TEST_F(HostileClients, GetAllAnswersToAFloodOfRequests)
{
    constexpr int requests = 2000;
    HttpClient client(serving.port());
    client.send(requestText("GET", "/health").repeated(requests));
    for (int i = 0; i < requests; ++i)
        ASSERT_EQ(client.receive().status, 200) << i;
}

class HostileWebSockets : public HostileClients
{
protected:
    HostileWebSockets() : client(serving.port()) {}

    /// Expects that the program takes not much more memory than before.
    void expectModestMemory()
    {
        constexpr int someMegabytes = 60'000;
        EXPECT_LT(memory() - m_memoryBefore, someMegabytes);
    }

    WebClient client;

private:
    const int m_memoryBefore = memory();
};

constexpr int protocolError = 1002;
constexpr int tooLong = 1009;

TEST_F(HostileWebSockets, AreClosedWhenTheyAnnounceAGibibyte)
{
    const QByteArray mask = "\x12\x34\x56\x78";
    client.connection().send(QByteArray("\x81\xff\0\0\0\0\x40\0\0\0", 10) + mask);
    EXPECT_EQ(client.closeCode(), tooLong);
    WebClient another(serving.port());
    another.connection().send(QByteArray("\x81\xff\xff\xff\xff\xff\xff\xff\xff\xff", 10) + mask);
    EXPECT_NE(another.closeCode(), 0);
    expectModestMemory();
}

TEST_F(HostileWebSockets, AreClosedWhenTheySendFragmentsWithoutEnd)
{
    constexpr int fragments = 1024;
    const QByteArray fragment(1 << 20, ' ');
    int taken = 0;
    while (taken < fragments && client.send(taken == 0 ? WebClient::Text : WebClient::Continuation, fragment, false))
        ++taken;
    EXPECT_LT(taken, fragments / 10);
    expectModestMemory();
}

TEST_F(HostileWebSockets, AreClosedAfterAFragmentWithoutABeginning)
{
    client.send(WebClient::Continuation, "x");
    EXPECT_EQ(client.closeCode(), protocolError);
}

TEST_F(HostileWebSockets, GetAllAnswersToAFloodOfPings)
{
    constexpr int pings = 20'000;
    const QByteArray ping("\x89\x80\0\0\0\0", 6);
    client.connection().send(ping.repeated(pings));
    for (int i = 0; i < pings; ++i)
        ASSERT_EQ(client.nextFrame().opcode, WebClient::Pong) << i;
    EXPECT_EQ(errorCode(client.call("rows", pathParameter("/file/a"))), 0);
    expectModestMemory();
}

TEST_F(HostileWebSockets, GoOnAfterDeepMessages)
{
    constexpr int depth = 100'000;
    const QByteArray open(depth, '[');
    const QByteArray closed = open + QByteArray(depth, ']');
    client.send(WebClient::Text, open);
    EXPECT_EQ(errorCode(client.answerTo(0)), -32700);
    client.send(WebClient::Text, R"({"jsonrpc":"2.0","id":1,"method":"rows","params":)" + closed + '}');
    EXPECT_NE(errorCode(client.answerTo(0)), 0);
    client.send(WebClient::Text, QByteArray(R"({"a":)").repeated(depth));
    EXPECT_EQ(errorCode(client.answerTo(0)), -32700);
    EXPECT_EQ(errorCode(client.call("describe")), 0);
}

class HostileReaders : public HostileWebSockets
{
protected:
    /// Asks for more than the sockets of a client that does not read can hold. Returns the requests' ids.
    [[nodiscard]] std::vector<int> askForMuch()
    {
        for (int i = 0; i < 500; ++i)
            serving.tree.addFile(serving.served(QStringLiteral("many/%1.mp3").arg(i)));
        std::vector<int> ids(100);
        for (int& id : ids)
            id = client.request("rows", pathParameter("/file/many"));
        return ids;
    }

    [[nodiscard]] static QString name(int number) { return QStringLiteral("song%1.mp3").arg(number); }
    [[nodiscard]] QString song(const QString& name) const { return serving.served(QStringLiteral("a/") + name); }

    /// Reads the directory again at every change until its only file has the name.
    [[nodiscard]] static bool comesToHold(WebClient& reader, const QString& name)
    {
        for (;;) {
            const QJsonObject answer = reader.call("rows", pathParameter("/file/a"));
            const QJsonArray rows =
                answer.value(QLatin1String("result")).toObject().value(QLatin1String("rows")).toArray();
            if (rows.size() == 1 && rows.at(0).toArray().contains(name))
                return true;
            if (reader.nextChange().isEmpty())
                return false;
        }
    }
};

TEST_F(HostileReaders, CostLittleDuringManyChanges)
{
    WebClient reader(serving.port());
    for (WebClient* each : {&client, &reader})
        ASSERT_EQ(errorCode(each->call("open", pathParameter("/file/a"))), 0);
    const std::vector<int> requests = askForMuch();
    // Each is two changes of the directory.
    constexpr int renames = 50'000;
    serving.tree.rename(song(QStringLiteral("song.mp3")), song(name(0)));
    for (int i = 0; i < renames; ++i)
        serving.tree.rename(song(name(i)), song(name(i + 1)));
    EXPECT_TRUE(comesToHold(reader, name(renames)));
    expectModestMemory();
    for (const int id : requests)
        ASSERT_TRUE(client.answerTo(id).contains(QLatin1String("result"))) << id;
    EXPECT_TRUE(comesToHold(client, name(renames)));
}

} // namespace
