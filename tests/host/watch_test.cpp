#include "support/pipe.h"
#include "support/tavo.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class Watch : public testing::Test
{
protected:
    Watch()
    {
        tree.addDirectory(QStringLiteral("a/b"));
        tree.addDirectory(QStringLiteral("c"));
    }

    [[nodiscard]] QStringList arguments(const QStringList& rest) const
    {
        return QStringList{QStringLiteral("--root"), tree.root(), QStringLiteral("watch")} + rest;
    }

    /// Waits until it watches.
    void watch(const QStringList& rest)
    {
        tavo.start(arguments(rest));
        ASSERT_THAT(tavo.readErrorLine().toStdString(), HasSubstr("watching"));
    }

    [[nodiscard]] QJsonObject nextChange() { return QJsonDocument::fromJson(tavo.readLine()).object(); }

    TemporaryTree tree;
    Tavo tavo;
};

TEST_F(Watch, ChangeIsPrintedAsItArrives)
{
    watch({QStringLiteral("a"), QStringLiteral("c")});
    tree.addFile(QStringLiteral("a/x.mp3"));
    EXPECT_THAT(tavo.readLine().toStdString(), MatchesRegex("[0-9-]+ [0-9:.]+  reset  a  \\(version [0-9]+\\)"));
    tree.remove(QStringLiteral("c"));
    EXPECT_THAT(tavo.readLine().toStdString(), HasSubstr("  close  c  "));
}

TEST_F(Watch, RootIsShownAsADot)
{
    watch({QStringLiteral(".")});
    tree.addFile(QStringLiteral("x.mp3"));
    EXPECT_THAT(tavo.readLine().toStdString(), HasSubstr("  reset  .  "));
}

TEST_F(Watch, JsonIsOneObjectALine)
{
    watch({QStringLiteral("--json"), QStringLiteral("a/b")});
    tree.addFile(QStringLiteral("a/b/x.mp3"));
    const QJsonObject change = nextChange();
    EXPECT_EQ(change.value(QLatin1String("path")).toString(), QStringLiteral("/file/a/b"));
    EXPECT_EQ(change.value(QLatin1String("changes")).toVariant().toStringList(), QStringList{QStringLiteral("reset")});
    EXPECT_GT(change.value(QLatin1String("version")).toInt(), 0);
}

TEST_F(Watch, EndsWhenNothingIsLeft)
{
    // The worker logs an error if the directory vanishes while it lists it.
    watch({QStringLiteral("a"), QStringLiteral("a/b"), QStringLiteral("--log-level"), QStringLiteral("OFF")});
    tree.remove(QStringLiteral("a"));
    const Outcome outcome = tavo.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output.count("  close  "), 2) << outcome.output.toStdString();
    EXPECT_EQ(outcome.errors, "tavo: nothing is left to watch\n");
}

TEST_F(Watch, InterruptionIsTheUsualEnd)
{
    for (const int signalNumber : {SIGINT, SIGTERM}) {
        Tavo program(arguments({QStringLiteral("a")}));
        ASSERT_THAT(program.readErrorLine().toStdString(), HasSubstr("watching 1 directory"));
        program.signal(signalNumber);
        EXPECT_EQ(program.finish().status, 0) << signalNumber;
    }
}

TEST_F(Watch, WhatCannotBeOpenedIsRefused)
{
    tree.addFile(QStringLiteral("file.mp3"));
    for (const char* path : {"missing", "file.mp3", "..", "/etc"}) {
        const Outcome outcome = runTavo(arguments({QStringLiteral("a"), QString::fromUtf8(path)}));
        EXPECT_EQ(outcome.status, 1) << path;
        EXPECT_EQ(outcome.errors.count('\n'), 1) << outcome.errors.toStdString();
    }
}

TEST_F(Watch, EndsWhenNobodyReadsAnyMore)
{
    Pipe pipe;
    tavo.setStandardOutputFile(pipe.writingFileName());
    watch({QStringLiteral("a")});
    pipe.closeWritingEnd();
    pipe.closeReadingEnd();
    tree.addFile(QStringLiteral("a/x.mp3"));
    EXPECT_EQ(tavo.waitForEnd().status, 0);
}

TEST_F(Watch, FullDiskIsAFailure)
{
    tavo.setStandardOutputFile(QStringLiteral("/dev/full"));
    watch({QStringLiteral("a")});
    tree.addFile(QStringLiteral("a/x.mp3"));
    const Outcome outcome = tavo.waitForEnd();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "tavo: cannot write: No space left on device\n");
}

TEST_F(Watch, InterruptionDoesNotWaitForAReaderThatDoesNotRead)
{
    Pipe pipe;
    pipe.fill();
    tavo.setStandardOutputFile(pipe.writingFileName());
    tavo.start(arguments({QStringLiteral("a"), QStringLiteral("--log-level"), QStringLiteral("INFO")}));
    ASSERT_TRUE(tavo.reports("watching"));
    tree.addFile(QStringLiteral("a/x.mp3"));
    ASSERT_TRUE(tavo.reports("Changed"));
    tavo.signal(SIGINT);
    EXPECT_EQ(tavo.waitForEnd().status, 0);
}

TEST_F(Watch, NamesAreShownOnOneLine)
{
    tree.addDirectory(QStringLiteral("new\nline\x1b"));
    watch({QStringLiteral("new\nline\x1b")});
    tree.addFile(QStringLiteral("new\nline\x1b/x.mp3"));
    EXPECT_THAT(tavo.readLine().toStdString(), HasSubstr("  new\\nline\\x1b  "));
}

} // namespace
