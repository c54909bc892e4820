// Several roots at the command line and in a session, and roots that come and go.

#include "support/sessionclient.h"
#include "support/tavo.h"
#include "support/temporarytree.h"
#include "support/words.h"

#include "printers.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

/// Two roots, "music" and "disk".
class Roots : public testing::Test
{
protected:
    Roots()
    {
        tree.addFile(QStringLiteral("Songs/a/one.mp3"));
        tree.addFile(QStringLiteral("Songs/two.mp3"));
        tree.addFile(QStringLiteral("Drive/b/three: 100%.mp3"));
    }

    [[nodiscard]] QStringList options() const
    {
        return {
            QStringLiteral("--root"), QStringLiteral("music=") + tree.absolute(QStringLiteral("Songs")),
            QStringLiteral("--root"), QStringLiteral("disk=") + tree.absolute(QStringLiteral("Drive"))};
    }

    [[nodiscard]] Outcome run(const QStringList& rest) const { return runTavo(options() + rest); }
    [[nodiscard]] Outcome run(const char* rest) const { return run(words(rest)); }

    [[nodiscard]] std::string output(const QStringList& rest) const
    {
        const Outcome outcome = run(rest);
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        EXPECT_THAT(outcome.errors.toStdString(), IsEmpty());
        return outcome.output.toStdString();
    }
    [[nodiscard]] std::string output(const char* rest) const { return output(words(rest)); }

    /// The line that says why the command fails.
    [[nodiscard]] std::string error(const char* rest, int status) const
    {
        const Outcome outcome = run(rest);
        EXPECT_EQ(outcome.status, status) << rest;
        EXPECT_THAT(outcome.output.toStdString(), IsEmpty()) << rest;
        return outcome.errors.toStdString();
    }

    TemporaryTree tree;
};

TEST_F(Roots, AreTheRowsOfTheTop)
{
    const std::string rows = "PATH     TITLE\n/music/  Songs/\n/disk/   Drive/\n";
    EXPECT_EQ(output("browse --roles path,title"), rows);
    EXPECT_EQ(output("browse --roles path,title /"), rows);
}

TEST_F(Roots, AreBrowsedByTheirIdOrByAnEncodedPath)
{
    for (const char* path : {"music:", "music:.", "music:./", "/music/", "/music"})
        EXPECT_EQ(output(words("browse --roles title") << QString::fromUtf8(path)), "TITLE\na/\ntwo.mp3\n") << path;
    for (const char* path : {"music:a", "music:a/", "music:./a", "/music/a"})
        EXPECT_EQ(output(words("browse --roles title") << QString::fromUtf8(path)), "TITLE\none.mp3\n") << path;
}

TEST_F(Roots, TellInfoOfTheirEntries)
{
    for (const char* path : {"disk:b/three: 100%.mp3", "/disk/b/three%3A%20100%25.mp3"}) {
        const QStringList info = {QStringLiteral("info"), QStringLiteral("--json"), QString::fromUtf8(path)};
        const QJsonObject entry = QJsonDocument::fromJson(run(info).output).object();
        EXPECT_EQ(entry.value(QLatin1String("path")).toString(), QStringLiteral("/disk/b/three%3A%20100%25.mp3"));
        EXPECT_EQ(entry.value(QLatin1String("title")).toString(), QStringLiteral("three: 100%.mp3"));
    }
}

TEST_F(Roots, AreCountedTogetherOrEachByItself)
{
    EXPECT_EQ(output("count"), "3\n");
    EXPECT_EQ(output("count /"), "3\n");
    EXPECT_EQ(output("count music:"), "2\n");
    EXPECT_EQ(output("count music:a"), "1\n");
    EXPECT_EQ(output("count /disk/b"), "1\n");
}

TEST_F(Roots, HaveMenusOfTheirOwn)
{
    EXPECT_THAT(output("menu music:a"), HasSubstr("/music/a"));
    EXPECT_THAT(output("menu /disk/b"), HasSubstr("/disk/b"));
}

TEST_F(Roots, ArePreparedInTheOrderGiven)
{
    const Outcome outcome = run("prepare playlist disk:b /music/a music:two.mp3 --json");
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    QStringList paths;
    for (const QJsonValue item : QJsonDocument::fromJson(outcome.output).array())
        paths.append(item.toObject().value(QLatin1String("path")).toString());
    EXPECT_EQ(paths, words("/disk/b/three%3A%20100%25.mp3 /music/a/one.mp3 /music/two.mp3"));
}

TEST_F(Roots, AreWatchedTogether)
{
    Tavo tavo(options() + words("watch music:a /disk/ --sweep 1"));
    EXPECT_EQ(tavo.readErrorLine(), "tavo: watching 2 directories, interrupt to end");
    tree.addFile(QStringLiteral("Drive/new.mp3"));
    EXPECT_THAT(tavo.readLine().toStdString(), HasSubstr("  reset  disk:.  "));
    tree.addFile(QStringLiteral("Songs/a/new.mp3"));
    EXPECT_THAT(tavo.readLine().toStdString(), HasSubstr("  reset  music:a  "));
    tavo.signal(SIGINT);
    EXPECT_EQ(tavo.waitForEnd().status, 0);
}

TEST_F(Roots, MustBeNamedWhereThereAreSeveral)
{
    for (const char* command : {"browse", "info", "count", "menu", "prepare playlist", "prepare library", "watch"}) {
        for (const char* path : {"a", "nothing:a", ":a", "./music:a"}) {
            const std::string arguments = std::string(command) + ' ' + path;
            EXPECT_EQ(
                error(arguments.c_str(), 2),
                std::string("tavo: '") + path + "' names no root: write ID:PATH, with one of the ids music, disk\n");
        }
    }
}

TEST_F(Roots, ThatDoNotExistAreRefused)
{
    for (const char* command : {"browse", "info", "menu", "prepare playlist", "watch"}) {
        const std::string arguments = std::string(command) + " /nothing/a";
        EXPECT_EQ(error(arguments.c_str(), 1), "tavo: Invalid path '/nothing/a'\n");
    }
}

TEST_F(Roots, AreNotLeft)
{
    for (const char* path : {"music:../Drive", "music:/etc", "/music/..", "/disk//etc"}) {
        for (const char* command : {"browse", "info", "count"})
            EXPECT_THAT(error((std::string(command) + ' ' + path).c_str(), 1), HasSubstr("Access violation")) << path;
    }
}

TEST_F(Roots, AreServedInOneSession)
{
    SessionClient client(options());
    const auto count = [&client](const char* path) {
        const QJsonArray parameters{QString::fromUtf8(path)};
        return client.call(QStringLiteral("rows"), parameters)
            .value(QLatin1String("result"))
            .toObject()
            .value(QLatin1String("count"))
            .toInt();
    };
    EXPECT_EQ(count("/"), 3);
    EXPECT_EQ(count("/music/"), 2);
    EXPECT_EQ(count("/disk/b"), 1);
    for (const char* path : {"/", "/music/", "/disk/b"})
        EXPECT_EQ(errorCode(client.call(QStringLiteral("open"), QJsonArray{QString::fromUtf8(path)})), 0);
    tree.addFile(QStringLiteral("Drive/b/new.mp3"));
    EXPECT_EQ(client.nextChange().value(QLatin1String("path")).toString(), QStringLiteral("/disk/b"));
}

/// The root "disk" is not there at the start.
class MissingRoot : public Roots
{
protected:
    MissingRoot() { unplug(); }

    void unplug() { tree.rename(QStringLiteral("Drive"), QStringLiteral("away")); }
    void plug() { tree.rename(QStringLiteral("away"), QStringLiteral("Drive")); }

    [[nodiscard]] QStringList sweeping() const { return options() + words("--sweep 1"); }

    /// Without the queue's.
    [[nodiscard]] static QStringList prefixesIn(SessionClient& client)
    {
        const QJsonObject description =
            client.call(QStringLiteral("describe")).value(QLatin1String("result")).toObject();
        QStringList prefixes;
        for (const QJsonValue root : description.value(QLatin1String("roots")).toArray())
            prefixes.append(root.toObject().value(QLatin1String("prefix")).toString());
        prefixes.removeAll(QStringLiteral("/playlist"));
        return prefixes;
    }
};

TEST_F(MissingRoot, IsNamedByAWarningWhileOthersAreServed)
{
    const Outcome outcome = run("browse --roles path");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "PATH\n/music/\n");
    EXPECT_EQ(outcome.errors.count('\n'), 1) << outcome.errors.toStdString();
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr(" WARN "));
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr(tree.absolute(QStringLiteral("Drive")).toStdString()));
}

TEST_F(MissingRoot, RefusesItsPaths)
{
    for (const char* command : {"browse disk:", "info disk:b", "count disk:", "menu disk:b", "watch disk:"}) {
        const Outcome outcome = run(command);
        EXPECT_EQ(outcome.status, 1) << command;
        EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("tavo: Invalid path '/disk/")) << command;
    }
}

TEST_F(MissingRoot, IsServedAsSoonAsItAppears)
{
    SessionClient client(sweeping());
    EXPECT_TRUE(client.program().reports("Drive does not exist"));
    EXPECT_EQ(prefixesIn(client), QStringList{QStringLiteral("/music")});
    ASSERT_EQ(errorCode(client.call(QStringLiteral("open"), QJsonArray{QStringLiteral("/")})), 0);
    plug();
    const QJsonObject change = client.nextChange();
    EXPECT_EQ(change.value(QLatin1String("path")).toString(), QStringLiteral("/"));
    EXPECT_EQ(change.value(QLatin1String("changes")).toArray(), QJsonArray{QStringLiteral("reset")});
    EXPECT_EQ(prefixesIn(client), words("/music /disk"));
    EXPECT_EQ(errorCode(client.call(QStringLiteral("open"), QJsonArray{QStringLiteral("/disk/b")})), 0);
    EXPECT_TRUE(client.program().reports("is back"));
}

TEST_F(MissingRoot, ThatDisappearsIsClosedAndComesBackWithHigherVersions)
{
    plug();
    SessionClient client(sweeping());
    const QJsonArray path{QStringLiteral("/disk/b")};
    ASSERT_EQ(errorCode(client.call(QStringLiteral("open"), path)), 0);
    unplug();
    QJsonObject change = client.nextChange();
    while (change.value(QLatin1String("changes")).toArray() == QJsonArray{QStringLiteral("reset")})
        change = client.nextChange();
    EXPECT_EQ(change.value(QLatin1String("path")), path.first());
    EXPECT_EQ(change.value(QLatin1String("changes")).toArray(), QJsonArray{QStringLiteral("close")});
    EXPECT_TRUE(client.program().reports("Drive does not exist"));
    EXPECT_EQ(prefixesIn(client), QStringList{QStringLiteral("/music")});
    EXPECT_EQ(errorCode(client.call(QStringLiteral("rows"), path)), -32000);
    plug();
    EXPECT_TRUE(client.program().reports("is back"));
    ASSERT_EQ(errorCode(client.call(QStringLiteral("open"), path)), 0);
    const QJsonObject page = client.call(QStringLiteral("rows"), path).value(QLatin1String("result")).toObject();
    EXPECT_GT(page.value(QLatin1String("version")).toInt(), change.value(QLatin1String("version")).toInt());
}

TEST_F(MissingRoot, MayBeTheOnlyOneOfASession)
{
    SessionClient client(
        QStringList{QStringLiteral("--root"), tree.absolute(QStringLiteral("Drive"))} + words("--sweep 1"));
    EXPECT_TRUE(client.program().reports("Drive does not exist"));
    EXPECT_THAT(prefixesIn(client), IsEmpty());
    EXPECT_EQ(errorCode(client.call(QStringLiteral("rows"), QJsonArray{QStringLiteral("/file/")})), -32000);
    ASSERT_EQ(errorCode(client.call(QStringLiteral("open"), QJsonArray{QStringLiteral("/")})), 0);
    plug();
    EXPECT_EQ(client.nextChange().value(QLatin1String("path")).toString(), QStringLiteral("/"));
    EXPECT_EQ(errorCode(client.call(QStringLiteral("open"), QJsonArray{QStringLiteral("/file/b")})), 0);
}

} // namespace
