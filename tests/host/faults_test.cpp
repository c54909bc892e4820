// A running program loses its files, its permissions or its log: it reports the fault, keeps serving, and recovers.

#include "support/servedtree.h"
#include "support/terminal.h"

#include "printers.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using testing::AnyOf;
using testing::Each;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using FaultyRoot = ServedTree;

TEST_F(FaultyRoot, RemovedIsClosedAndRestoredIsServedAgain)
{
    start();
    tree.remove(root);
    ASSERT_TRUE(client.isClosed(directory));
    EXPECT_FALSE(client.open(QString()));
    EXPECT_FALSE(client.open(directory));
    tree.addFile(QStringLiteral("root/a/new.mp3"));
    ASSERT_TRUE(client.open(directory));
    EXPECT_EQ(client.titles(directory), newRows);
    expectChangesArrive();
}

TEST_F(FaultyRoot, RenamedIsClosedAndServedAgainUnderItsOldName)
{
    start();
    tree.rename(root, QStringLiteral("moved"));
    ASSERT_TRUE(client.isClosed(directory));
    tree.rename(QStringLiteral("moved"), root);
    ASSERT_TRUE(client.open(directory));
    EXPECT_EQ(client.titles(directory), oldRows);
    expectChangesArrive();
}

TEST_F(FaultyRoot, ReplacedByAnotherDirectoryIsReadAgain)
{
    start();
    tree.rename(root, QStringLiteral("moved"));
    tree.rename(QStringLiteral("other"), root);
    EXPECT_TRUE(client.comesToHold(directory, newRows));
    expectChangesArrive();
}

TEST_F(FaultyRoot, ReplacedByAFileIsClosedAndRestoredIsServedAgain)
{
    start();
    tree.rename(root, QStringLiteral("moved"));
    tree.rename(QStringLiteral("file"), root);
    ASSERT_TRUE(client.isClosed(directory));
    EXPECT_FALSE(client.open(QString()));
    tree.remove(root);
    tree.rename(QStringLiteral("moved"), root);
    ASSERT_TRUE(client.open(directory));
    EXPECT_EQ(client.titles(directory), oldRows);
    expectChangesArrive();
}

using FaultyDirectory = ServedTree;

TEST_F(FaultyDirectory, DeletedIsClosedAndRecreatedIsServedAgain)
{
    start();
    tree.remove(QStringLiteral("root/a"));
    ASSERT_TRUE(client.isClosed(directory));
    EXPECT_FALSE(client.open(directory));
    tree.addFile(QStringLiteral("root/a/new.mp3"));
    ASSERT_TRUE(client.open(directory));
    EXPECT_EQ(client.titles(directory), newRows);
    expectChangesArrive();
}

TEST_F(FaultyDirectory, RenamedIsClosedAndChangesUnderItsNewNameAreNotReported)
{
    start();
    tree.rename(QStringLiteral("root/a"), QStringLiteral("root/b"));
    ASSERT_TRUE(client.isClosed(directory));
    tree.addFile(QStringLiteral("root/b/new.mp3"));
    EXPECT_FALSE(client.open(directory));
    EXPECT_EQ(client.kept(), 0);
    EXPECT_THAT(client.program().finish().output.toStdString(), IsEmpty());
}

TEST_F(FaultyDirectory, ReplacedByAFileIsClosed)
{
    start();
    tree.rename(QStringLiteral("root/a"), QStringLiteral("moved"));
    tree.rename(QStringLiteral("file"), QStringLiteral("root/a"));
    EXPECT_TRUE(client.isClosed(directory));
    EXPECT_FALSE(client.open(directory));
}

TEST_F(FaultyDirectory, LossAndReturnOfPermissionAreReported)
{
    const QString path = tree.absolute(QStringLiteral("root/a"));
    client.program().setRights(Tavo::Rights::NoOverride);
    start();
    QFile::setPermissions(path, {});
    EXPECT_EQ(client.nextChange().value(QLatin1String("changes")).toArray(), QJsonArray{QStringLiteral("reset")});
    EXPECT_EQ(client.refusal(directory), QStringLiteral("No permission to read directory 'a'"));
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_TRUE(client.comesToHold(directory, oldRows));
    expectChangesArrive();
}

class FullLog : public ServedTree
{
protected:
    FullLog()
    {
        tree.addFile(
            QStringLiteral("log.properties"), "log4cplus.rootLogger=TRACE, A\n"
                                              "log4cplus.appender.A=log4cplus::FileAppender\n"
                                              "log4cplus.appender.A.File=/dev/full\n"
                                              "log4cplus.appender.A.layout=log4cplus::SimpleLayout\n");
    }

    const QStringList fullLog = {QStringLiteral("--log-config"), tree.absolute(QStringLiteral("log.properties"))};
};

TEST_F(FullLog, IsReportedAndDelaysNothing)
{
    start(fullLog);
    EXPECT_EQ(client.titles(directory), oldRows);
    expectChangesArrive();
    const Outcome outcome = client.program().finish();
    EXPECT_EQ(outcome.status, 0);
    // The library tries again every second.
    EXPECT_THAT(linesOf(outcome.errors), Not(IsEmpty()));
    EXPECT_THAT(linesOf(outcome.errors), Each(QByteArray("log4cplus:ERROR file is not open: /dev/full")));
}

TEST_F(FullLog, DoesNotSpoilTheResults)
{
    const Outcome outcome = runTavo(
        options(fullLog + QStringList{QStringLiteral("browse"), QStringLiteral("a"), QStringLiteral("--json")}));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(QJsonDocument::fromJson(outcome.output).isObject()) << outcome.output.toStdString();
}

/// Walks that compare every name with so many patterns that they take many seconds.
class InterruptedWalk : public ServedTree
{
protected:
    InterruptedWalk()
    {
        constexpr int files = 1000;
        constexpr int patterns = 20000;
        for (int i = 0; i < files; ++i)
            tree.addFile(QStringLiteral("root/w/%1.txt").arg(i));
        for (int i = 0; i < patterns; ++i)
            filters += {QStringLiteral("--filter"), QStringLiteral("*.%1").arg(i)};
    }

    QStringList filters;
};

TEST_F(InterruptedWalk, CountEndsAtOnce)
{
    for (const int signalNumber : {SIGINT, SIGTERM}) {
        Tavo tavo(options(
            filters + QStringList{QStringLiteral("--log-level"), QStringLiteral("INFO"), QStringLiteral("count")}));
        ASSERT_THAT(tavo.readErrorLine().toStdString(), HasSubstr("Count files under path"));
        tavo.signal(signalNumber);
        const Outcome outcome = tavo.finish();
        EXPECT_EQ(outcome.status, -signalNumber);
        EXPECT_THAT(outcome.output.toStdString(), IsEmpty());
    }
}

TEST_F(InterruptedWalk, PreparationEndsWhileItLooksForFiles)
{
    for (const auto& [signalNumber, status] : {std::pair(SIGINT, 130), std::pair(SIGTERM, 143)}) {
        const PseudoTerminal terminal(80);
        Tavo tavo;
        tavo.setStandardErrorFile(terminal.fileName());
        tavo.start(options(
            filters +
            QStringList{
                QStringLiteral("prepare"), QStringLiteral("library"), QStringLiteral("w"), QStringLiteral("--json")}));
        ASSERT_THAT(terminal.readUntil("looking for files").toStdString(), HasSubstr("looking for files"));
        tavo.signal(signalNumber);
        EXPECT_THAT(terminal.readAll().toStdString(), EndsWith("\r\x1b[K"));
        const Outcome outcome = tavo.finish();
        EXPECT_EQ(outcome.status, status);
        EXPECT_THAT(outcome.output.toStdString(), AnyOf("", "[]\n")) << "the output is well-formed";
    }
}

TEST_F(InterruptedWalk, SessionEndsWithoutItsAnswer)
{
    for (const int signalNumber : {SIGINT, SIGTERM}) {
        Follower walker;
        walker.start(options(filters + QStringList{QStringLiteral("--log-level"), QStringLiteral("INFO")}));
        const QJsonObject described = walker.call(QStringLiteral("describe"));
        const QJsonValue count = described[QStringLiteral("result")][QStringLiteral("roots")][0]
                                          [QStringLiteral("services")][QStringLiteral("countFiles")];
        walker.request(QStringLiteral("set"), QJsonArray{count, QString()});
        ASSERT_THAT(walker.program().readErrorLine().toStdString(), HasSubstr("Count files under path"));
        walker.program().signal(signalNumber);
        const Outcome outcome = walker.program().waitForEnd();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.output.toStdString(), IsEmpty());
    }
}

} // namespace
