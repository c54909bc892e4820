// How "tavo serve" starts, ends, and what it serves. All through sockets of the tests' own.

#include "support/pipe.h"
#include "support/rpcrequest.h"
#include "support/serving.h"
#include "support/sessionclient.h"
#include "support/webclient.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using testing::Each;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr qint64 longestEnd = 2000;

QJsonObject parsed(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

/// Receives what a program reports to its service manager.
class ServiceManagerSocket
{
public:
    explicit ServiceManagerSocket(QString name) : m_name(std::move(name))
    {
        const QByteArray path = QFile::encodeName(m_name);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.constData(), sizeof(address.sun_path) - 1);
        EXPECT_EQ(bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    }
    ~ServiceManagerSocket() { close(m_socket); }
    Q_DISABLE_COPY_MOVE(ServiceManagerSocket)

    [[nodiscard]] const QString& name() const { return m_name; }
    [[nodiscard]] std::string receive() const
    {
        std::array<char, 64> state{};
        const ssize_t size = recv(m_socket, state.data(), state.size(), 0);
        return {state.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }

private:
    QString m_name;
    int m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

class Serve : public testing::Test
{
protected:
    Serve() { serving.tree.addFile(serving.served(QStringLiteral("a/song.mp3")), "0123456789"); }

    /// Milliseconds until the program has ended with status 0.
    qint64 end()
    {
        QElapsedTimer timer;
        timer.start();
        serving.program().signal(SIGTERM);
        const Outcome outcome = serving.program().waitForEnd();
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        return timer.elapsed();
    }

    /// The program's status and message where it does not start.
    [[nodiscard]] Outcome failure(const QStringList& options) const { return runTavo(serving.arguments(options)); }

    Serving serving;
};

TEST_F(Serve, FirstLineNamesDirectoriesAndAddress)
{
    serving.start();
    const std::string root = serving.tree.absolute(QStringLiteral("root")).toStdString();
    EXPECT_EQ(
        serving.firstLine().toStdString(),
        "Serving " + root + " at http://127.0.0.1:" + std::to_string(serving.port()) + "/");
}

TEST_F(Serve, ListensOnSeveralAddresses)
{
    serving.start({QStringLiteral("--listen"), QStringLiteral("[::1]:0")});
    EXPECT_THAT(
        serving.firstLine().toStdString(),
        MatchesRegex("Serving .* at http://127\\.0\\.0\\.1:[0-9]+/, http://\\[::1\\]:[0-9]+/"));
    EXPECT_EQ(HttpClient(serving.port(), "::1").get("/health").status, 200);
    const quint16 first = portIn(serving.firstLine().split(',').first());
    EXPECT_EQ(HttpClient(first).get("/health").status, 200);
}

TEST_F(Serve, NamesThePortThatIsTaken)
{
    serving.start();
    const QByteArray address = "127.0.0.1:" + QByteArray::number(serving.port());
    const QString otherState = serving.tree.absolute(QStringLiteral("other"));
    const Outcome outcome =
        failure({QStringLiteral("--state"), otherState, QStringLiteral("--listen"), QString::fromLatin1(address)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(
        outcome.errors.toStdString(), "tavo: cannot listen on " + address.toStdString() + ": Address already in use\n");
    EXPECT_EQ(outcome.output, "");
}

TEST_F(Serve, RefusesAStateDirectoryThatIsInUse)
{
    serving.start();
    const Outcome outcome = failure({QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("another process uses it"));
}

TEST_F(Serve, RefusesWrongOptions)
{
    const std::vector<QStringList> wrong = {
        {QStringLiteral("--listen"), QStringLiteral("8420")},
        {QStringLiteral("--listen"), QStringLiteral("127.0.0.1:70000")},
        {QStringLiteral("--listen"), QStringLiteral("::1:8420")},
        {QStringLiteral("--listen"), QStringLiteral("example.org:8420")},
        {QStringLiteral("--listen"), QStringLiteral("0.0.0.0:0")},
        {QStringLiteral("--host"), QStringLiteral("a/b")},
        {QStringLiteral("--origin"), QStringLiteral("example.org")}};
    for (const QStringList& options : wrong) {
        const Outcome outcome = failure(options);
        EXPECT_EQ(outcome.status, 2) << options.join(u' ').toStdString();
        EXPECT_EQ(linesOf(outcome.errors).size(), 1) << outcome.errors.toStdString();
    }
}

TEST_F(Serve, TakesTheSocketsThatItIsPassed)
{
    const int listening = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(listening, 8), 0);
    socklen_t size = sizeof(address);
    ASSERT_EQ(getsockname(listening, reinterpret_cast<sockaddr*>(&address), &size), 0);
    serving.program().setPassedSocket(listening);
    serving.program().start(serving.arguments());
    close(listening);
    const quint16 port = portIn(serving.program().readLine());
    EXPECT_EQ(port, ntohs(address.sin_port));
    EXPECT_EQ(HttpClient(port).get("/health").status, 200);
}

TEST_F(Serve, TellsTheServiceManagerWhenItIsReadyAndWhenItEnds)
{
    const ServiceManagerSocket manager(serving.tree.absolute(QStringLiteral("notify")));
    serving.program().setVariable(QStringLiteral("NOTIFY_SOCKET"), manager.name());
    serving.start();
    EXPECT_EQ(manager.receive(), "READY=1");
    serving.program().signal(SIGTERM);
    EXPECT_EQ(manager.receive(), "STOPPING=1");
}

TEST_F(Serve, ReportsToTheServiceManagerThatItAnswers)
{
    const ServiceManagerSocket manager(serving.tree.absolute(QStringLiteral("notify")));
    serving.program().setVariable(QStringLiteral("NOTIFY_SOCKET"), manager.name());
    serving.program().setVariable(QStringLiteral("WATCHDOG_USEC"), QStringLiteral("100000"));
    serving.start();
    EXPECT_EQ(manager.receive(), "READY=1");
    EXPECT_EQ(manager.receive(), "WATCHDOG=1");
    EXPECT_EQ(manager.receive(), "WATCHDOG=1");
}

TEST(ServeWithoutRoots, ServesTheQueue)
{
    const TemporaryTree tree;
    Tavo program(
        {QStringLiteral("--config"), QStringLiteral("/dev/null"), QStringLiteral("serve"), QStringLiteral("--listen"),
         QStringLiteral("127.0.0.1:0"), QStringLiteral("--state"), tree.absolute(QStringLiteral("state"))});
    const QByteArray firstLine = program.readLine();
    EXPECT_THAT(firstLine.toStdString(), StartsWith("Serving no directory yet at http://127.0.0.1:"));
    EXPECT_EQ(HttpClient(portIn(firstLine)).get("/health").status, 200);
}

TEST_F(Serve, StartsWithoutARootThatIsThere)
{
    serving.tree.remove(QStringLiteral("root"));
    serving.start();
    EXPECT_EQ(HttpClient(serving.port()).get("/health").status, 200);
}

TEST_F(Serve, EndsAtOnceWhileClientsAreConnected)
{
    serving.tree.addFile(serving.served(QStringLiteral("long.mp3")), QByteArray(64 << 20, 'x'));
    serving.start();
    std::vector<std::unique_ptr<WebClient>> clients;
    for (int i = 0; i < 50; ++i) {
        clients.push_back(std::make_unique<WebClient>(serving.port()));
        ASSERT_EQ(errorCode(clients.back()->call("open", pathParameter("/file/a"))), 0);
    }
    HttpClient download(serving.port());
    download.send(requestText("GET", "/media/file/long.mp3"));
    ASSERT_EQ(download.connection().receive(1000).size(), 1000);
    RawConnection idle(serving.port());
    RawConnection halfWay(serving.port());
    halfWay.send("GET / HTT");

    EXPECT_LT(end(), longestEnd);
    constexpr int goingAway = 1001;
    for (const auto& client : clients)
        EXPECT_EQ(client->closeCode(), goingAway);
}

TEST_F(Serve, ServesThePage)
{
    serving.start();
    HttpClient client(serving.port());
    const HttpResponse page = client.get("/");
    EXPECT_EQ(page.status, 200);
    EXPECT_EQ(page.field("Content-Type"), "text/html; charset=utf-8");
    EXPECT_THAT(page.body.toStdString(), StartsWith("<!doctype html>"));
    EXPECT_EQ(client.get("/", {"If-None-Match: " + page.field("ETag")}).status, 304);
    EXPECT_EQ(client.head("/").field("Content-Length"), page.field("Content-Length"));
    EXPECT_EQ(client.get("/app/none.js").status, 404);
}

TEST_F(Serve, SaysThatItIsHealthyAndWhatItHasDone)
{
    serving.start();
    HttpClient client(serving.port());
    EXPECT_EQ(parsed(client.get("/health").body), parsed(R"({"status":"ok","token":false})"));
    EXPECT_THAT(
        client.get("/metrics").body.toStdString(), HasSubstr("tavo_requests_total{method=\"GET\",status=\"2xx\"} 1\n"));
}

TEST_F(Serve, AnswersAPostedMessage)
{
    serving.start();
    HttpClient client(serving.port());
    const HttpResponse response = client.rpc(rpcRequest(7, "rows", pathParameter("/file/a")));
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.field("Content-Type"), "application/json");
    const QJsonObject answer = parsed(response.body);
    EXPECT_EQ(answer.value(QLatin1String("id")).toInt(), 7);
    EXPECT_EQ(answer.value(QLatin1String("result")).toObject().value(QLatin1String("count")).toInt(), 1);
    EXPECT_FALSE(response.body.contains("file://"));
}

TEST_F(Serve, AnswersAPostedMessageWithoutIdByNothing)
{
    serving.start();
    HttpClient client(serving.port());
    EXPECT_EQ(client.rpc(R"({"jsonrpc":"2.0","method":"describe"})").status, 204);
    EXPECT_EQ(client.rpc(R"({"jsonrpc":"2.0","method":"none"})").status, 204);
}

TEST_F(Serve, AnswersPostedNonsenseByAnError)
{
    serving.start();
    HttpClient client(serving.port());
    EXPECT_EQ(errorCode(parsed(client.rpc("nonsense").body)), -32700);
    EXPECT_EQ(errorCode(parsed(client.rpc(QByteArray(100'000, '[')).body)), -32700);
    EXPECT_EQ(errorCode(parsed(client.rpc(rpcRequest(1, "open", pathParameter("/file/a"))).body)), -32601);
    EXPECT_EQ(errorCode(parsed(client.rpc(rpcRequest(1, "close", pathParameter("/file/a"))).body)), -32601);
}

TEST_F(Serve, TakesPostedMessagesOnlyAsJson)
{
    serving.start();
    HttpClient client(serving.port());
    const QByteArray message = rpcRequest(1, "describe");
    EXPECT_EQ(client.post("/rpc", message, {"Content-Type: text/plain"}).status, 415);
    EXPECT_EQ(client.post("/rpc", message, {}).status, 415);
    EXPECT_EQ(client.post("/rpc", message, {"Content-Type: application/json; charset=utf-8"}).status, 200);
    EXPECT_EQ(client.get("/rpc").status, 405);
}

TEST_F(Serve, GoesOnWithABodyThatWaitsForIt)
{
    serving.start();
    HttpClient client(serving.port());
    const QByteArray message = rpcRequest(1, "describe");
    client.send(requestText(
        "POST", "/rpc",
        {"Content-Type: application/json", "Expect: 100-continue",
         "Content-Length: " + QByteArray::number(message.size())}));
    EXPECT_EQ(client.receive().status, 100);
    client.send(message);
    EXPECT_EQ(client.receive().status, 200);
}

TEST_F(Serve, LogsEachAccessOnALine)
{
    serving.program().start(
        QStringList{QStringLiteral("--log-level"), QStringLiteral("INFO")} +
        serving.arguments({QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0")}));
    const quint16 port = portIn(serving.program().readLine());
    EXPECT_EQ(HttpClient(port).get("/media/file/a/song.mp3?secret").status, 200);
    EXPECT_THAT(
        serving.program().readErrorLine().toStdString(),
        MatchesRegex(".* INFO tavo\\.http: GET /media/file/a/song\\.mp3 200 10 [0-9]+ms 127\\.0\\.0\\.1"));
}

TEST_F(Serve, GoesOnAndEndsWhileNobodyReadsItsLog)
{
    const Pipe log;
    log.fill();
    serving.program().setStandardErrorFile(log.writingFileName());
    serving.program().start(
        QStringList{QStringLiteral("--log-level"), QStringLiteral("INFO")} +
        serving.arguments({QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0")}));
    HttpClient client(portIn(serving.program().readLine()));
    // More than may wait.
    constexpr int requests = 1200;
    for (int i = 0; i < requests; ++i)
        ASSERT_EQ(client.get("/health").status, 200);
    EXPECT_LT(end(), longestEnd);
}

} // namespace
