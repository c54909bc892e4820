#include "fileworkertest.h"
#include "versionmutexhook.h"

#include <atomic>
#include <limits>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;
using Counts = QHash<QString, int>;
using Record = CMFileWorkerInspector::Record;

class Watches : public FileWorkerTest
{
protected:
    Watches()
    {
        tree.addDirectory("D/E");
        tree.addDirectory("D/F");
    }
    ~Watches() override { VersionMutexHook::reset(); }

    /// The paths that the platform's watcher watches.
    [[nodiscard]] std::vector<QString> watched() const
    {
        const QStringList paths = inside.watcher()->directories() + inside.watcher()->files();
        return {paths.cbegin(), paths.cend()};
    }

    [[nodiscard]] QString above() const { return QFileInfo(tree.root()).path(); }

    const QString d = tree.path("D");
    const QString e = tree.path("D/E");
    const QString f = tree.path("D/F");
};

TEST_F(Watches, OpeningRecordsADirectoryThatWasNeverListed)
{
    const int version = inside.rowsVersion();
    open("D/E");
    EXPECT_EQ(inside.record(e), (Record{-1, version + 1}));
    EXPECT_EQ(inside.rowsVersion(), version + 1);
    EXPECT_EQ(inside.recordCount(), 1);
}

TEST_F(Watches, OpeningWatchesTheDirectoryAndTheOneAbove)
{
    open("D/E");
    EXPECT_EQ(inside.watchCounts(), (Counts{{e, 1}, {d, 1}}));
    EXPECT_THAT(watched(), UnorderedElementsAre(e, d));
}

TEST_F(Watches, EachOpeningRenewsTheVersion)
{
    open("D/E");
    open("D/F");
    EXPECT_EQ(inside.record(f).version, inside.record(e).version + 1);
}

TEST_F(Watches, SiblingsShareTheWatchOfTheirParent)
{
    open("D/E");
    open("D/F");
    EXPECT_EQ(inside.watchCounts(), (Counts{{e, 1}, {f, 1}, {d, 2}}));
    EXPECT_THAT(watched(), UnorderedElementsAre(e, f, d));
    close("D/E");
    EXPECT_EQ(inside.watchCounts(), (Counts{{f, 1}, {d, 1}}));
    EXPECT_THAT(watched(), UnorderedElementsAre(f, d));
    close("D/F");
    EXPECT_EQ(inside.watchCounts(), Counts());
    EXPECT_THAT(watched(), testing::IsEmpty());
}

TEST_F(Watches, AnOpenedParentHoldsItsWatchTwice)
{
    open("D/E");
    open("D");
    EXPECT_EQ(inside.watchCounts(), (Counts{{d, 2}, {e, 1}, {tree.root(), 1}}));
    close("D/E");
    EXPECT_EQ(inside.watchCounts(), (Counts{{d, 1}, {tree.root(), 1}}));
    EXPECT_THAT(watched(), UnorderedElementsAre(d, tree.root()));
}

TEST_F(Watches, OpeningTheRootWatchesTheDirectoryAboveToo)
{
    open("");
    EXPECT_TRUE(inside.hasRecord(tree.root()));
    EXPECT_THAT(watched(), UnorderedElementsAre(tree.root(), above()));
}

TEST_F(Watches, OpeningADirectoryBelowTheSystemsRootWatchesThatRoot)
{
    const std::unique_ptr<CMFileWorker> atTop = makeFileWorker(fileConfiguration("/"));
    Q_EMIT atTop->subscribe()->rowsPathAdded(atTop->addPrefix("usr"));
    EXPECT_EQ(CMFileWorkerInspector(*atTop).watchCounts(), (Counts{{"/usr", 1}, {"/", 1}}));
}

TEST_F(Watches, AFileCanBeOpenedToo)
{
    tree.addFile("D/x.mp3");
    open("D/x.mp3");
    EXPECT_TRUE(inside.hasRecord(tree.path("D/x.mp3")));
    EXPECT_EQ(inside.watcher()->files(), QStringList{tree.path("D/x.mp3")});
}

TEST_F(Watches, RecordsAreKeptByTheJoinedPath)
{
    open("D/../D/E");
    EXPECT_TRUE(inside.hasRecord(tree.path("D/../D/E")));
    EXPECT_EQ(inside.watchCounts(), (Counts{{tree.path("D/../D/E"), 1}, {d, 1}}));
    close("D/../D/E");
    EXPECT_EQ(inside.recordCount(), 0);
    EXPECT_EQ(inside.watchCounts(), Counts());
}

TEST_F(Watches, OpeningOutsideTheRootIsIgnored)
{
    const int version = inside.rowsVersion();
    open(above());
    open("/etc");
    EXPECT_EQ(inside.recordCount(), 0);
    EXPECT_EQ(inside.watchCounts(), Counts());
    EXPECT_EQ(inside.rowsVersion(), version);
    EXPECT_TRUE(isUnlocked());
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entryLine(Signature::subscribePathAdded, worker->addPrefix(above()).toEncoded()),
                         entryLine(Signature::subscribePathAdded, "/file//etc")));
}

TEST_F(Watches, OpeningAMissingPathIsIgnored)
{
    const int version = inside.rowsVersion();
    open("missing");
    EXPECT_EQ(inside.recordCount(), 0);
    EXPECT_EQ(inside.watchCounts(), Counts());
    EXPECT_EQ(inside.rowsVersion(), version);
    EXPECT_TRUE(isUnlocked());
    EXPECT_THAT(log.lines(), ElementsAre(entryLine(Signature::subscribePathAdded, "/file/missing")));
}

TEST_F(Watches, OpeningAForbiddenDirectoryIsIgnored)
{
    tree.forbid("D/E");
    const WithoutPrivileges unprivileged;
    open("D/E");
    EXPECT_EQ(inside.recordCount(), 0);
    EXPECT_EQ(inside.watchCounts(), Counts());
    EXPECT_THAT(log.lines(), ElementsAre(entryLine(Signature::subscribePathAdded, "/file/D/E")));
}

TEST_F(Watches, OpeningIsLoggedStepByStep)
{
    open("D/E");
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entryLine(Signature::subscribePathAdded, "/file/D/E"),
                         entryLine(Signature::addWatch, "Adding watch on " + e),
                         traceLine(Signature::addWatch, "Added watch #1 on " + e),
                         entryLine(Signature::addWatch, "Adding watch on " + d),
                         traceLine(Signature::addWatch, "Added watch #1 on " + d),
                         infoLine(Signature::subscribePathAdded, "Added subscribe path " + e + " and parent " + d)));
}

TEST_F(Watches, ClosingIsLoggedStepByStep)
{
    open("D/E");
    open("D/F");
    log.clear();
    close("D/E");
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entryLine(Signature::subscribePathRemoved, "/file/D/E"),
                         entryLine(Signature::removeWatch, "Removing watch #1 on " + e),
                         entryLine(Signature::removeWatch, "Removing watch #2 on " + d),
                         infoLine(Signature::subscribePathRemoved, "Removed subscribe path " + e)));
}

TEST_F(Watches, AboveTraceOnlyTheInformationIsWritten)
{
    log.setLevel(log4cplus::DEBUG_LOG_LEVEL);
    open("D/E");
    close("D/E");
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         infoLine(Signature::subscribePathAdded, "Added subscribe path " + e + " and parent " + d),
                         infoLine(Signature::subscribePathRemoved, "Removed subscribe path " + e)));
    log.clear();
    log.setLevel(log4cplus::WARN_LOG_LEVEL);
    open("D/E");
    close("D/E");
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(Watches, ClosingForgetsTheRecordAndKeepsTheVersion)
{
    open("D/E");
    open("D/F");
    const int version = inside.rowsVersion();
    close("D/E");
    EXPECT_FALSE(inside.hasRecord(e));
    EXPECT_TRUE(inside.hasRecord(f));
    EXPECT_EQ(inside.rowsVersion(), version);
}

TEST_F(Watches, ClosingAPathWhoseOpeningWasRefusedStillReleases)
{
    open("D/E");
    tree.remove("D/F");
    open("D/F");
    EXPECT_EQ(inside.watchCounts(), (Counts{{e, 1}, {d, 1}}));
    close("D/F");
    EXPECT_EQ(inside.watchCounts(), (Counts{{e, 1}}));
    EXPECT_THAT(watched(), ElementsAre(e));
}

TEST_F(Watches, ClosingOutsideTheRootStillReleases)
{
    open("");
    close(above() + "/x");
    EXPECT_EQ(inside.watchCounts(), (Counts{{tree.root(), 1}}));
}

TEST_F(Watches, ADirectoryCanBeOpenedAgain)
{
    open("D/E");
    close("D/E");
    const int version = inside.rowsVersion();
    open("D/E");
    EXPECT_EQ(inside.record(e), (Record{-1, version + 1}));
    EXPECT_THAT(watched(), UnorderedElementsAre(e, d));
}

TEST_F(Watches, AContextMenuIsNotTracked)
{
    tree.addDirectory("menu/x");
    tree.addDirectory("menus");
    inside.contextMenuPath() = worker->addPrefix(tree.path("menu"));
    const int version = inside.rowsVersion();
    for (const char* path : {"menu", "menu/x", "menus"}) {
        log.clear();
        open(path);
        EXPECT_THAT(
            log.lines(), ElementsAre(
                             entryLine(Signature::subscribePathAdded, worker->addPrefix(path).toEncoded()),
                             debugLine(Signature::subscribePathAdded, "TODO: keep track of opened context menus")));
    }
    EXPECT_EQ(inside.recordCount(), 0);
    EXPECT_EQ(inside.watchCounts(), Counts());
    EXPECT_EQ(inside.rowsVersion(), version);
    EXPECT_TRUE(isUnlocked());
}

TEST_F(Watches, OpeningAMissingContextMenuIsIgnoredWithoutALine)
{
    inside.contextMenuPath() = worker->addPrefix(tree.path("menu"));
    open("menu/missing");
    EXPECT_THAT(log.lines(), ElementsAre(entryLine(Signature::subscribePathAdded, "/file/menu/missing")));
}

TEST_F(Watches, TheContextMenuIsRecognisedByTheTextOfItsBase)
{
    tree.addDirectory("MENU");
    inside.contextMenuPath() = CMPath("other", tree.path("menu"));
    open("MENU");
    EXPECT_TRUE(inside.hasRecord(tree.path("MENU")));
}

TEST_F(Watches, ADirectoryNamedLikeTheContextMenuIsTrackedAndNeverReleased)
{
    tree.addDirectory("menu/context");
    open("menu/context");
    EXPECT_TRUE(inside.hasRecord(tree.path("menu/context")));
    close("menu/context");
    EXPECT_TRUE(inside.hasRecord(tree.path("menu/context")));
    EXPECT_EQ(inside.watchCounts().size(), 2);
}

TEST_F(Watches, ClosingAContextMenuDoesNothingAndNeedsNoLock)
{
    inside.mutex().lock();
    std::thread([this] { close("menu/context//file/D"); }).join();
    inside.mutex().unlock();
    EXPECT_THAT(
        log.lines(),
        ElementsAre(entryLine(Signature::subscribePathRemoved, worker->addPrefix("menu/context//file/D").toEncoded())));
}

TEST_F(Watches, ClosingTakesWholeSegmentsForTheContextMenu)
{
    tree.addDirectory("menu/contextual");
    open("menu/contextual");
    close("menu/contextual");
    EXPECT_EQ(inside.recordCount(), 0);
    EXPECT_EQ(inside.watchCounts(), Counts());
}

TEST_F(Watches, AddingASharedWatchLeavesTheWatcherAlone)
{
    inside.addWatch(d);
    inside.watcher()->removePath(d);
    log.clear();
    inside.addWatch(d);
    EXPECT_EQ(inside.watchCounts(), (Counts{{d, 2}}));
    EXPECT_THAT(watched(), testing::IsEmpty());
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entryLine(Signature::addWatch, "Adding watch on " + d),
                         traceLine(Signature::addWatch, "Added watch #2 on " + d)));
}

TEST_F(Watches, AddingStartsAnewAtACountOfZero)
{
    inside.watchCounts()[d] = 0;
    inside.addWatch(d);
    EXPECT_EQ(inside.watchCounts(), (Counts{{d, 1}}));
    EXPECT_THAT(watched(), ElementsAre(d));
}

TEST_F(Watches, PathsThatTheWatcherRefusesAreCounted)
{
    inside.addWatch("/missing");
    inside.addWatch("/missing");
    EXPECT_EQ(inside.watchCounts(), (Counts{{"/missing", 2}}));
    EXPECT_THAT(watched(), testing::IsEmpty());
}

TEST_F(Watches, RemovingASharedWatchLeavesTheWatcherAlone)
{
    inside.addWatch(d);
    inside.addWatch(d);
    inside.removeWatch(d);
    EXPECT_EQ(inside.watchCounts(), (Counts{{d, 1}}));
    EXPECT_THAT(watched(), ElementsAre(d));
}

TEST_F(Watches, RemovingTheLastShareEndsTheWatch)
{
    inside.addWatch(d);
    inside.removeWatch(d);
    EXPECT_EQ(inside.watchCounts(), Counts());
    EXPECT_THAT(watched(), testing::IsEmpty());
}

TEST_F(Watches, RemovingAnUnknownWatchReachesTheWatcherAndKeepsTheCounts)
{
    inside.addWatch(e);
    inside.watcher()->addPath(d);
    log.clear();
    inside.removeWatch(d);
    EXPECT_EQ(inside.watchCounts(), (Counts{{e, 1}}));
    EXPECT_THAT(watched(), ElementsAre(e));
    EXPECT_THAT(log.lines(), ElementsAre(entryLine(Signature::removeWatch, "Removing watch #0 on " + d)));
}

TEST_F(Watches, RemovingAnUnknownWatchIsTheSameWithoutItsLine)
{
    log.setLevel(log4cplus::DEBUG_LOG_LEVEL);
    inside.watcher()->addPath(d);
    inside.removeWatch(d);
    EXPECT_EQ(inside.watchCounts(), Counts());
    EXPECT_THAT(watched(), testing::IsEmpty());
}

TEST_F(Watches, RemovingAtACountOfZeroEndsTheWatch)
{
    inside.watcher()->addPath(d);
    inside.watchCounts()[d] = 0;
    inside.removeWatch(d);
    EXPECT_EQ(inside.watchCounts(), Counts());
    EXPECT_THAT(watched(), testing::IsEmpty());
}

TEST_F(Watches, AddingAndRemovingTakeNoLockOfTheirOwn)
{
    inside.mutex().lock();
    std::thread([this] {
        inside.addWatch(d);
        inside.removeWatch(d);
    }).join();
    inside.mutex().unlock();
    EXPECT_EQ(log.lines().size(), 3U);
}

TEST_F(Watches, TheLargestVersionIsFollowedByOne)
{
    inside.rowsVersion() = std::numeric_limits<int>::max() - 1;
    open("D/E");
    EXPECT_EQ(inside.record(e).version, std::numeric_limits<int>::max());
    open("D/F");
    EXPECT_EQ(inside.record(f).version, 1);
    EXPECT_EQ(inside.rowsVersion(), 1);
}

TEST_F(Watches, ANegativeVersionIsFollowedByOne)
{
    inside.rowsVersion() = -5;
    open("D/E");
    EXPECT_EQ(inside.record(e).version, 1);
    inside.rowsVersion() = -1;
    open("D/F");
    EXPECT_EQ(inside.record(f).version, 0);
}

TEST_F(Watches, VersionsAreRenewedUnderBothMutexes)
{
    std::atomic<bool> asked = false;
    bool locked = false;
    bool waited = false;
    const int version = inside.rowsVersion();
    VersionMutexHook::mutex->lock();
    VersionMutexHook::beforeHandingOut = [&] {
        locked = !isUnlocked();
        asked = true;
    };
    std::thread opener([&] { open("D/E"); });
    EXPECT_TRUE(processEventsUntil([&] { return asked.load(); }));
    waited = inside.rowsVersion() == version;
    VersionMutexHook::mutex->unlock();
    opener.join();
    EXPECT_TRUE(locked);
    EXPECT_TRUE(waited);
    EXPECT_EQ(inside.rowsVersion(), version + 1);
    EXPECT_TRUE(isUnlockedMutex(*VersionMutexHook::mutex));
}

TEST_F(Watches, WithoutAVersionMutexVersionsAreStillRenewed)
{
    VersionMutexHook::mutex = nullptr;
    const int version = inside.rowsVersion();
    open("D/E");
    EXPECT_EQ(inside.record(e).version, version + 1);
    inside.rowsVersion() = std::numeric_limits<int>::max();
    open("D/F");
    EXPECT_EQ(inside.record(f).version, 1);
}

TEST_F(Watches, TheLockIsHeldFromTheEntryLineOn)
{
    std::vector<bool> held;
    std::vector<bool> versionHeld;
    log.setObserver([&](const LogCapture::Written& /*line*/) {
        held.push_back(!isUnlocked());
        versionHeld.push_back(!isUnlockedMutex(*VersionMutexHook::mutex));
    });
    open("D/E");
    EXPECT_THAT(held, ElementsAre(false, true, true, true, true, true));
    EXPECT_THAT(versionHeld, testing::Each(false));
    held.clear();
    close("D/E");
    EXPECT_THAT(held, ElementsAre(false, true, true, true));
    EXPECT_TRUE(isUnlocked());
    log.setObserver(nullptr);
}

class WatchesDeathTest : public Watches
{
};

TEST_F(WatchesDeathTest, OpeningAnOpenDirectoryEndsTheProcess)
{
    open("D/E");
    EXPECT_DEATH(open("D/E"), "ASSERT: \"!m_cache.contains\\(absolutePath\\)\"");
}

TEST_F(WatchesDeathTest, OpeningTheChangedParentOfAnOpenDirectoryEndsTheProcess)
{
    open("D/E");
    inside.onWatcherChanged(d);
    EXPECT_DEATH(open("D"), "ASSERT: \"!m_cache.contains\\(absolutePath\\)\"");
}

} // namespace
