#include "prepare/preparation.h"

#include "content/contenthost.h"

#include "support/gate.h"
#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <tavo/tavokeys.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;

/// Keeps the titles of the items that it gets, and how it ended.
class KeptItems : public ItemSink
{
public:
    Result<Written> add(const QVariantList& items) override
    {
        for (const QVariant& item : items)
            titles.append(item.toHash()[QStringLiteral("title")].toString());
        if (whenAdded)
            whenAdded();
        return written;
    }
    Result<Written> finish() override
    {
        hasFinished = true;
        return written;
    }
    Result<Written> breakOff() override
    {
        hasBrokenOff = true;
        return written;
    }

    QStringList titles;
    bool hasFinished = false;
    bool hasBrokenOff = false;
    Result<Written> written = Written::All;
    std::function<void()> whenAdded;
};

class PreparationTest : public testing::Test
{
protected:
    PreparationTest()
    {
        for (int i = 0; i < 300; ++i)
            tree.addFile(QStringLiteral("a/%1.mp3").arg(i, 3, 10, QLatin1Char('0')));
        tree.addFile(QStringLiteral("b/x.mp3"));
        host = startHost(settingsFor(tree.root()));
    }

    [[nodiscard]] static CMPath path(const char* base) { return {QStringLiteral("file"), QString::fromUtf8(base)}; }

    [[nodiscard]] Result<void> run(const QVector<CMPath>& paths)
    {
        Preparation preparation(*host, Preparation::Kind::MusicLibrary, sink);
        return preparation.run(paths);
    }

    TemporaryTree tree;
    std::unique_ptr<ContentHost> host;
    KeptItems sink;
};

TEST_F(PreparationTest, PreparesEverythingInOrder)
{
    ASSERT_TRUE(run({path("b"), path("a")}));
    ASSERT_EQ(sink.titles.size(), 301);
    EXPECT_EQ(sink.titles.first(), QStringLiteral("x.mp3"));
    EXPECT_EQ(sink.titles.at(1), QStringLiteral("000.mp3"));
    EXPECT_EQ(sink.titles.last(), QStringLiteral("299.mp3"));
    EXPECT_TRUE(sink.hasFinished);
    EXPECT_FALSE(sink.hasBrokenOff);
}

TEST_F(PreparationTest, StopEndsItAndBreaksOff)
{
    Preparation preparation(*host, Preparation::Kind::MusicLibrary, sink);
    sink.whenAdded = [&preparation] { preparation.stop(); };
    ASSERT_TRUE(preparation.run({path("a"), path("b")}));
    EXPECT_LT(sink.titles.size(), 100) << "nothing is prepared after the group that was under way";
    EXPECT_TRUE(sink.hasBrokenOff);
    EXPECT_FALSE(sink.hasFinished);
}

TEST_F(PreparationTest, StopFromAnotherThreadEndsIt)
{
    Preparation preparation(*host, Preparation::Kind::MusicLibrary, sink);
    Gate begun;
    sink.whenAdded = [&begun] { begun.open(); };
    std::thread stopping([&] {
        EXPECT_TRUE(begun.wait());
        preparation.stop();
    });
    QVector<CMPath> paths;
    for (int i = 0; i < 10'000; ++i)
        paths.append(path("b"));
    EXPECT_TRUE(preparation.run(paths));
    stopping.join();
    EXPECT_TRUE(sink.hasBrokenOff);
    EXPECT_LT(sink.titles.size(), paths.size());
}

TEST_F(PreparationTest, StoppedBeforehandItPreparesNothing)
{
    Preparation preparation(*host, Preparation::Kind::PlayList, sink);
    preparation.stop();
    EXPECT_TRUE(preparation.run({path("a")}));
    EXPECT_TRUE(sink.titles.isEmpty());
    EXPECT_TRUE(sink.hasBrokenOff);
}

TEST_F(PreparationTest, ReaderThatIsGoneEndsIt)
{
    sink.written = Written::ReaderGone;
    EXPECT_TRUE(run({path("a"), path("b")}));
    EXPECT_LT(sink.titles.size(), 100);
}

TEST_F(PreparationTest, RefusalIsItsFailure)
{
    const Result<void> outside = run({path("b"), path("../x")});
    ASSERT_FALSE(outside);
    EXPECT_EQ(outside.failure().name, TavoErrorAccessViolation());
    const Result<void> foreign = run({CMPath(QStringLiteral("other"), QString())});
    ASSERT_FALSE(foreign);
    EXPECT_EQ(foreign.failure().name, TavoErrorInvalidPath());
}

TEST_F(PreparationTest, PathsOfSeveralRootsAreEachTheirWorkers)
{
    host.reset();
    HostSettings settings = settingsFor(tree.absolute(QStringLiteral("b")));
    settings.roots.push_back(rootFor(QStringLiteral("other"), tree.absolute(QStringLiteral("a"))));
    host = startHost(settings);
    ASSERT_TRUE(run(
        {CMPath(QStringLiteral("other"), QStringLiteral("001.mp3")), path("x.mp3"),
         CMPath(QStringLiteral("other"), QStringLiteral("002.mp3"))}));
    EXPECT_THAT(
        sink.titles, ElementsAre(QStringLiteral("001.mp3"), QStringLiteral("x.mp3"), QStringLiteral("002.mp3")));
}

} // namespace
