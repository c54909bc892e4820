#include "content/subscriptions.h"

#include "content/content.h"
#include "content/contenthost.h"
#include "exec/workerthread.h"

#include "support/fifo.h"
#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "keptlog.h"
#include "printers.h"

#include <model/cmversion.h>
#include <tavo/tavokeys.h>

#include <QDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <limits>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

QString reset(const char* path)
{
    return CMSubscribe::RowsChangeReset() + u' ' + QString::fromUtf8(path);
}

QString closed(const char* path)
{
    return CMSubscribe::RowsChangeClose() + u' ' + QString::fromUtf8(path);
}

class SubscriptionsTest : public testing::Test
{
protected:
    SubscriptionsTest()
    {
        tree.addFile(QStringLiteral("a/b/song.mp3"));
        tree.addFile(QStringLiteral("a/notes.txt"));
        tree.addFile(QStringLiteral("top.mp3"));
        start(QString());
    }

    void start(const QString& root)
    {
        client.reset();
        host.reset();
        host = startHost(settingsFor(tree.absolute(root)));
        client = std::make_unique<Subscriber>(*host);
    }

    void startScripted()
    {
        client.reset();
        host.reset();
        HostSettings settings = settingsFor(tree.root());
        settings.moduleFile = QStringLiteral(MODULE_SCRIPTED_WORKER);
        host = startHost(settings);
    }

    [[nodiscard]] static CMPath path(const char* base) { return {QStringLiteral("file"), QString::fromUtf8(base)}; }

    [[nodiscard]] bool open(const char* base) const { return bool(client->open(path(base))); }
    [[nodiscard]] bool close(const char* base) const { return bool(client->close(path(base))); }
    [[nodiscard]] std::string openFailure(const CMPath& opened) const
    {
        const Result<void> result = client->open(opened);
        return result ? "opened" : result.failure().name.toStdString();
    }
    [[nodiscard]] std::string openFailure(const char* base) const { return openFailure(path(base)); }

    [[nodiscard]] QStringList tracked() const { return trackedBases(*host); }

    [[nodiscard]] const CMSubscribe* workersSubscribe() const
    {
        const CMSubscribe* found = nullptr;
        host->workerThread().run([&] { found = host->subscribeOf(QStringLiteral("file")); });
        return found;
    }

    TemporaryTree tree;
    std::unique_ptr<ContentHost> host;
    std::unique_ptr<Subscriber> client;
    const std::string invalidPath = TavoErrorInvalidPath().toStdString();
};

TEST_F(SubscriptionsTest, ClientHearsOfChangesOfAnOpenedDirectory)
{
    ASSERT_TRUE(open("a/b"));
    tree.addFile(QStringLiteral("a/b/new.mp3"));
    ASSERT_TRUE(client->hears(reset("/file/a/b")));
    Content::RowsQuery query;
    query.path = path("a/b");
    EXPECT_EQ(Content(*host).rows(query).value().version, client->lastVersion());
}

TEST_F(SubscriptionsTest, VersionAfterTheLargestIsOne)
{
    constexpr int largest = std::numeric_limits<int>::max();
    client.reset();
    host.reset();
    const int last = std::exchange(CMVersion::s_last, largest - 2);
    start(QString());
    CMVersion::s_last = last;
    ASSERT_TRUE(open(""));
    const auto rowsOf = [this](int version) { return Content(*host).rows({path(""), 0, 9, version, {}}); };
    EXPECT_EQ(rowsOf(largest).value().version, largest);
    tree.addFile(QStringLiteral("more.mp3"));
    ASSERT_TRUE(client->hears(reset("/file/")));
    EXPECT_EQ(client->lastVersion(), 1);
    EXPECT_EQ(rowsOf(largest).failure().name, TavoErrorInvalidRowsVersion());
    EXPECT_EQ(rowsOf(1).value().count, 3);
    client.reset();
    host.reset();
    CMVersion::s_last = last;
}

TEST_F(SubscriptionsTest, AncestorsOfAnOpenedDirectoryAreHeldToo)
{
    ASSERT_TRUE(open("a/b"));
    EXPECT_THAT(tracked(), UnorderedElementsAre(QString(""), QStringLiteral("a"), QStringLiteral("a/b")));
    ASSERT_TRUE(close("a/b"));
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SubscriptionsTest, AncestorsAreHeldAsLongAsAnyoneBelowNeedsThem)
{
    tree.addDirectory(QStringLiteral("a/c"));
    ASSERT_TRUE(open("a/b"));
    ASSERT_TRUE(open("a/c"));
    ASSERT_TRUE(open("a"));
    ASSERT_TRUE(close("a/b"));
    EXPECT_THAT(tracked(), UnorderedElementsAre(QString(""), QStringLiteral("a"), QStringLiteral("a/c")));
    ASSERT_TRUE(close("a/c"));
    EXPECT_THAT(tracked(), UnorderedElementsAre(QString(""), QStringLiteral("a")));
    ASSERT_TRUE(close("a"));
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SubscriptionsTest, AncestorsAreOpenedFirstAndClosedLast)
{
    QStringList order;
    const CMSubscribe* const subscribe = workersSubscribe();
    QObject::connect(
        subscribe, &CMSubscribe::rowsPathAdded, subscribe,
        [&order](const CMPath& added) { order.append(u'+' + added.base()); }, Qt::DirectConnection);
    QObject::connect(
        subscribe, &CMSubscribe::rowsPathRemoved, subscribe,
        [&order](const CMPath& removed) { order.append(u'-' + removed.base()); }, Qt::DirectConnection);
    ASSERT_TRUE(open("a/b"));
    ASSERT_TRUE(open("a"));
    client.reset();
    EXPECT_THAT(tracked(), IsEmpty());
    EXPECT_THAT(
        order, ElementsAre(
                   QStringLiteral("+"), QStringLiteral("+a"), QStringLiteral("+a/b"), QStringLiteral("-a/b"),
                   QStringLiteral("-a"), QStringLiteral("-")));
}

TEST_F(SubscriptionsTest, DirectoryThatVanishesBeforeTheWorkerLooksIsRefusedAndLeavesItsParentWatched)
{
    tree.addDirectory(QStringLiteral("a/c"));
    ASSERT_TRUE(open("a"));
    const CMSubscribe* const subscribe = workersSubscribe();
    const auto vanishing = QObject::connect(
        subscribe, &CMSubscribe::rowsPathAboutToBeAdded, subscribe,
        [this] { EXPECT_TRUE(QDir().rmdir(tree.absolute(QStringLiteral("a/c")))); }, Qt::DirectConnection);
    EXPECT_EQ(openFailure("a/c"), invalidPath);
    QObject::disconnect(vanishing);
    ASSERT_TRUE(client->hears(reset("/file/a")));
    client->forget();
    tree.addFile(QStringLiteral("a/new.mp3"));
    EXPECT_TRUE(client->hears(reset("/file/a")));
    EXPECT_THAT(tracked(), UnorderedElementsAre(QString(""), QStringLiteral("a")));
}

TEST_F(SubscriptionsTest, ClientHearsNothingOfAncestors)
{
    ASSERT_TRUE(open("a/b"));
    tree.addFile(QStringLiteral("a/new.mp3"));
    tree.addFile(QStringLiteral("new.mp3"));
    tree.addFile(QStringLiteral("a/b/new.mp3"));
    ASSERT_TRUE(client->hears(reset("/file/a/b")));
    EXPECT_THAT(client->heard(), testing::Each(reset("/file/a/b")));
}

TEST_F(SubscriptionsTest, ParentThatChangedMayBeOpenedLater)
{
    ASSERT_TRUE(open("a/b"));
    tree.addFile(QStringLiteral("a/new.mp3"));
    tree.addFile(QStringLiteral("a/b/new.mp3"));
    ASSERT_TRUE(client->hears(reset("/file/a/b")));
    EXPECT_TRUE(open("a"));
    EXPECT_TRUE(open(""));
}

TEST_F(SubscriptionsTest, OpeningTwiceCountsOnce)
{
    ASSERT_TRUE(open("a"));
    ASSERT_TRUE(open("a"));
    EXPECT_TRUE(close("a"));
    EXPECT_FALSE(close("a"));
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SubscriptionsTest, OnlyDirectoriesThatExistAreOpened)
{
    for (const char* base : {"missing", "top.mp3", "top.mp3/x", "a/notes.txt"})
        EXPECT_EQ(openFailure(base), invalidPath) << base;
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SubscriptionsTest, PathWithVeryManySegmentsIsInvalid)
{
    // Its ancestors together would take 500 GB.
    const QByteArray base = QByteArrayLiteral("a/").repeated(500'000) + 'a';
    EXPECT_EQ(openFailure(base.constData()), invalidPath);
}

TEST_F(SubscriptionsTest, OnlyPathsInNormalFormAreOpened)
{
    for (const char* base : {"./a", "a/.", "a/../a", "..", "a//b", "/", "a/./b", "../x"})
        EXPECT_EQ(openFailure(base), invalidPath) << base;
    EXPECT_EQ(openFailure(tree.root().toUtf8().constData()), invalidPath);
    EXPECT_EQ(openFailure(CMPath(QStringLiteral("file"), QStringLiteral("a") + QChar(0))), invalidPath);
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SubscriptionsTest, PathsOfOtherWorkersAreInvalid)
{
    for (const char* encoded : {"/other/a", "/settings/musicLibrary/albumArtWidth", "a"})
        EXPECT_EQ(openFailure(CMPath::fromEncoded(QString::fromUtf8(encoded))), invalidPath) << encoded;
}

TEST_F(SubscriptionsTest, WorkerThatThrowsFailsTheOpeningOnly)
{
    tree.addDirectory(QStringLiteral("throw"));
    startScripted();
    client = std::make_unique<Subscriber>(*host, Reach::Local, 1);
    for (int round = 0; round < 2; ++round) {
        const Result<void> opened = client->open(path("throw"));
        ASSERT_FALSE(opened);
        EXPECT_EQ(opened.failure().message.toString(), QStringLiteral("The request failed: no memory for it"));
        EXPECT_THAT(tracked(), IsEmpty());
    }
    EXPECT_FALSE(close("throw"));
    EXPECT_TRUE(open("a")) << "the failed ones do not count";
    EXPECT_THAT(tracked(), UnorderedElementsAre(QString(""), QStringLiteral("a")));
}

TEST_F(SubscriptionsTest, OpeningThatStillWaitsEndsWithTheClient)
{
    startScripted();
    int completions = 0;
    std::unique_ptr<OpenPaths> paths;
    const auto openPath = [&](const char* base) {
        paths->open(path(base), [&completions](const Result<void>&) { ++completions; });
    };
    Fifo fifo(tree.absolute(QStringLiteral("fifo")));
    std::future<Result<Content::Page>> request;
    host->workerThread().run([&] {
        paths = std::make_unique<OpenPaths>(*host, Reach::Local, 9, [](const CMPath&, const QStringList&, int) {});
        openPath("a");
        openPath("a/b");
    });
    EXPECT_EQ(completions, 2);
    request = std::async(std::launch::async, [this] { return Content(*host).rows({path("fifo")}); });
    fifo.waitForReader();
    host->workerThread().run([&] {
        // The request holds up the removal.
        host->subscribeOf(QStringLiteral("file"))->rowsChanged(path("a/b"), {CMSubscribe::RowsChangeClose()}, 0, -1);
        openPath("a/b");
        EXPECT_EQ(completions, 2);
        fifo.release();
        request.wait();
        paths.reset();
    });
    EXPECT_EQ(completions, 2);
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SubscriptionsTest, RootHasTwoSpellings)
{
    EXPECT_TRUE(open("."));
    EXPECT_TRUE(close(""));
}

TEST_F(SubscriptionsTest, DirectoryInThePlaceOfTheContextMenuIsNotOpened)
{
    tree.addDirectory(QStringLiteral("menu/context/x"));
    EXPECT_TRUE(open("menu"));
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(openFailure("menu/context"), invalidPath);
        EXPECT_EQ(openFailure("menu/context/x"), invalidPath);
    }
}

TEST_F(SubscriptionsTest, WhatIsNotOpenCannotBeClosed)
{
    EXPECT_FALSE(close("a"));
    ASSERT_TRUE(open("a/b"));
    EXPECT_FALSE(close("a")) << "held as an ancestor only";
    EXPECT_FALSE(close(""));
    const Result<void> closing = client->close(path("a"));
    EXPECT_EQ(closing.failure().kind, Failure::Kind::Refused);
    EXPECT_EQ(closing.failure().message.toString(), QStringLiteral("'/file/a' is not open"));
    EXPECT_EQ(tracked().size(), 3);
}

TEST_F(SubscriptionsTest, OneClientCannotCloseWhatAnotherHasOpen)
{
    Subscriber other(*host);
    ASSERT_TRUE(open("a"));
    EXPECT_FALSE(other.close(path("a")));
    tree.addFile(QStringLiteral("a/new.mp3"));
    EXPECT_TRUE(client->hears(reset("/file/a")));
    EXPECT_THAT(other.heard(), IsEmpty());
}

TEST_F(SubscriptionsTest, EachClientHasItsOwn)
{
    Subscriber other(*host);
    ASSERT_TRUE(open("a/b"));
    ASSERT_TRUE(other.open(path("a/b")));
    ASSERT_TRUE(close("a/b"));
    EXPECT_EQ(tracked().size(), 3);
    tree.addFile(QStringLiteral("a/b/new.mp3"));
    EXPECT_TRUE(other.hears(reset("/file/a/b")));
    EXPECT_THAT(client->heard(), IsEmpty());
}

TEST_F(SubscriptionsTest, ClientThatGoesClosesAllThatItHeld)
{
    {
        Subscriber other(*host);
        ASSERT_TRUE(other.open(path("a/b")));
        ASSERT_TRUE(other.open(path("a")));
        ASSERT_TRUE(open("a"));
    }
    EXPECT_THAT(tracked(), UnorderedElementsAre(QString(""), QStringLiteral("a")));
    client.reset();
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SubscriptionsTest, DirectoryThatGoesIsClosed)
{
    ASSERT_TRUE(open("a/b"));
    tree.remove(QStringLiteral("a/b"));
    ASSERT_TRUE(client->hears(closed("/file/a/b")));
    EXPECT_FALSE(close("a/b"));
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SubscriptionsTest, DirectoryThatGoesTakesThoseBelowAlong)
{
    ASSERT_TRUE(open("a/b"));
    ASSERT_TRUE(open("a"));
    tree.remove(QStringLiteral("a"));
    ASSERT_TRUE(client->hears(closed("/file/a/b")));
    ASSERT_TRUE(client->hears(closed("/file/a")));
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SubscriptionsTest, DirectoryThatComesBackCanBeOpenedAgain)
{
    for (int round = 0; round < 3; ++round) {
        client->forget();
        ASSERT_TRUE(open("a/b")) << round;
        tree.remove(QStringLiteral("a/b"));
        ASSERT_TRUE(client->hears(closed("/file/a/b"))) << round;
        tree.addFile(QStringLiteral("a/b/song.mp3"));
    }
}

TEST_F(SubscriptionsTest, RootThatGoesClosesEverything)
{
    tree.addFile(QStringLiteral("root/x/song.mp3"));
    start(QStringLiteral("root"));
    ASSERT_TRUE(open("x"));
    tree.remove(QStringLiteral("root"));
    ASSERT_TRUE(client->hears(closed("/file/x")));
    EXPECT_THAT(tracked(), IsEmpty());
    EXPECT_EQ(openFailure(""), invalidPath);
}

TEST_F(SubscriptionsTest, EveryThreadMayOpenAndClose)
{
    std::vector<std::future<bool>> clients;
    for (int i = 0; i < 4; ++i) {
        clients.push_back(std::async(std::launch::async, [this] {
            Subscriber own(*host);
            bool done = true;
            for (int round = 0; round < 50; ++round)
                done = own.open(path("a/b")) && own.close(path("a/b")) && done;
            return done;
        }));
    }
    for (std::future<bool>& done : clients)
        EXPECT_TRUE(done.get());
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SubscriptionsTest, CompletionsComeInTheOrderOfTheCalls)
{
    QStringList order;
    const auto note = [&order](const char* name) {
        return [&order, name](const Result<void>& result) {
            order.append(QString::fromUtf8(name) + (result ? u'+' : u'-'));
        };
    };
    client->subscriptions().open(path("a"), note("open"));
    client->subscriptions().close(path("a"), note("close"));
    client->subscriptions().close(path("a"), note("close"));
    client->subscriptions().open(path("missing"), note("open"));
    ASSERT_TRUE(open("a/b"));
    host->workerThread().run([] {});
    EXPECT_THAT(
        order,
        ElementsAre(
            QStringLiteral("open+"), QStringLiteral("close+"), QStringLiteral("close-"), QStringLiteral("open-")));
}

TEST_F(SubscriptionsTest, OneClientOpensOnlySoManyPaths)
{
    Subscriber limited(*host, Reach::Local, 2);
    ASSERT_TRUE(limited.open(path("a/b")));
    ASSERT_TRUE(limited.open(path("a")));
    EXPECT_TRUE(limited.open(path("a"))) << "it is open already";
    const Result<void> third = limited.open(path(""));
    ASSERT_FALSE(third);
    EXPECT_EQ(third.failure().message.toString(), QStringLiteral("No more than 2 paths can be open"));
    EXPECT_FALSE(limited.open(CMPath()));
    EXPECT_TRUE(open("")) << "each client has its own limit";
    ASSERT_TRUE(limited.close(path("a")));
    EXPECT_TRUE(limited.open(path("")));
}

TEST_F(SubscriptionsTest, OpeningSendsTheWorkerNothingButTheSubscription)
{
    KeptLog log("CB_Filesystem", log4cplus::TRACE_LOG_LEVEL);
    const auto countOf = [&log](const char* function) {
        const auto lines = log.lines();
        return std::count_if(lines.cbegin(), lines.cend(), [function](const KeptLog::Line& line) {
            return line.message.find(function) != std::string::npos;
        });
    };
    ASSERT_TRUE(open("a"));
    ASSERT_TRUE(close("a"));
    EXPECT_GT(countOf("subscribePathAdded"), 0);
    EXPECT_EQ(countOf("getRowsRequest"), 0);
    EXPECT_EQ(countOf("getDataRequest"), 0);
    ASSERT_TRUE(Content(*host).rows({path("a")}));
    EXPECT_GT(countOf("getRowsRequest"), 0) << "requests are logged";
}

} // namespace
