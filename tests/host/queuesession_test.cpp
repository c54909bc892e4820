// The queue of a session over standard input and output.

#include "support/sessionclient.h"
#include "support/temporarytree.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QProcess>
#include <QProcessEnvironment>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using testing::HasSubstr;

/// root/ has a.mp3 and b.mp3.
class QueueSession : public testing::Test
{
protected:
    QueueSession()
    {
        tree.addFile(QStringLiteral("root/a.mp3"));
        tree.addFile(QStringLiteral("root/b.mp3"));
    }

    [[nodiscard]] QStringList root() const { return {QStringLiteral("--root"), tree.absolute(QStringLiteral("root"))}; }
    [[nodiscard]] QStringList state() const
    {
        return {QStringLiteral("--state"), tree.absolute(QStringLiteral("state"))};
    }

    [[nodiscard]] static QJsonValue set(SessionClient& client, const char* path, const QJsonValue& value)
    {
        const QJsonObject parameters{
            {QStringLiteral("path"), QString::fromUtf8(path)}, {QStringLiteral("value"), value}};
        return client.call(QStringLiteral("set"), parameters).value(QLatin1String("result"));
    }

    /// Of the queue.
    [[nodiscard]] static int rowsCount(SessionClient& client)
    {
        const QJsonObject parameters{{QStringLiteral("path"), QStringLiteral("/playlist/")}};
        const QJsonObject answer = client.call(QStringLiteral("rows"), parameters);
        return answer[QStringLiteral("result")][QStringLiteral("count")].toInt(-1);
    }

    TemporaryTree tree;
};

TEST_F(QueueSession, AddsShowsAndPlays)
{
    SessionClient client(root());
    EXPECT_EQ(set(client, "/playlist/addToQueue", QStringLiteral("/file/"))[QStringLiteral("added")].toInt(), 2);
    EXPECT_EQ(rowsCount(client), 2);
    const QJsonObject output{{QStringLiteral("path"), QStringLiteral("/playlist/outputs/here")}};
    EXPECT_EQ(errorCode(client.call(QStringLiteral("open"), output)), 0);
    EXPECT_GT(set(client, "/playlist/player/output", QStringLiteral("here"))[QStringLiteral("serial")].toInt(), 0);
    EXPECT_GT(set(client, "/playlist/player/play", 2)[QStringLiteral("serial")].toInt(), 0);
    EXPECT_EQ(client.program().finish().status, 0);
}

TEST_F(QueueSession, KeepsTheQueueInItsStateDirectory)
{
    for (int count : {2, 4}) {
        SessionClient client;
        client.start(root(), state());
        static_cast<void>(set(client, "/playlist/addToQueue", QStringLiteral("/file/")));
        EXPECT_EQ(rowsCount(client), count);
        EXPECT_EQ(client.program().finish().status, 0);
    }
}

TEST_F(QueueSession, KeepsNothingWithoutAStateDirectory)
{
    for (int i = 0; i < 2; ++i) {
        SessionClient client(root());
        static_cast<void>(set(client, "/playlist/addToQueue", QStringLiteral("/file/")));
        EXPECT_EQ(rowsCount(client), 2);
        EXPECT_EQ(client.program().finish().status, 0);
    }
}

TEST_F(QueueSession, HasNoQueueWithoutItsModule)
{
    // The program looks for the module, and for the libraries, beside itself.
    const QString program = tree.absolute(QStringLiteral("tavo"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(TAVO_PROGRAM), program));
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QString libraries = QFileInfo(QStringLiteral(TAVO_MODULE)).path() + QStringLiteral("/..");
    environment.insert(QStringLiteral("LD_LIBRARY_PATH"), libraries);
    process.setProcessEnvironment(environment);
    process.start(
        program,
        root() + QStringList{QStringLiteral("--module"), QStringLiteral(TAVO_MODULE), QStringLiteral("session")});
    process.write(R"({"jsonrpc":"2.0","id":1,"method":"rows","params":{"path":"/"}})"
                  "\n");
    process.closeWriteChannel();
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_THAT(process.readAllStandardOutput().toStdString(), HasSubstr("\"count\":1"));
    EXPECT_EQ(process.readAllStandardError().toStdString(), "");
}

TEST_F(QueueSession, ShareNoStateDirectory)
{
    SessionClient first;
    first.start(root(), state());
    EXPECT_EQ(rowsCount(first), 0);
    const Outcome second = runTavo(root() + QStringList{QStringLiteral("session")} + state());
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.errors.toStdString(), HasSubstr("another process uses it"));
}

TEST_F(QueueSession, ShowsTheFilesToALocalClient)
{
    SessionClient client(root());
    static_cast<void>(set(client, "/playlist/addToQueue", QStringLiteral("/file/a.mp3")));
    const QJsonObject parameters{
        {QStringLiteral("path"), QStringLiteral("/playlist/queue/1")},
        {QStringLiteral("roles"), QJsonArray{QStringLiteral("mediaData")}}};
    const QJsonObject answer = client.call(QStringLiteral("data"), parameters);
    const QJsonValue media = answer[QStringLiteral("result")][0];
    EXPECT_THAT(
        media[QStringLiteral("resources")][0][QStringLiteral("uri")].toString().toStdString(), HasSubstr("file:///"));
}

} // namespace
