#include "changerecorder.h"
#include "fileworkertest.h"
#include "model/cmroot.h"
#include "rowschangedhook.h"
#include "versionmutexhook.h"

#include <QCoreApplication>
#include <QSemaphore>

#include <algorithm>
#include <limits>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;
using Counts = QHash<QString, int>;
using Record = CMFileWorkerInspector::Record;

class Changes : public FileWorkerTest
{
protected:
    Changes()
    {
        tree.addDirectory("D/E");
        tree.addFile("D/1.mp3");
        tree.addFile("D/no.txt");
        RowsChangedHook::reset();
    }
    ~Changes() override
    {
        RowsChangedHook::reset();
        VersionMutexHook::reset();
    }

    [[nodiscard]] CMPath path(const QString& base) const { return worker->addPrefix(base); }
    /// Makes the recorder a client of the path.
    void subscribe(const QString& base) { ASSERT_TRUE(worker->connectChange(path(base), &client)); }
    /// Suppresses the notifications of the platform's watcher.
    void silenceWatcher() { inside.watcher()->blockSignals(true); }

    ChangeRecorder client;
    const QString d = tree.path("D");
    const QString e = tree.path("D/E");
};

TEST_F(Changes, OfADirectoryRewriteItsRecordAndResetItsRows)
{
    inside.setRecord(d, 9, 5);
    const int version = inside.rowsVersion();
    inside.watcherChanged(d, {"a", "b", "c"});
    EXPECT_EQ(inside.record(d), (Record{3, version + 1}));
    EXPECT_EQ(inside.rowsVersion(), version + 1);
    EXPECT_THAT(RowsChangedHook::calls, ElementsAre(resetOf(path("D"), version + 1)));
}

TEST_F(Changes, OfADirectoryThatIsNotOpenRecordItToo)
{
    const int version = inside.rowsVersion();
    inside.watcherChanged(d, {"a"});
    EXPECT_EQ(inside.record(d), (Record{1, version + 1}));
    EXPECT_EQ(inside.watchCounts(), Counts());
    EXPECT_THAT(RowsChangedHook::calls, ElementsAre(resetOf(path("D"), version + 1)));
}

TEST_F(Changes, WithoutEffectAreResetsToo)
{
    inside.onWatcherChanged(d);
    inside.onWatcherChanged(d);
    EXPECT_EQ(RowsChangedHook::calls.size(), 2U);
    EXPECT_EQ(RowsChangedHook::calls[1].version, RowsChangedHook::calls[0].version + 1);
}

TEST_F(Changes, AreCountedByTheListing)
{
    inside.onWatcherChanged(d);
    EXPECT_EQ(inside.record(d).rowCount, 2);
}

TEST_F(Changes, OfTheRootAreThoseOfTheEmptyPath)
{
    inside.onWatcherChanged(tree.root());
    EXPECT_THAT(
        RowsChangedHook::calls,
        ElementsAre(resetOf(path(QDir(tree.root()).relativeFilePath(tree.root())), inside.rowsVersion())));
    EXPECT_EQ(RowsChangedHook::calls[0].path, path(""));
}

TEST_F(Changes, OfADirectoryAreLoggedStepByStep)
{
    inside.watcherChanged(d, {});
    const auto& signature = Signature::watcherChanged;
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            entryLine(signature), infoLine(signature, "Changed " + d), traceLine(signature, "  Dir exists " + d),
            traceLine(signature, "    looking for subdirs of /file/D"),
            traceLine(signature, "    will check subpaths: (/file/D)"), traceLine(signature, "      checking  D"),
            traceLine(signature, "  Issuing  changes: 'reset' for /file/D")));
}

TEST_F(Changes, OfAMissingDirectoryForgetItsRecordAndCloseItsRows)
{
    inside.setRecord(tree.path("gone"), 4, 5);
    inside.watchCounts() = {{tree.path("gone"), 1}};
    const int version = inside.rowsVersion();
    inside.watcherChanged(tree.path("gone"), {});
    EXPECT_EQ(inside.recordCount(), 0);
    EXPECT_EQ(inside.watchCounts(), (Counts{{tree.path("gone"), 1}}));
    EXPECT_THAT(RowsChangedHook::calls, ElementsAre(closeOf(path("gone"), version + 1)));
    const auto& signature = Signature::watcherChanged;
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entryLine(signature), infoLine(signature, "Changed " + tree.path("gone")),
                         traceLine(signature, "  Deleted from filesystem: " + tree.path("gone")),
                         traceLine(signature, "  Issuing  changes: 'close' for /file/gone")));
}

TEST_F(Changes, OfAMissingDirectoryWithoutARecordIssueNothingButAdvanceTheVersion)
{
    inside.setRecord(d, 4, 5);
    const int version = inside.rowsVersion();
    inside.watcherChanged(tree.path("gone"), {"a"});
    EXPECT_EQ(inside.rowsVersion(), version + 1);
    EXPECT_EQ(inside.recordCount(), 1);
    EXPECT_EQ(inside.record(d), (Record{4, 5}));
    EXPECT_THAT(RowsChangedHook::calls, testing::IsEmpty());
    EXPECT_TRUE(isUnlocked());
    const auto& signature = Signature::watcherChanged;
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entryLine(signature), infoLine(signature, "Changed " + tree.path("gone")),
                         traceLine(signature, "  Deleted from filesystem and already removed: " + tree.path("gone"))));
}

TEST_F(Changes, OfAFileAreThoseOfAMissingDirectory)
{
    inside.setRecord(tree.path("D/1.mp3"), 0, 5);
    inside.onWatcherChanged(tree.path("D/1.mp3"));
    EXPECT_THAT(RowsChangedHook::calls, ElementsAre(closeOf(path("D/1.mp3"), inside.rowsVersion())));
}

TEST_F(Changes, AboveTraceOnlyTheInformationIsWritten)
{
    log.setLevel(log4cplus::INFO_LOG_LEVEL);
    inside.onWatcherChanged(d);
    inside.onWatcherChanged(tree.path("gone"));
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         infoLine(Signature::watcherChanged, "Changed " + d),
                         infoLine(Signature::watcherChanged, "Changed " + tree.path("gone"))));
}

TEST_F(Changes, ListTheDirectoryBeforeTheyAreDetected)
{
    inside.onWatcherChanged(d);
    const std::vector<LogLine> lines = log.lines();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[0], entryLine(Signature::entryList, "dir:" + d + "path:" + d));
    EXPECT_THAT(lines, testing::Contains(entryLine(Signature::watcherChanged)));
    for (const LogLine& line : lines)
        EXPECT_EQ(line.function.find("on_watcherChanged"), std::string::npos) << line;
}

TEST_F(Changes, OfAForbiddenDirectoryCountNoRows)
{
    tree.forbid("D");
    const WithoutPrivileges unprivileged;
    inside.onWatcherChanged(d);
    EXPECT_EQ(inside.record(d), (Record{0, inside.rowsVersion()}));
    EXPECT_THAT(RowsChangedHook::calls, ElementsAre(resetOf(path("D"), inside.rowsVersion())));
}

TEST_F(Changes, AboveTheRootCountNoRowsAndResetAPathThatClimbs)
{
    const QString above = QFileInfo(tree.root()).path();
    open("");
    inside.onWatcherChanged(above);
    EXPECT_EQ(inside.record(above), (Record{0, inside.rowsVersion()}));
    EXPECT_THAT(RowsChangedHook::calls, ElementsAre(resetOf(path(".."), inside.rowsVersion())));
}

TEST_F(Changes, TheLargestVersionIsFollowedByOne)
{
    inside.rowsVersion() = std::numeric_limits<int>::max();
    inside.onWatcherChanged(d);
    EXPECT_EQ(inside.record(d).version, 1);
    EXPECT_THAT(RowsChangedHook::calls, ElementsAre(resetOf(path("D"), 1)));
}

TEST_F(Changes, AreHandledUnderTheLockAndAnnouncedWithoutIt)
{
    std::vector<bool> held;
    log.setObserver([&](const LogCapture::Written& /*line*/) { held.push_back(!isUnlocked()); });
    bool heldWhenAnnounced = true;
    RowsChangedHook::whileCalled = [&] { heldWhenAnnounced = !isUnlocked(); };
    inside.watcherChanged(d, {});
    EXPECT_THAT(held, ElementsAre(false, false, true, true, true, true, false));
    EXPECT_FALSE(heldWhenAnnounced);
    held.clear();
    inside.watcherChanged(tree.path("gone"), {});
    EXPECT_THAT(held, ElementsAre(false, false, true));
    log.setObserver(nullptr);
}

TEST_F(Changes, RenewTheVersionUnderBothMutexes)
{
    bool held = false;
    VersionMutexHook::beforeHandingOut = [&] { held = !isUnlocked(); };
    bool versionHeld = true;
    RowsChangedHook::whileCalled = [&] { versionHeld = !isUnlockedMutex(*VersionMutexHook::mutex); };
    inside.watcherChanged(d, {});
    EXPECT_TRUE(held);
    EXPECT_FALSE(versionHeld);
}

TEST_F(Changes, AreLoggedBeforeTheyAreAnnounced)
{
    int linesWhenAnnounced = 0;
    RowsChangedHook::whileCalled = [&] { linesWhenAnnounced = static_cast<int>(log.lines().size()); };
    inside.watcherChanged(d, {});
    EXPECT_EQ(linesWhenAnnounced, static_cast<int>(log.lines().size()));
}

TEST_F(Changes, ThatARowsRequestFindsAreAnnouncedUnderItsLock)
{
    inside.setRecord(d, 9, 5);
    bool held = false;
    RowsChangedHook::whileCalled = [&] { held = !isUnlocked(); };
    static_cast<void>(rows("D"));
    EXPECT_TRUE(held);
    EXPECT_TRUE(isUnlocked());
    EXPECT_THAT(RowsChangedHook::calls, ElementsAre(resetOf(path("D"), inside.rowsVersion())));
}

class ChangesBelow : public Changes
{
protected:
    ChangesBelow()
    {
        tree.addDirectory("D/F");
        tree.addDirectory("D2");
        silenceWatcher();
        for (const char* base : {"", "D", "D/E", "D/F", "D2"})
            subscribe(base);
        log.clear();
    }

    [[nodiscard]] int checked(const QString& base) const { return log.count("      checking  " + base); }
};

TEST_F(ChangesBelow, EverySubscribedPathBelowIsLookedAtOnce)
{
    inside.onWatcherChanged(d);
    EXPECT_EQ(checked("D"), 1);
    EXPECT_EQ(checked("D/E"), 1);
    EXPECT_EQ(checked("D/F"), 1);
    EXPECT_EQ(checked("D2"), 0);
    EXPECT_EQ(checked(""), 0);
}

TEST_F(ChangesBelow, TheSetIsLoggedInTheOrderInWhichItIsLookedAt)
{
    inside.onWatcherChanged(d);
    std::string set = "    will check subpaths: (";
    std::string separator;
    for (const LogLine& line : log.lines()) {
        if (line.text.rfind("      checking  ", 0) == 0) {
            set += separator + "/file/" + line.text.substr(16);
            separator = ", ";
        }
    }
    EXPECT_EQ(log.count(QString::fromStdString(set + ')')), 1);
}

TEST_F(ChangesBelow, ThoseOfTheRootAreAll)
{
    inside.onWatcherChanged(tree.root());
    for (const char* base : {"", "D", "D/E", "D/F", "D2"})
        EXPECT_EQ(checked(base), 1) << base;
}

TEST_F(ChangesBelow, AMissingOneIsMadeToLookChanged)
{
    tree.remove("D/E");
    QStringList faked;
    bool held = false;
    QObject::connect(worker.get(), &CMFileWorker::fakeDirectoryChanged, [&](const QString& changed) {
        faked.append(changed);
        held = !isUnlocked();
    });
    inside.onWatcherChanged(d);
    EXPECT_EQ(faked, QStringList{e});
    EXPECT_TRUE(held);
    const auto& signature = Signature::watcherChanged;
    const std::vector<LogLine> lines = log.linesOf(signature);
    const auto line = std::find(lines.cbegin(), lines.cend(), traceLine(signature, "      checking  D/E"));
    ASSERT_LT(line + 1, lines.cend());
    EXPECT_EQ(line[1], traceLine(signature, "        emulating dirChanged on 'D/E' because it was deleted"));
}

TEST_F(ChangesBelow, AMissingOneIsClosedAfterTheParentsReset)
{
    tree.remove("D/E");
    const int version = inside.rowsVersion();
    inside.onWatcherChanged(d);
    EXPECT_THAT(RowsChangedHook::calls, ElementsAre(resetOf(path("D"), version + 1)));
    EXPECT_TRUE(inside.hasRecord(e));
    QCoreApplication::sendPostedEvents(worker.get(), QEvent::MetaCall);
    EXPECT_THAT(
        RowsChangedHook::calls, ElementsAre(resetOf(path("D"), version + 1), closeOf(path("D/E"), version + 2)));
    EXPECT_FALSE(inside.hasRecord(e));
}

TEST_F(ChangesBelow, NothingIsEmulatedWhereAllIsThere)
{
    inside.onWatcherChanged(tree.root());
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(RowsChangedHook::calls.size(), 1U);
}

TEST_F(ChangesBelow, NothingIsEmulatedForADirectoryThatHasBecomeAFile)
{
    tree.remove("D/E");
    tree.addFile("D/E");
    inside.onWatcherChanged(d);
    QCoreApplication::sendPostedEvents();
    EXPECT_THAT(RowsChangedHook::calls, ElementsAre(resetOf(path("D"), inside.rowsVersion())));
    EXPECT_TRUE(inside.hasRecord(e));
}

TEST_F(ChangesBelow, AMissingDirectoryItselfIsNotLookedBelow)
{
    tree.remove("D");
    inside.onWatcherChanged(d);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(checked("D/E"), 0);
    EXPECT_THAT(RowsChangedHook::calls, ElementsAre(closeOf(path("D"), inside.rowsVersion())));
}

/// With the platform's own watcher.
class WatchedChanges : public Changes
{
protected:
    WatchedChanges()
    {
        subscribe("D");
        static_cast<void>(rows("D"));
    }

    /// Waits until the client has been notified of the path with this code.
    [[nodiscard]] bool waitForOne(const QString& base, const QString& code) const
    {
        return processEventsUntil([&] { return client.count(path(base), code) > 0; });
    }

    /// Delivers all notifications that are pending in the kernel: the one for the last change comes last.
    [[nodiscard]] bool waitForQuiet()
    {
        FileTree other;
        bool notified = false;
        inside.watcher()->addPath(other.root());
        QObject::connect(inside.watcher(), &QFileSystemWatcher::directoryChanged, [&](const QString& changed) {
            notified = notified || changed == other.root();
        });
        other.addFile("x");
        const bool quiet = processEventsUntil([&] { return notified; });
        QCoreApplication::sendPostedEvents();
        return quiet;
    }

    const QString reset = CMSubscribe::RowsChangeReset();
    const QString gone = CMSubscribe::RowsChangeClose();
};

TEST_F(WatchedChanges, AnAddedFileIsOneResetOneVersionHigher)
{
    const int version = inside.rowsVersion();
    tree.addFile("D/2.mp3");
    ASSERT_TRUE(waitForOne("D", reset));
    ASSERT_EQ(client.received.size(), 1U);
    EXPECT_EQ(client.received[0].version, version + 1);
    EXPECT_EQ(inside.record(d), (Record{3, version + 1}));
    ASSERT_TRUE(waitForQuiet());
    EXPECT_EQ(client.received.size(), 1U);
}

TEST_F(WatchedChanges, ARemovedFileIsOneResetOneVersionHigher)
{
    const int version = inside.rowsVersion();
    tree.remove("D/1.mp3");
    ASSERT_TRUE(waitForOne("D", reset));
    ASSERT_EQ(client.received.size(), 1U);
    EXPECT_EQ(client.received[0].version, version + 1);
    EXPECT_EQ(inside.record(d), (Record{1, version + 1}));
    ASSERT_TRUE(waitForQuiet());
    EXPECT_EQ(client.received.size(), 1U);
}

TEST_F(WatchedChanges, AfterAResetTheOldVersionIsRefusedAndTheNewOneServed)
{
    const int version = rows("D").value().rowsVersion();
    tree.addFile("D/2.mp3");
    ASSERT_TRUE(waitForOne("D", reset));
    EXPECT_TRUE(rows("D", 0, 9, version).isError());
    const TavoRowsRoles page = rows("D", 0, 9, client.received[0].version).value();
    EXPECT_EQ(firstColumn(page), (QVariantList{"E", "1.mp3", "2.mp3"}));
}

TEST_F(WatchedChanges, ARemovedDirectoryAndItsSubdirectoryAreClosedOnceEach)
{
    open("D/E");
    RowsChangedHook::calls.clear();
    tree.remove("D");
    ASSERT_TRUE(processEventsUntil([&] { return !inside.hasRecord(d) && !inside.hasRecord(e); }));
    ASSERT_TRUE(waitForQuiet());
    int closes = 0;
    int closesBelow = 0;
    for (const RowsChangedHook::Call& call : RowsChangedHook::calls) {
        closes += call == closeOf(path("D"), call.version) ? 1 : 0;
        closesBelow += call == closeOf(path("D/E"), call.version) ? 1 : 0;
    }
    EXPECT_EQ(closes, 1);
    EXPECT_EQ(closesBelow, 1);

    const size_t before = RowsChangedHook::calls.size();
    const QString text = "  Deleted from filesystem and already removed: " + d;
    const int already = log.count(text);
    inside.onWatcherChanged(d);
    EXPECT_EQ(log.count(text), already + 1);
    EXPECT_EQ(RowsChangedHook::calls.size(), before);
}

TEST_F(WatchedChanges, ClientsOfARemovedDirectoryAndItsSubdirectoryAreNotifiedOnceEach)
{
    subscribe("D/E");
    tree.remove("D");
    ASSERT_TRUE(waitForOne("D", gone));
    ASSERT_TRUE(waitForOne("D/E", gone));
    ASSERT_TRUE(waitForQuiet());
    EXPECT_EQ(client.count(path("D"), gone), 1);
    EXPECT_EQ(client.count(path("D/E"), gone), 1);
    EXPECT_TRUE(processEventsUntil([&] { return inside.watchCounts().isEmpty(); }));
    EXPECT_FALSE(inside.hasRecord(d));
    EXPECT_FALSE(inside.hasRecord(e));
}

TEST_F(WatchedChanges, AFileThatIsWrittenToChangesNothing)
{
    tree.addFile("D/1.mp3", "more");
    ASSERT_TRUE(waitForQuiet());
    EXPECT_TRUE(client.received.empty());
}

TEST_F(WatchedChanges, EndWithTheSubscription)
{
    worker->disconnectChange(path("D"), &client);
    tree.addFile("D/2.mp3");
    ASSERT_TRUE(waitForQuiet());
    EXPECT_TRUE(client.received.empty());
    EXPECT_FALSE(inside.hasRecord(d));
}

TEST_F(Changes, OfADirectoryThatIsClosedMeanwhileLeaveNoRecord)
{
    ASSERT_TRUE(CMRootWorker::instance().mount(worker.get()));
    silenceWatcher();
    subscribe("D");
    subscribe("D/E");
    ASSERT_TRUE(rows("D/E").isFinished());
    tree.addFile("D/E/1.mp3");
    // The request finds a change, then that the directory is gone, and announces that.
    QSemaphore found;
    QSemaphore closed;
    log.setObserver([&](const LogCapture::Written& line) {
        if (line.message.find("  Dir exists") != 0)
            return;
        tree.remove("D/E");
        found.release();
        closed.tryAcquire(1, 2000);
    });
    std::thread request([this] { CMRoot()->request(CMGetRowsRequest(path("D/E"), 0, 9, 0, {})); });
    found.acquire();
    worker->disconnectChange(path("D/E"), &client);
    closed.release();
    request.join();
    log.setObserver(nullptr);
    tree.addDirectory("D/E");
    QCoreApplication::processEvents();
    EXPECT_FALSE(inside.hasRecord(e));
    EXPECT_EQ(inside.watchCounts(), (Counts{{d, 1}, {tree.root(), 1}}));
    subscribe("D/E");
    EXPECT_TRUE(inside.hasRecord(e));
}

} // namespace
