// "tavo serve" with a configuration file that changes, while clients have roots open.

#include "support/serving.h"
#include "support/sessionclient.h"
#include "support/webclient.h"
#include "support/words.h"

#include "eventloop.h"
#include "printers.h"

#include <QFile>
#include <QJsonArray>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using testing::HasSubstr;

const QByteArray one = "[root.one]\npath = 'one'\n";
const QByteArray two = "[root.two]\npath = 'two'\n";

QJsonArray resultOf(const QJsonObject& answer, const char* field)
{
    return answer.value(QLatin1String("result")).toObject().value(QLatin1String(field)).toArray();
}

/// "reset /one/", without the version.
std::string textOf(const QJsonObject& change)
{
    return (change.value(QLatin1String("changes")).toArray().first().toString() + u' ' +
            change.value(QLatin1String("path")).toString())
        .toStdString();
}

/// The directories one/, two/ and abroad/, with a song each.
class ServeReload : public testing::Test
{
protected:
    ServeReload()
    {
        for (const char* directory : {"one", "two", "abroad"})
            tree.addFile(QString::fromUtf8(directory) + QStringLiteral("/song.mp3"), "sound");
    }

    void configure(const QByteArray& text) { tree.addFile(QStringLiteral("tavo.toml"), text); }

    void start(const QByteArray& configuration)
    {
        configure(configuration);
        program.start(
            QStringList{QStringLiteral("--config"), tree.absolute(QStringLiteral("tavo.toml"))} +
            words("--sweep 1 --log-level INFO serve --listen 127.0.0.1:0 --state") +
            QStringList(tree.absolute(QStringLiteral("state"))));
        firstLine = program.readLine();
        port = portIn(firstLine);
        ASSERT_NE(port, 0) << program.readErrorLine().toStdString();
        client = std::make_unique<WebClient>(port);
        ASSERT_EQ(client->response().status, 101);
    }

    void reload(const QByteArray& configuration)
    {
        configure(configuration);
        program.signal(SIGHUP);
        ASSERT_TRUE(program.reports("the configuration was read again"));
    }

    void open(const char* path) { EXPECT_EQ(errorCode(client->call("open", pathParameter(path))), 0) << path; }

    /// A root that is mounted anew is not there as long as requests of before are under way.
    [[nodiscard]] bool waitUntilServed(const char* path)
    {
        return processEventsUntil([&] { return errorCode(client->call("rows", pathParameter(path))) == 0; });
    }

    [[nodiscard]] std::string nextChange() { return textOf(client->nextChange()); }

    /// The root one has been served all the time, and nothing else has been said of it.
    void expectOneGoesOn()
    {
        tree.addFile(QStringLiteral("one/new.mp3"));
        EXPECT_EQ(nextChange(), "reset /one/");
    }

    /// "prefix title" of each root but the queue.
    [[nodiscard]] QStringList roots()
    {
        QStringList roots;
        for (const QJsonValue root : resultOf(client->call("describe"), "roots")) {
            const QJsonObject fields = root.toObject();
            if (fields.value(QLatin1String("kind")).toString() == QLatin1String("files"))
                roots.append(
                    fields.value(QLatin1String("prefix")).toString() + u' ' +
                    fields.value(QLatin1String("title")).toString());
        }
        return roots;
    }

    [[nodiscard]] int rowsIn(const char* path)
    {
        return resultOf(client->call("rows", pathParameter(path)), "rows").size();
    }

    TemporaryTree tree;
    Tavo program;
    QByteArray firstLine;
    quint16 port = 0;
    std::unique_ptr<WebClient> client;
};

TEST_F(ServeReload, RootThatIsAddedAppearsWhileTheOthersGoOn)
{
    start(one);
    open("/");
    open("/one/");
    reload(one + two);
    EXPECT_EQ(nextChange(), "reset /");
    EXPECT_EQ(roots(), QStringList({QStringLiteral("/one one"), QStringLiteral("/two two")}));
    EXPECT_EQ(rowsIn("/two/"), 1);
    EXPECT_EQ(HttpClient(port).get("/media/two/song.mp3").status, 200);
    expectOneGoesOn();
}

TEST_F(ServeReload, RootThatIsRemovedIsClosedWhileTheOthersGoOn)
{
    start(one + two);
    open("/one/");
    open("/two/");
    reload(one);
    EXPECT_EQ(nextChange(), "close /two/");
    EXPECT_EQ(roots(), QStringList(QStringLiteral("/one one")));
    EXPECT_NE(errorCode(client->call("open", pathParameter("/two/"))), 0);
    EXPECT_EQ(HttpClient(port).get("/media/two/song.mp3").status, 404);
    expectOneGoesOn();
}

TEST_F(ServeReload, RootThatIsRenamedIsMountedAnewWhileTheOthersGoOn)
{
    start(one + two);
    open("/one/");
    open("/two/");
    reload(one + two + "title = 'Second'\n");
    EXPECT_EQ(nextChange(), "close /two/");
    ASSERT_TRUE(waitUntilServed("/two/"));
    open("/two/");
    EXPECT_EQ(roots(), QStringList({QStringLiteral("/one one"), QStringLiteral("/two Second")}));
    expectOneGoesOn();
}

TEST_F(ServeReload, FilterChanges)
{
    start(one);
    tree.addFile(QStringLiteral("one/song.dat"));
    EXPECT_EQ(HttpClient(port).get("/media/one/song.dat").status, 404);
    reload(one + "filter = ['*.dat']\n");
    EXPECT_TRUE(processEventsUntil([this] { return HttpClient(port).get("/media/one/song.dat").status == 200; }));
    EXPECT_EQ(HttpClient(port).get("/media/one/song.mp3").status, 404);
}

TEST_F(ServeReload, LinksThatLeadOutAreServedOnlyIfTheirRootFollowsThem)
{
    for (const char* directory : {"one", "two"}) {
        const QString link = tree.absolute(QString::fromUtf8(directory));
        ASSERT_TRUE(QFile::link(tree.absolute(QStringLiteral("abroad")), link + QStringLiteral("/out")));
        ASSERT_TRUE(QFile::link(tree.absolute(QStringLiteral("abroad/song.mp3")), link + QStringLiteral("/out.mp3")));
    }
    start(one + two);
    const auto statusOf = [this](const char* target) { return HttpClient(port).get(target).status; };
    for (const char* target : {"/media/one/out.mp3", "/media/one/out/song.mp3"})
        EXPECT_EQ(statusOf(target), 404) << target;
    EXPECT_NE(errorCode(client->call("rows", pathParameter("/one/out"))), 0);
    EXPECT_NE(errorCode(client->call("open", pathParameter("/one/out"))), 0);

    reload(one + "follow-links = true\n" + two);
    ASSERT_TRUE(waitUntilServed("/one/out"));
    for (const char* target : {"/media/one/out.mp3", "/media/one/out/song.mp3"})
        EXPECT_EQ(statusOf(target), 200) << target;
    EXPECT_EQ(rowsIn("/one/out"), 1);
    open("/one/out");
    for (const char* target : {"/media/two/out.mp3", "/media/two/out/song.mp3", "/media/one/../abroad/song.mp3"})
        EXPECT_EQ(statusOf(target), 404) << target;
    EXPECT_NE(errorCode(client->call("rows", pathParameter("/two/out"))), 0);

    reload(one + two);
    EXPECT_EQ(nextChange(), "close /one/out");
    ASSERT_TRUE(waitUntilServed("/one/"));
    EXPECT_EQ(statusOf("/media/one/song.mp3"), 200);
    EXPECT_EQ(statusOf("/media/one/out.mp3"), 404);
}

TEST_F(ServeReload, WrongFileIsRefusedWithItsProblems)
{
    start(one + two);
    open("/");
    open("/one/");
    configure(one + "titel = 'x'\n" + "[server]\nlisten = 1\n");
    program.signal(SIGHUP);
    EXPECT_TRUE(program.reports("tavo.toml:3:1: unknown key 'titel' in [root.one]; did you mean 'title'?"));
    EXPECT_TRUE(program.reports("tavo.toml:5:10: server.listen: must be a list of texts"));
    EXPECT_TRUE(program.reports("the configuration is wrong; the former settings stay"));
    EXPECT_EQ(roots(), QStringList({QStringLiteral("/one one"), QStringLiteral("/two two")}));
    expectOneGoesOn();
    reload(one);
    EXPECT_EQ(nextChange(), "reset /");
}

TEST_F(ServeReload, SettingsThatNeedARestartAreNamed)
{
    start(one);
    configure(one + "[server]\nhosts = ['music.local']\n[log]\nlevel = 'DEBUG'\n[server.limits]\nopen = 7\n");
    program.signal(SIGHUP);
    EXPECT_TRUE(program.reports("tavo.toml:4: server.hosts changes at the next start only"));
    EXPECT_TRUE(program.reports("tavo.toml:8: server.limits.open changes at the next start only"));
    EXPECT_TRUE(program.reports("the configuration was read again"));
}

TEST_F(ServeReload, SettingsThatAnOptionReplacesNeedNone)
{
    start(one);
    configure(one + "[server]\nlisten = ['127.0.0.1:9']\nstate = 'elsewhere'\n");
    program.signal(SIGHUP);
    QByteArray line;
    while (!line.contains("the configuration was read again")) {
        line = program.readErrorLine();
        ASSERT_FALSE(line.isNull());
        EXPECT_THAT(line.toStdString(), Not(HasSubstr("next start")));
    }
}

TEST_F(ServeReload, ServerWithoutRootsGetsItsFirst)
{
    start("");
    EXPECT_THAT(firstLine.toStdString(), testing::StartsWith("Serving no directory yet at http://127.0.0.1:"));
    EXPECT_EQ(roots(), QStringList());
    open("/");
    reload(one);
    EXPECT_EQ(nextChange(), "reset /");
    ASSERT_TRUE(waitUntilServed("/one/"));
}

TEST_F(ServeReload, RootsMayChangeAgainAndAgain)
{
    start(one + two);
    open("/one/");
    constexpr int rounds = 20;
    for (int i = 0; i < rounds; ++i) {
        static_cast<void>(client->request("rows", pathParameter("/two/")));
        reload(i % 2 == 0 ? one : one + two + "title = '" + QByteArray::number(i) + "'\n");
    }
    EXPECT_TRUE(processEventsUntil([this] {
        return roots() == QStringList({QStringLiteral("/one one"), QStringLiteral("/two 19")});
    }));
    expectOneGoesOn();
    program.signal(SIGTERM);
    EXPECT_EQ(program.waitForEnd().status, 0);
}

} // namespace
