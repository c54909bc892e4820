// What the kernel does not tell of reaches clients all the same.

#include "support/sessionclient.h"
#include "support/temporarytree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QJsonArray>

#include <csignal>

namespace {

using testing::AllOf;
using testing::HasSubstr;

class Healing : public testing::Test
{
protected:
    void start(const QStringList& options = {})
    {
        client.start(
            QStringList{QStringLiteral("--root"), tree.root(), QStringLiteral("--sweep"), QStringLiteral("1")} +
            options);
    }

    void open(const QString& base)
    {
        ASSERT_EQ(errorCode(client.call(QStringLiteral("open"), QJsonObject{{QStringLiteral("path"), path(base)}})), 0);
        titles(base);
    }

    [[nodiscard]] static QString path(const QString& base) { return QStringLiteral("/file/") + base; }

    /// Reads the rows as a client does that has none.
    QStringList titles(const QString& base)
    {
        const QJsonObject parameters{
            {QStringLiteral("path"), path(base)}, {QStringLiteral("roles"), QJsonArray{QStringLiteral("title")}}};
        const QJsonObject answer = client.call(QStringLiteral("rows"), parameters);
        QStringList found;
        for (const QJsonValue row : answer[QStringLiteral("result")][QStringLiteral("rows")].toArray())
            found.append(row[0].toString());
        return found;
    }

    /// Follows the protocol until the directory's rows are these: reads again after a reset, opens again after a close.
    [[nodiscard]] bool comesToHold(const QString& base, const QStringList& expected)
    {
        for (QStringList held; held != expected; held = titles(base)) {
            const QJsonObject change = client.nextChange();
            if (change.isEmpty())
                return false;
            if (change[QStringLiteral("changes")].toArray().contains(QStringLiteral("close")))
                static_cast<void>(
                    client.call(QStringLiteral("open"), QJsonObject{{QStringLiteral("path"), path(base)}}));
        }
        return true;
    }

    TemporaryTree tree;
    SessionClient client;
};

TEST_F(Healing, ADirectoryThatAnotherReplacesIsReadAgain)
{
    tree.addFile(QStringLiteral("a/old.mp3"));
    tree.addFile(QStringLiteral("other/new.mp3"));
    start();
    open(QStringLiteral("a"));
    tree.rename(QStringLiteral("a"), QStringLiteral("moved"));
    tree.rename(QStringLiteral("other"), QStringLiteral("a"));
    EXPECT_TRUE(comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3")}));
}

TEST_F(Healing, AReplacedDirectoryIsWatchedInItsPlace)
{
    tree.addFile(QStringLiteral("a/old.mp3"));
    start({QStringLiteral("--sweep"), QStringLiteral("0")});
    open(QStringLiteral("a"));
    tree.rename(QStringLiteral("a"), QStringLiteral("moved"));
    tree.addFile(QStringLiteral("a/new.mp3"));
    ASSERT_TRUE(comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3")}));
    tree.addFile(QStringLiteral("a/newer.mp3"));
    EXPECT_TRUE(comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3"), QStringLiteral("newer.mp3")}));
}

TEST_F(Healing, WhatLiesBelowAReplacedDirectoryIsReadAgainToo)
{
    tree.addFile(QStringLiteral("a/b/c/old.mp3"));
    tree.addFile(QStringLiteral("other/b/c/new.mp3"));
    start();
    open(QStringLiteral("a/b/c"));
    tree.rename(QStringLiteral("a"), QStringLiteral("moved"));
    tree.rename(QStringLiteral("other"), QStringLiteral("a"));
    EXPECT_TRUE(comesToHold(QStringLiteral("a/b/c"), {QStringLiteral("new.mp3")}));
}

TEST_F(Healing, ADirectoryRemovedAndMadeAnewAtOnceIsWatchedAgain)
{
    tree.addFile(QStringLiteral("a/old.mp3"));
    start();
    open(QStringLiteral("a"));
    tree.remove(QStringLiteral("a"));
    tree.addFile(QStringLiteral("a/new.mp3"));
    ASSERT_TRUE(comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3")}));
    tree.addFile(QStringLiteral("a/newer.mp3"));
    EXPECT_TRUE(comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3"), QStringLiteral("newer.mp3")}));
}

TEST_F(Healing, WithoutAnyEventsEveryChangeIsTold)
{
    tree.addFile(QStringLiteral("a/one.mp3"));
    client.program().setWatchLimit(0);
    start();
    open(QStringLiteral("a"));
    tree.addFile(QStringLiteral("a/two.mp3"));
    EXPECT_TRUE(comesToHold(QStringLiteral("a"), {QStringLiteral("one.mp3"), QStringLiteral("two.mp3")}));
    tree.rename(QStringLiteral("a/two.mp3"), QStringLiteral("a/three.mp3"));
    EXPECT_TRUE(comesToHold(QStringLiteral("a"), {QStringLiteral("one.mp3"), QStringLiteral("three.mp3")}));
}

TEST_F(Healing, BeyondTheWatchLimitChangesAreToldAndTheLimitIsNamedOnce)
{
    QStringList directories;
    for (int i = 0; i < 8; ++i) {
        directories.append(QStringLiteral("d%1").arg(i));
        tree.addDirectory(directories.last());
    }
    client.program().setWatchLimit(5);
    start();
    for (const QString& directory : qAsConst(directories))
        open(directory);
    for (const QString& directory : qAsConst(directories)) {
        tree.addFile(directory + QStringLiteral("/new.mp3"));
        EXPECT_TRUE(comesToHold(directory, {QStringLiteral("new.mp3")})) << directory.toStdString();
    }
    const Outcome outcome = client.program().finish();
    const QByteArray warning = "the limit of watched directories is reached";
    EXPECT_THAT(
        outcome.errors.toStdString(),
        AllOf(HasSubstr(warning.toStdString()), HasSubstr("user.max_inotify_watches = 5")));
    EXPECT_EQ(outcome.errors.count(warning), 1);
}

TEST_F(Healing, AChangeThatAFullEventQueueLosesIsTold)
{
    constexpr int moreThanTheQueueHolds = 17000;
    tree.addDirectory(QStringLiteral("noise"));
    tree.addFile(QStringLiteral("a/old.mp3"));
    start();
    open(QStringLiteral("noise"));
    open(QStringLiteral("a"));
    client.program().signal(SIGSTOP);
    for (int i = 0; i < moreThanTheQueueHolds; ++i)
        tree.addFile(QStringLiteral("noise/%1.txt").arg(i));
    tree.rename(QStringLiteral("a/old.mp3"), QStringLiteral("a/new.mp3"));
    client.program().signal(SIGCONT);
    EXPECT_TRUE(comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3")}));
}

} // namespace
