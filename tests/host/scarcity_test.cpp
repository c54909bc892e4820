// The system runs out of descriptors or memory: the program reports it, serves what it can, and recovers.

#include "support/servedtree.h"
#include "support/sessionclient.h"

#include "eventloop.h"
#include "printers.h"

#include <QFile>
#include <QJsonArray>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;

class ScarceDescriptors : public ServedTree
{
protected:
    static constexpr char shortage[] = "Too many open files";
};

TEST_F(ScarceDescriptors, TooFewAreReportedAtTheStart)
{
    constexpr int enoughToBeLoaded = 8;
    constexpr int enoughToWork = 48;
    for (int limit = enoughToBeLoaded; limit <= enoughToWork; ++limit) {
        Tavo tavo;
        tavo.setDescriptorLimits(limit, limit);
        tavo.start(options({QStringLiteral("browse"), QStringLiteral("a")}));
        const Outcome outcome = tavo.finish();
        if (outcome.status == 0) {
            EXPECT_THAT(outcome.output.toStdString(), HasSubstr("old.mp3")) << limit;
            EXPECT_THAT(outcome.errors.toStdString(), IsEmpty()) << limit;
        } else {
            EXPECT_EQ(outcome.status, 1) << limit;
            EXPECT_EQ(outcome.errors, "tavo: 32 file descriptors are needed: Too many open files\n") << limit;
            EXPECT_LT(limit, enoughToWork);
        }
    }
}

TEST_F(ScarceDescriptors, UsualLimitDoesNotBindAWalk)
{
    constexpr int depth = 100;
    const QString path = QStringLiteral("d/").repeated(depth);
    tree.addFile(QStringLiteral("root/") + path + QStringLiteral("deep.mp3"));
    Tavo tavo;
    tavo.setDescriptorLimits(depth / 2, 4 * depth);
    tavo.start(options({QStringLiteral("count"), QStringLiteral("d")}));
    EXPECT_EQ(tavo.finish().output, "1\n");
}

TEST_F(ScarceDescriptors, RowsThatCannotBeReadAreRefusedAndNotMistakenForNone)
{
    start();
    {
        const Tavo::WithoutDescriptors scarce(client.program());
        EXPECT_THAT(client.refusal(QString()).toStdString(), HasSubstr(shortage));
        EXPECT_THAT(client.refusal(directory).toStdString(), HasSubstr(shortage));
    }
    EXPECT_EQ(client.titles(QString()), QStringList(directory));
    EXPECT_TRUE(client.comesToHold(directory, oldRows));
    expectChangesArrive();
}

TEST_F(ScarceDescriptors, EveryRequestIsAnswered)
{
    start();
    const QJsonObject described = client.call(QStringLiteral("describe"));
    const QJsonValue services =
        described[QStringLiteral("result")][QStringLiteral("roots")][0][QStringLiteral("services")];
    const QJsonArray ids{Follower::path(directory), Follower::path(QStringLiteral("a/old.mp3"))};
    const QString opened = Follower::path(QStringLiteral("b"));
    tree.addDirectory(QStringLiteral("root/b"));
    const QList<QPair<QString, QJsonArray>> requests = {
        {QStringLiteral("describe"), {}},
        {QStringLiteral("rows"), {Follower::path(directory)}},
        {QStringLiteral("data"), {Follower::path(directory)}},
        {QStringLiteral("menu"), {Follower::path(directory)}},
        {QStringLiteral("set"), {services[QStringLiteral("countFiles")], directory}},
        {QStringLiteral("set"), {services[QStringLiteral("preparePlaylist")], ids}},
        {QStringLiteral("set"), {services[QStringLiteral("prepareLibrary")], ids}},
        {QStringLiteral("open"), {opened}},
        {QStringLiteral("close"), {opened}}};
    {
        const Tavo::WithoutDescriptors scarce(client.program());
        QList<int> requested;
        for (int round = 0; round < 20; ++round) {
            for (const auto& [method, parameters] : requests)
                requested.append(client.request(method, parameters));
        }
        for (const int id : qAsConst(requested))
            EXPECT_THAT(errorCode(client.answerTo(id)), AnyOf(0, -32000)) << id;
    }
    EXPECT_EQ(client.titles(QString()), (QStringList{directory, QStringLiteral("b")}));
    expectChangesArrive();
    EXPECT_EQ(client.program().finish().status, 0);
}

class ScarceMemory : public testing::Test
{
protected:
    void readRows(const QString& directory)
    {
        const QJsonArray parameters = {
            QStringLiteral("/file/") + directory, 0, 99, 0, QJsonArray{QStringLiteral("title")}};
        EXPECT_EQ(errorCode(client.call(QStringLiteral("rows"), parameters)), 0);
    }

    TemporaryTree tree;
    SessionClient client;
};

TEST_F(ScarceMemory, MemoryOfALongListingIsReturned)
{
    constexpr int many = 120000;
    tree.addFile(QStringLiteral("few/song.mp3"));
    tree.addDirectory(QStringLiteral("many"));
    for (int i = 0; i < many; ++i)
        QFile(tree.absolute(QStringLiteral("many/%1 - the name of a song.mp3").arg(i))).open(QIODevice::WriteOnly);
    client.start({QStringLiteral("--root"), tree.root()});
    readRows(QStringLiteral("few"));
    const int before = client.program().memory("VmRSS");
    readRows(QStringLiteral("many"));
    const int taken = client.program().memory("VmHWM") - before;
    EXPECT_GT(before, 0);
    EXPECT_GT(taken, 8 * 1024);
    EXPECT_TRUE(processEventsUntil([&] { return client.program().memory("VmRSS") - before < taken / 3; }));
}

} // namespace
