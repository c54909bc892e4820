#include "fileworkertest.h"
#include "playlist/playlisthelper.h"
#include "scandirhook.h"
#include "tavo/tavokeys.h"

#include <QFile>

#include <algorithm>
#include <atomic>
#include <functional>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

using testing::ElementsAre;
using Record = CMFileWorkerInspector::Record;

constexpr int least = std::numeric_limits<int>::min();
constexpr int most = std::numeric_limits<int>::max();
constexpr char unnoticed[] = "getRowsRequest: filesystem changed without a notification!";

class Rows : public FileWorkerTest
{
protected:
    Rows()
    {
        for (const char* file : {"d/1.mp3", "d/2.mp3", "d/3.mp3", "d/4.mp3"})
            tree.addFile(file);
        tree.addDirectory("empty");
    }
    ~Rows() override { ScanDirHook::reset(); }

    [[nodiscard]] static CMError invalidVersion(const CMPath& path, int requested, int current)
    {
        return CMAbstractWorker::createErrorInvalidRowsVersion(path, requested, current);
    }

    /// The record of d; the listing has four entries.
    void cache(int rowCount, int version) { inside.setRecord(tree.path("d"), rowCount, version); }
    [[nodiscard]] Record cached() const { return inside.record(tree.path("d")); }
};

TEST_F(Rows, APageAcrossTheEndHoldsTheRemainingRows)
{
    const TavoRowsRoles page = rows("d", 0, 9).value();
    EXPECT_EQ(firstColumn(page), (QVariantList{"1.mp3", "2.mp3", "3.mp3", "4.mp3"}));
    EXPECT_EQ(page.rowsCount(), 4);
}

TEST_F(Rows, APageHoldsBothItsEnds)
{
    const TavoRowsRoles page = rows("d", 1, 2).value();
    EXPECT_EQ(firstColumn(page), (QVariantList{"2.mp3", "3.mp3"}));
    EXPECT_EQ(page.rowsCount(), 4);
    EXPECT_EQ(firstColumn(rows("d", 3, 3).value()), QVariantList{"4.mp3"});
    EXPECT_EQ(firstColumn(rows("d", 3, 4).value()), QVariantList{"4.mp3"});
    EXPECT_EQ(firstColumn(rows("d", 2, most).value()), (QVariantList{"3.mp3", "4.mp3"}));
}

TEST_F(Rows, APagePastTheEndIsEmptyButCounts)
{
    cache(4, 8);
    const TavoRowsRoles page = rows("d", 4, 9).value();
    EXPECT_EQ(page.rows(), QVariantList());
    EXPECT_EQ(page.rowsCount(), 4);
    EXPECT_EQ(page.rowsVersion(), 8);
}

TEST_F(Rows, APageThatEndsBeforeItBeginsIsEmptyButCounts)
{
    EXPECT_EQ(rows("d", 2, 1).value().rows(), QVariantList());
    EXPECT_EQ(rows("d", 0, -1).value().rows(), QVariantList());
    EXPECT_EQ(rows("d", -1, -2).value().rows(), QVariantList());
    EXPECT_EQ(rows("d", 0, -1).value().rowsCount(), 4);
}

TEST_F(Rows, APageIsCutExactlyWhateverItsEnds)
{
    const QVariantList all = {"1.mp3", "2.mp3", "3.mp3", "4.mp3"};
    const std::vector<int> ends = {least, least + 1, -3, -1, 0, 1, 3, 4, most - 1, most};
    for (const int first : ends) {
        for (const int last : ends) {
            const bool isEmpty = std::min(last, all.size() - 1) < first;
            if (first < 0 && !isEmpty)
                continue; // ends the process
            const CMReply<TavoRowsRoles> reply = rows("d", first, last);
            EXPECT_FALSE(reply.isError()) << first << ' ' << last;
            EXPECT_EQ(
                firstColumn(reply.value()), isEmpty ? QVariantList() : all.mid(first, std::min(last, 3) - first + 1))
                << first << ' ' << last;
            EXPECT_EQ(reply.value().rowsCount(), all.size()) << first << ' ' << last;
        }
    }
}

TEST_F(Rows, APageOfAnEmptyDirectoryIsEmptyWhateverItsEnds)
{
    const std::vector<std::pair<int, int>> pages = {{0, most}, {most, most}, {most, least}, {-1, -2}, {0, least}};
    for (const auto& [first, last] : pages) {
        const CMReply<TavoRowsRoles> reply = rows("empty", first, last);
        EXPECT_FALSE(reply.isError()) << first << ' ' << last;
        EXPECT_EQ(reply.value().rows(), QVariantList()) << first << ' ' << last;
        EXPECT_EQ(reply.value().rowsCount(), 0) << first << ' ' << last;
    }
}

TEST_F(Rows, AnEmptyDirectoryHasNoRows)
{
    const CMReply<TavoRowsRoles> reply = rows("empty");
    EXPECT_TRUE(reply.isFinished());
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value().rowsCount(), 0);
    EXPECT_EQ(reply.value().rows(), QVariantList());
}

TEST_F(Rows, DirectoriesComeFirstHere)
{
    tree.addDirectory("d/z");
    EXPECT_EQ(firstColumn(rows("d", 0, 1).value()), (QVariantList{"z", "1.mp3"}));
}

TEST_F(Rows, EachRowIsAListOfTheRolesAskedFor)
{
    const QStringList roles = {TavoRoles::Title(), "unknown", TavoRoles::Path(), TavoRoles::Title()};
    const QVariantList page = rows("d", 0, 0, 0, roles).value().rows();
    ASSERT_EQ(page.size(), 1);
    EXPECT_EQ(page.at(0).userType(), int(QMetaType::QVariantList));
    EXPECT_EQ(page.at(0).toList(), (QVariantList{"1.mp3", QVariant(), "/file/d/1.mp3", "1.mp3"}));
}

TEST_F(Rows, TheReplyHoldsCountVersionAndRowsOnly)
{
    EXPECT_EQ(rows("d").value().fields().size(), 3);
    EXPECT_TRUE(rows("d").value().hasRowsVersion());
}

TEST_F(Rows, ARegularFileHasNone)
{
    const CMReply<TavoRowsRoles> reply = rows("d/1.mp3");
    EXPECT_TRUE(reply.isFinished());
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value().rowsCount(), 0);
}

TEST_F(Rows, TheDirectoryIsListedOnceWhateverPageIsAskedFor)
{
    EXPECT_EQ(rows("d", 1, 1).value().rowsCount(), 4);
    EXPECT_EQ(ScanDirHook::calls.size(), 1U);
}

TEST_F(Rows, ClimbingOutIsRefusedWithThePathAsGiven)
{
    const CMReply<TavoRowsRoles> reply = rows("d/../..");
    ASSERT_TRUE(reply.isError());
    EXPECT_TRUE(
        messageHas(reply.error(), "File", "Access violation: path '%1' is outside '%2'", {"d/../..", tree.root()}));
    EXPECT_TRUE(ScanDirHook::calls.empty());
}

TEST_F(Rows, ClimbingOutIsRefusedWithoutTheLock)
{
    inside.mutex().lock();
    CMReply<TavoRowsRoles> reply;
    std::thread([&] { reply = rows(".."); }).join();
    inside.mutex().unlock();
    EXPECT_TRUE(reply.isError());
}

TEST_F(Rows, TheListingsRefusalStands)
{
    const CMReply<TavoRowsRoles> reply = rows("d/missing");
    ASSERT_TRUE(reply.isError());
    EXPECT_EQ(reply.error().message(), inside.errorNoReadPermission("d/missing").message());
    EXPECT_TRUE(isUnlocked());
    EXPECT_EQ(inside.recordCount(), 0);
}

TEST_F(Rows, TheListingsRefusalLeavesTheRecordAlone)
{
    inside.setRecord(tree.path("missing"), -1, 8);
    EXPECT_TRUE(rows("missing").isError());
    EXPECT_EQ(inside.record(tree.path("missing")), (Record{-1, 8}));
}

TEST_F(Rows, ADirectoryWithoutARecordIsUnversioned)
{
    const int version = inside.rowsVersion();
    const CMReply<TavoRowsRoles> reply = rows("d", 0, 9, 7);
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value().rowsVersion(), 0);
    EXPECT_EQ(reply.value().rowsCount(), 4);
    EXPECT_EQ(inside.recordCount(), 0);
    EXPECT_EQ(inside.rowsVersion(), version);
}

TEST_F(Rows, ADirectoryWithoutARecordIsUnversionedBesideOneThatHasOne)
{
    open("empty");
    const CMReply<TavoRowsRoles> reply = rows("d", 0, 9, 7);
    EXPECT_EQ(reply.value().rowsVersion(), 0);
    EXPECT_EQ(reply.value().rowsCount(), 4);
    EXPECT_EQ(inside.recordCount(), 1);
}

TEST_F(Rows, AnotherVersionThanTheCachedOneIsRefused)
{
    cache(4, 8);
    const CMReply<TavoRowsRoles> reply = rows("d", 0, 9, 7);
    ASSERT_TRUE(reply.isError());
    EXPECT_EQ(reply.error().name(), TavoErrorInvalidRowsVersion());
    EXPECT_EQ(reply.error().message(), invalidVersion(worker->addPrefix("d"), 7, 8).message());
    EXPECT_EQ(cached(), (Record{4, 8}));
    EXPECT_TRUE(isUnlocked());
    EXPECT_TRUE(rows("d", 0, 9, 9).isError());
}

TEST_F(Rows, AnotherVersionIsRefusedBeforeTheDirectoryIsListed)
{
    cache(3, 8);
    EXPECT_TRUE(rows("d", 0, 9, 7).isError());
    EXPECT_TRUE(ScanDirHook::calls.empty());
    EXPECT_EQ(log.count(unnoticed), 0);
    EXPECT_EQ(cached(), (Record{3, 8}));
}

TEST_F(Rows, TheCachedVersionOrNoneIsServed)
{
    cache(4, 8);
    for (const int version : {8, 0, -1}) {
        const CMReply<TavoRowsRoles> reply = rows("d", 0, 9, version);
        EXPECT_FALSE(reply.isError()) << version;
        EXPECT_EQ(reply.value().rowsVersion(), 8);
        EXPECT_EQ(reply.value().rowsCount(), 4);
    }
    EXPECT_EQ(cached(), (Record{4, 8}));
}

TEST_F(Rows, VersionOneIsAVersion)
{
    cache(4, 1);
    EXPECT_TRUE(rows("d", 0, 9, 2).isError());
    cache(4, 2);
    EXPECT_TRUE(rows("d", 0, 9, 1).isError());
}

TEST_F(Rows, TheFirstRequestFillsInTheCountOfANeverListedRecord)
{
    cache(-1, 8);
    const CMReply<TavoRowsRoles> reply = rows("d", 0, 0, 8);
    EXPECT_EQ(reply.value().rowsCount(), 4);
    EXPECT_EQ(reply.value().rowsVersion(), 8);
    EXPECT_EQ(cached(), (Record{4, 8}));
    EXPECT_EQ(log.count(unnoticed), 0);
}

TEST_F(Rows, ARecordOfAnEmptyDirectoryIsListedAlready)
{
    cache(0, 8);
    EXPECT_EQ(rows("d").value().rowsCount(), 4);
    EXPECT_EQ(log.count(unnoticed), 1);
}

TEST_F(Rows, ARecordWithoutAVersionIsNotComparedWithTheListing)
{
    cache(7, -3);
    const CMReply<TavoRowsRoles> reply = rows("d", 0, 9, 7);
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value().rowsCount(), 7);
    EXPECT_EQ(reply.value().rowsVersion(), -3);
    EXPECT_EQ(cached(), (Record{7, -3}));
    EXPECT_EQ(log.count(unnoticed), 0);
}

TEST_F(Rows, AtVersionZeroTheEntriesCount)
{
    cache(7, 0);
    EXPECT_EQ(rows("d").value().rowsCount(), 4);
    EXPECT_EQ(cached(), (Record{7, 0}));
    cache(-1, 0);
    EXPECT_EQ(rows("d").value().rowsCount(), 4);
    EXPECT_EQ(cached(), (Record{4, 0}));
}

TEST_F(Rows, AnUnnoticedChangeGivesAClientWithoutAVersionTheNewState)
{
    open("d");
    EXPECT_EQ(rows("d").value().rowsCount(), 4);
    const int version = inside.rowsVersion();
    tree.addFile("d/5.mp3");
    const CMReply<TavoRowsRoles> reply = rows("d");
    EXPECT_EQ(reply.value().rowsCount(), 5);
    EXPECT_EQ(reply.value().rows().size(), 5);
    EXPECT_EQ(reply.value().rowsVersion(), version + 1);
    EXPECT_EQ(cached(), (Record{5, version + 1}));
    EXPECT_EQ(log.count(unnoticed), 1);
    EXPECT_TRUE(isUnlocked());
}

TEST_F(Rows, AnUnnoticedChangeRefusesAClientWithAVersionByTheRenewedOne)
{
    open("d");
    const int version = rows("d").value().rowsVersion();
    tree.remove("d/1.mp3");
    const CMReply<TavoRowsRoles> reply = rows("d", 0, 9, version);
    ASSERT_TRUE(reply.isError());
    EXPECT_EQ(reply.error().message(), invalidVersion(worker->addPrefix("d"), version, version + 1).message());
    EXPECT_EQ(cached(), (Record{3, version + 1}));
    EXPECT_TRUE(isUnlocked());
}

TEST_F(Rows, AnUnnoticedChangeIsLoggedThenDetected)
{
    cache(3, 8);
    static_cast<void>(rows("d", 0, -1));
    const std::vector<LogLine> lines = log.lines();
    const auto line = std::find(lines.cbegin(), lines.cend(), debugLine(Signature::getRowsRequest, unnoticed));
    ASSERT_NE(line, lines.cend());
    ASSERT_GE(lines.cend() - line, 3);
    EXPECT_EQ(line[1], entryLine(Signature::watcherChanged));
    EXPECT_EQ(line[2], infoLine(Signature::watcherChanged, "Changed " + tree.path("d")));
    EXPECT_EQ(log.numberOf(unnoticed), 411);
}

TEST_F(Rows, AChangeThatKeepsTheCountIsNotNoticed)
{
    cache(4, 8);
    tree.rename("d/1.mp3", "d/0.mp3");
    const TavoRowsRoles page = rows("d", 0, 0, 8).value();
    EXPECT_EQ(firstColumn(page), QVariantList{"0.mp3"});
    EXPECT_EQ(page.rowsVersion(), 8);
    EXPECT_EQ(log.count(unnoticed), 0);
}

TEST_F(Rows, ADirectoryRemovedWhileItIsListedIsServedUnversioned)
{
    cache(3, 8);
    ScanDirHook::changeEntry = [this](dirent& /*entry*/) {
        ScanDirHook::changeEntry = nullptr;
        tree.remove("d");
    };
    const CMReply<TavoRowsRoles> reply = rows("d");
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value().rowsVersion(), 0);
    EXPECT_EQ(reply.value().rowsCount(), 4);
    EXPECT_EQ(reply.value().rows().size(), 4);
    EXPECT_EQ(inside.recordCount(), 0);
}

TEST_F(Rows, ADirectoryRemovedWhileItIsListedIsRefusedToAClientWithAVersion)
{
    cache(3, 8);
    inside.setRecord(tree.path("empty"), 1, 9);
    ScanDirHook::changeEntry = [this](dirent& /*entry*/) {
        ScanDirHook::changeEntry = nullptr;
        tree.remove("d");
    };
    const CMReply<TavoRowsRoles> reply = rows("d", 0, 9, 8);
    ASSERT_TRUE(reply.isError());
    EXPECT_EQ(reply.error().message(), invalidVersion(worker->addPrefix("d"), 8, 0).message());
}

TEST_F(Rows, RecordsAreLookedUpByTheCleanedPath)
{
    cache(4, 8);
    EXPECT_EQ(rows("empty/../d").value().rowsVersion(), 8);
    EXPECT_EQ(rows(tree.path("d")).value().rowsVersion(), 8);
    inside.setRecord(tree.path("empty/../d"), 4, 9);
    EXPECT_EQ(rows("empty/../d").value().rowsVersion(), 8);
}

TEST_F(Rows, AnswerNothingMoreOnAReplyThatHasAValueAlready)
{
    cache(-1, 8);
    const CMGetRowsRequest request(worker->addPrefix("d"), 0, 9, 0, {TavoRoles::Title()});
    request.reply().setValue(TavoRowsRoles());
    log.clear();
    worker->getRowsRequest(request);
    EXPECT_EQ(cached(), (Record{-1, 8}));
    EXPECT_THAT(log.linesOf(Signature::getDataImpl), testing::IsEmpty());
    EXPECT_TRUE(isUnlocked());
}

TEST_F(Rows, ANameThatBeginsWithAColonIsTakenForAnAbsolutePathElsewhere)
{
    tree.addFile("empty/:x.mp3");
    EXPECT_EQ(rows("empty", 0, -1).value().rowsCount(), 1);
    const CMReply<TavoRowsRoles> reply = rows("empty");
    ASSERT_TRUE(reply.isError());
    EXPECT_EQ(reply.error().message(), inside.errorAccessViolation(":x.mp3").message());
}

/// Notes whether the worker's lock is held when the reply is finished.
class LockWatcher : public CMReplyWatcher
{
public:
    explicit LockWatcher(QMutex& mutex) : m_mutex(mutex) {}

    void replyFinished(const CMVoidReply& /*reply*/) override { held = !isUnlockedMutex(m_mutex); }

    bool held = false;

private:
    QMutex& m_mutex;
};

TEST_F(Rows, OfAnotherVersionAreRefusedUnderTheLock)
{
    const std::vector<Record> records = {{4, 8}, {3, 7}};
    for (const Record& record : records) {
        cache(record.rowCount, record.version);
        const CMGetRowsRequest request(worker->addPrefix("d"), 0, 9, 7, {});
        LockWatcher watcher(inside.mutex());
        request.reply().addWatcher(&watcher);
        worker->getRowsRequest(request);
        EXPECT_TRUE(request.reply().isError());
        EXPECT_TRUE(watcher.held);
        EXPECT_TRUE(isUnlocked());
    }
}

/// True while the thread waits for something.
bool isAsleep(pid_t thread)
{
    QFile status(QString("/proc/self/task/%1/stat").arg(thread));
    if (!status.open(QFile::ReadOnly))
        return false;
    const QByteArray line = status.readAll();
    return line.mid(line.lastIndexOf(')') + 2).startsWith('S');
}

TEST_F(Rows, LookUpTheRecordUnderTheLock)
{
    cache(4, 7);
    std::atomic<pid_t> reader = 0;
    std::atomic<bool> answered = false;
    CMReply<TavoRowsRoles> reply;
    inside.mutex().lock();
    std::thread thread([&] {
        reader = gettid();
        reply = rows("d", 0, 9, 7);
        answered = true;
    });
    while (!answered && (log.count(entryText(Signature::getRowsRequest, "d")) == 0 || !isAsleep(reader)))
        std::this_thread::yield();
    EXPECT_FALSE(answered);
    cache(4, 8);
    inside.mutex().unlock();
    thread.join();
    EXPECT_EQ(reply.error().message(), invalidVersion(worker->addPrefix("d"), 7, 8).message());
}

TEST_F(Rows, AreListedUnderTheLock)
{
    bool locked = false;
    ScanDirHook::changeEntry = [&](dirent& /*entry*/) { locked = !isUnlocked(); };
    static_cast<void>(rows("d"));
    EXPECT_TRUE(locked);
    EXPECT_TRUE(isUnlocked());
}

/// Records how rows are built.
class WatchedWorker : public CMFileWorker
{
public:
    using CMFileWorker::CMFileWorker;

    QVariantList getDataImpl(CMVoidReply& reply, const QString& path, const QStringList& roles) override
    {
        paths.append(path);
        askedRoles = roles;
        if (whileBuilding)
            whileBuilding(reply);
        return CMFileWorker::getDataImpl(reply, path, roles);
    }

    QStringList paths;
    QStringList askedRoles;
    std::function<void(CMVoidReply&)> whileBuilding;
};

class BuiltRows : public Rows
{
protected:
    [[nodiscard]] CMReply<TavoRowsRoles> ask(const QString& base, int first, int last)
    {
        const CMGetRowsRequest request(watched.addPrefix(base), first, last, 0, {"a", TavoRoles::Title(), "b"});
        watched.getRowsRequest(request);
        return request.reply();
    }

    WatchedWorker watched{fileConfiguration(tree.root())};
};

TEST_F(BuiltRows, ComeOneByOneThroughTheVirtualOperation)
{
    static_cast<void>(ask("empty/../d", 1, 2));
    EXPECT_EQ(watched.paths, (QStringList{tree.path("d/2.mp3"), tree.path("d/3.mp3")}));
    EXPECT_EQ(watched.askedRoles, (QStringList{"a", TavoRoles::Title(), "b"}));
}

TEST_F(BuiltRows, AreBuiltWithoutTheLock)
{
    bool unlocked = true;
    watched.whileBuilding = [&](CMVoidReply& /*reply*/) {
        unlocked = unlocked && isUnlockedMutex(CMFileWorkerInspector(watched).mutex());
    };
    static_cast<void>(ask("d", 0, 3));
    EXPECT_EQ(watched.paths.size(), 4);
    EXPECT_TRUE(unlocked);
}

TEST_F(BuiltRows, EndAtTheFirstThatIsRefused)
{
    watched.whileBuilding = [&](CMVoidReply& reply) {
        if (watched.paths.size() == 2)
            reply.setError(inside.errorAccessViolation("stop"));
    };
    const CMReply<TavoRowsRoles> reply = ask("d", 0, 3);
    ASSERT_TRUE(reply.isError());
    EXPECT_EQ(reply.error().message(), inside.errorAccessViolation("stop").message());
    EXPECT_EQ(reply.value().rows(), QVariantList());
    EXPECT_EQ(watched.paths.size(), 2);
}

class RowsLog : public Rows
{
};

TEST_F(RowsLog, OpensWithTwoEntryLines)
{
    static_cast<void>(rows("d", 0, 0));
    const std::vector<LogLine> lines = log.lines();
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines[0], entryLine(Signature::getRowsRequest));
    EXPECT_EQ(lines[1], entryLine(Signature::getRowsRequest, "d"));
    EXPECT_EQ(lines[2], entryLine(Signature::entryList, "dir:" + tree.path("d") + "path:d"));
    EXPECT_EQ(lines.back(), entryLine(Signature::getDataImpl));
    EXPECT_EQ(log.linesOf(Signature::getRowsRequest).size(), 2U);
    EXPECT_EQ(log.numberOf(entryText(Signature::getRowsRequest)), 349);
    EXPECT_EQ(log.numberOf(entryText(Signature::getRowsRequest, "d")), 357);
}

TEST_F(RowsLog, IsEmptyAboveDebug)
{
    log.setLevel(log4cplus::INFO_LOG_LEVEL);
    static_cast<void>(rows("d"));
    static_cast<void>(rows(".."));
    static_cast<void>(rows("menu/context//file/d"));
    static_cast<void>(rows("menu/context"));
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(RowsLog, OfARefusalHoldsNothingMore)
{
    static_cast<void>(rows(".."));
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entryLine(Signature::getRowsRequest), entryLine(Signature::getRowsRequest, ".."),
                         entryLine(Signature::errorAccessViolation)));
}

class RowsContextMenu : public Rows
{
protected:
    const QString item = "menu/context//file/d/1.mp3";
};

TEST_F(RowsContextMenu, OffersTheRowsOfThePlaylistHelper)
{
    const CMGetRowsRequest request(worker->addPrefix(item), 1, 1, 77, {TavoRoles::Path(), TavoRoles::Value()});
    worker->getRowsRequest(request);
    const QVariantList expected = PlayListHelper::playListRows(request);
    ASSERT_FALSE(expected.isEmpty());
    EXPECT_EQ(request.reply().value().rows(), expected);
    EXPECT_EQ(request.reply().value().rowsCount(), expected.size());
}

TEST_F(RowsContextMenu, IsATitledContainerWithoutAVersion)
{
    const TavoRowsRoles menu = rows(item).value();
    EXPECT_FALSE(menu.hasRowsVersion());
    EXPECT_EQ(menu.roles().containerType(), 100);
    EXPECT_EQ(menu.roles().title(), "File Context Menu");
    EXPECT_EQ(menu.roles().fields().size(), 2);
    EXPECT_EQ(menu.fields().size(), 3);
    const QVariant title = menu.roles().field(TavoRoles::Title());
    ASSERT_EQ(title.userType(), qMetaTypeId<TrString>());
    EXPECT_TRUE(messageHas(
        {{CMError::Message(), title}}, trExtractContext(Signature::getRowsRequest), "File Context Menu", {}));
}

TEST_F(RowsContextMenu, WithoutRowsIsInvalid)
{
    for (const char* base : {"menu/context", "menu/context/x", "menu/context//other/x"}) {
        const CMReply<TavoRowsRoles> reply = rows(base);
        ASSERT_TRUE(reply.isError()) << base;
        EXPECT_EQ(reply.error().size(), 3);
        EXPECT_EQ(reply.error().value(CMError::Name()), QVariant(CMError::DefaultName()));
        EXPECT_TRUE(
            messageHas(reply.error(), trExtractContext(Signature::getRowsRequest), "Invalid context menu request", {}));
        EXPECT_EQ(reply.error().title(), CMError::DefaultTitle().toString());
    }
}

TEST_F(RowsContextMenu, HidesADirectoryOfThatName)
{
    tree.addDirectory("menu/context/x");
    EXPECT_TRUE(rows("menu/context").isError());
    EXPECT_TRUE(rows("menu/context/x").isError());
    EXPECT_TRUE(ScanDirHook::calls.empty());
}

TEST_F(RowsContextMenu, BeginsAtWholeSegments)
{
    tree.addDirectory("menu/contextual/x");
    EXPECT_EQ(firstColumn(rows("menu").value()), QVariantList{"contextual"});
    EXPECT_EQ(firstColumn(rows("menu/contextual").value()), QVariantList{"x"});
}

TEST_F(RowsContextMenu, IsNotHeldToTheRoot)
{
    const CMReply<TavoRowsRoles> reply = rows("menu/context/../../..");
    ASSERT_TRUE(reply.isError());
    EXPECT_EQ(reply.error().message(), "Invalid context menu request");
}

TEST_F(RowsContextMenu, IsServedWithoutTheLock)
{
    inside.mutex().lock();
    CMReply<TavoRowsRoles> reply;
    std::thread([&] { reply = rows(item); }).join();
    inside.mutex().unlock();
    EXPECT_EQ(reply.value().rowsCount(), 4);
}

TEST_F(RowsContextMenu, WritesThePathAndThenTheNumberOfItsRows)
{
    static_cast<void>(rows(item));
    const QString path = "Context request path: " + worker->addPrefix(item).toEncoded();
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entryLine(Signature::getRowsRequest), entryLine(Signature::getRowsRequest, item),
                         traceLine(Signature::getRowsRequest, path),
                         traceLine(Signature::sendRowsReply, "sent reply with 4 lines")));
    EXPECT_EQ(log.numberOf(path), 363);
    EXPECT_EQ(log.numberOf("sent reply with 4 lines"), 607);
}

TEST_F(RowsContextMenu, WithoutRowsWritesNoMoreThanThePath)
{
    static_cast<void>(rows("menu/context"));
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entryLine(Signature::getRowsRequest), entryLine(Signature::getRowsRequest, "menu/context"),
                         traceLine(Signature::getRowsRequest, "Context request path: /file/menu/context")));
}

TEST_F(Rows, AReadyListIsSentWhole)
{
    const CMGetRowsRequest request(worker->addPrefix("d"), 5, 6, 7, {});
    const QVariantList ready = {QVariant(QVariantList{1}), QVariant(QVariantList{2})};
    inside.sendRowsReply(ready, TrString({"Some", "Title"}, QList<TrArg>()), request);
    const TavoRowsRoles page = request.reply().value();
    EXPECT_EQ(page.rows(), ready);
    EXPECT_EQ(page.rowsCount(), 2);
    EXPECT_EQ(page.roles().title(), "Title");
    EXPECT_EQ(page.roles().containerType(), 100);
    EXPECT_FALSE(page.hasRowsVersion());
    EXPECT_THAT(log.lines(), ElementsAre(traceLine(Signature::sendRowsReply, "sent reply with 2 lines")));
}

/// Notes what the log holds when the reply is finished.
class ReplyFinished : public CMReplyWatcher
{
public:
    explicit ReplyFinished(const LogCapture& log) : m_log(log) {}

    void replyFinished(const CMVoidReply& /*reply*/) override { lines = m_log.lines(); }

    std::vector<LogLine> lines;

private:
    const LogCapture& m_log;
};

TEST_F(Rows, AReadyListIsSentBeforeThatIsLogged)
{
    const CMGetRowsRequest request(worker->addPrefix("d"), 0, 0, 0, {});
    ReplyFinished watcher(log);
    request.reply().addWatcher(&watcher);
    inside.sendRowsReply({QVariant(1)}, TrString(), request);
    EXPECT_THAT(watcher.lines, testing::IsEmpty());
    EXPECT_EQ(log.lines().size(), 1U);
}

class RowsDeathTest : public Rows
{
};

TEST_F(RowsDeathTest, ANegativeFirstIndexEndsTheProcess)
{
    const std::vector<std::pair<int, int>> pages = {{-1, 3},        {-1, -1},    {-1, most},
                                                    {least, least}, {least, -1}, {least, most}};
    for (const auto& [first, last] : pages) {
        EXPECT_DEATH(
            static_cast<void>(rows("d", first, last)), "ASSERT failure in QList<T>::at: \"index out of range\"")
            << first << ' ' << last;
    }
}

TEST_F(RowsDeathTest, ANegativeFirstIndexOfAnEmptyDirectoryEndsTheProcess)
{
    EXPECT_DEATH(static_cast<void>(rows("empty", -1, 0)), "ASSERT failure in QList<T>::at: \"index out of range\"");
    EXPECT_DEATH(
        static_cast<void>(rows("empty", least, most)), "ASSERT failure in QList<T>::at: \"index out of range\"");
}

TEST_F(RowsDeathTest, ARequestWithoutARecordEndsTheProcess)
{
    EXPECT_DEATH(worker->getRowsRequest(CMGetRowsRequest()), "ASSERT: \"(m_d|d\\(\\))\"");
}

} // namespace
