// A root's file system stops answering: the other roots are served, and the program ends when it is asked to.

#include "support/deadmount.h"
#include "support/rpcrequest.h"
#include "support/serving.h"
#include "support/sessionclient.h"
#include "support/temporarytree.h"
#include "support/webclient.h"

#include "eventloop.h"
#include "printers.h"

#include <QFile>
#include <QJsonArray>

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

namespace {

class DeadRoot : public testing::Test
{
protected:
    DeadRoot()
    {
        tree.addFile(QStringLiteral("good/a/1.mp3"));
        tree.addFile(QStringLiteral("bad/b/2.mp3"));
    }

    [[nodiscard]] QStringList options(const char* sweep) const
    {
        return {QStringLiteral("--root"),  QStringLiteral("good=") + tree.absolute(QStringLiteral("good")),
                QStringLiteral("--root"),  QStringLiteral("bad=") + tree.absolute(QStringLiteral("bad")),
                QStringLiteral("--sweep"), QString::fromUtf8(sweep)};
    }

    void prepare(Tavo& program) const { program.setDeadMount(tree.absolute(QStringLiteral("bad"))); }

    void kill() { kill(QStringLiteral("bad")); }
    void kill(const QString& mount) { tree.addFile(mount + QLatin1String(DeadMount::dead)); }

    /// Waits until the program looks at the dead mount.
    [[nodiscard]] bool isLookedAt() const
    {
        const QString mark = tree.absolute(QStringLiteral("bad") + QLatin1String(DeadMount::hangs));
        return processEventsUntil([&mark] { return QFile::exists(mark); });
    }

    TemporaryTree tree;
};

TEST_F(DeadRoot, OthersAreServed)
{
    SessionClient client;
    prepare(client.program());
    client.start(options("1"));
    const auto open = [&client](const char* path) {
        return errorCode(client.call(QStringLiteral("open"), QJsonArray{QString::fromUtf8(path)})) == 0;
    };
    ASSERT_TRUE(open("/bad/b"));
    kill();
    ASSERT_TRUE(isLookedAt());
    EXPECT_TRUE(open("/good/a"));
    tree.addFile(QStringLiteral("good/a/3.mp3"));
    EXPECT_EQ(client.nextChange().value(QLatin1String("path")).toString(), QStringLiteral("/good/a"));
    client.program().signal(SIGTERM);
    EXPECT_EQ(client.program().waitForEnd().status, 0);
}

TEST_F(DeadRoot, NothingIsOpenedThere)
{
    SessionClient client;
    prepare(client.program());
    client.start(options("0"));
    const auto errorOf = [&client](const char* path) {
        return errorCode(client.call(QStringLiteral("open"), QJsonArray{QString::fromUtf8(path)}));
    };
    ASSERT_EQ(errorOf("/bad/b"), 0);
    kill();
    EXPECT_EQ(errorOf("/bad/"), -32001);
    EXPECT_EQ(errorOf("/bad/b"), -32001);
    EXPECT_EQ(errorOf("/good/a"), 0);
}

TEST_F(DeadRoot, DirectoryThatHangsInALivingRootHoldsUpNobody)
{
    const QString mount = QStringLiteral("bad/b");
    SessionClient client;
    client.program().setDeadMount(tree.absolute(mount));
    client.start(options("0"));
    const auto errorOf = [&client](const char* path) {
        return errorCode(client.call(QStringLiteral("open"), QJsonArray{QString::fromUtf8(path)}));
    };
    kill(mount);
    EXPECT_EQ(errorOf("/bad/b"), -32001);
    EXPECT_EQ(errorOf("/good/a"), 0);
}

TEST_F(DeadRoot, IsMissingIfItIsDeadAtTheStart)
{
    kill();
    SessionClient client;
    prepare(client.program());
    client.start(options("1"));
    const QJsonObject answer = client.call(QStringLiteral("rows"), QJsonArray{QStringLiteral("/")});
    EXPECT_EQ(answer.value(QLatin1String("result")).toObject().value(QLatin1String("count")), 2);
    EXPECT_TRUE(client.program().readErrorLine().contains("does not answer"));
}

TEST_F(DeadRoot, WatchingItEndsWhenInterrupted)
{
    Tavo program;
    prepare(program);
    program.start(options("0") + QStringList{QStringLiteral("watch"), QStringLiteral("bad:b")});
    EXPECT_EQ(program.readErrorLine(), "tavo: watching 1 directory, interrupt to end");
    kill();
    // The worker looks at the directory that has changed.
    tree.addFile(QStringLiteral("bad/b/4.mp3"));
    ASSERT_TRUE(isLookedAt());
    program.signal(SIGINT);
    EXPECT_EQ(program.waitForEnd().status, 0);
}

TEST_F(DeadRoot, FilesOfOthersAreSent)
{
    const QByteArray sound(100'000, 'x');
    tree.addFile(QStringLiteral("good/a/1.mp3"), sound);
    tree.addFile(QStringLiteral("bad/b/2.mp3"), sound);
    Tavo program;
    prepare(program);
    program.start(
        options("0") + QStringList{
                           QStringLiteral("serve"), QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"),
                           QStringLiteral("--state"), tree.absolute(QStringLiteral("state"))});
    const quint16 port = portIn(program.readLine());
    kill();
    // More than there are threads that read ahead.
    std::vector<HttpClient> stalled;
    for (int i = 0; i < 20; ++i) {
        HttpClient& client = stalled.emplace_back(port);
        client.send(requestText("GET", "/media/bad/b/2.mp3"));
        ASSERT_TRUE(client.connection().receiveUntil("\r\n\r\n").startsWith("HTTP/1.1 200"));
    }
    EXPECT_TRUE(HttpClient(port).get("/media/good/a/1.mp3").body == sound);
    EXPECT_TRUE(isLookedAt());
    WebClient client(port);
    client.send(WebClient::Ping, "x");
    EXPECT_EQ(client.nextFrame().opcode, WebClient::Pong);
    program.signal(SIGTERM);
    EXPECT_EQ(program.waitForEnd().status, 0);
}

} // namespace
