#include "fileworkertest.h"
#include "model/cmroot.h"
#include "model/cmversion.h"
#include "tavo/tavokeys.h"
#include "versionmutexhook.h"

#include <QFile>
#include <QPointer>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <new>
#include <thread>

namespace {

using testing::ElementsAre;

class Construction : public testing::Test
{
protected:
    ~Construction() override { VersionMutexHook::reset(); }

    [[nodiscard]] std::unique_ptr<CMFileWorker> make() const { return makeFileWorker(fileConfiguration(tree.root())); }

    /// The root path that a configured path leads to.
    [[nodiscard]] static QString rootOf(const QVariant& configuredPath)
    {
        QVariantHash configuration = fileConfiguration({});
        configuration.insert(TavoFilesystem_Path(), configuredPath);
        const std::unique_ptr<CMFileWorker> worker = makeFileWorker(configuration);
        return CMFileWorkerInspector(*worker).rootPath();
    }

    [[nodiscard]] static QStringList filterOf(const QVariant& configuredFilter)
    {
        QVariantHash configuration = fileConfiguration("/");
        configuration.insert(TavoFilesystem_Filter(), configuredFilter);
        const std::unique_ptr<CMFileWorker> worker = makeFileWorker(configuration);
        return CMFileWorkerInspector(*worker).filterPatterns();
    }

    LogCapture log;
    FileTree tree;
};

/// How many watches the kernel holds for this process.
int kernelWatches()
{
    int count = 0;
    for (const QFileInfo& descriptor : QDir("/proc/self/fdinfo").entryInfoList(QDir::Files)) {
        QFile file(descriptor.filePath());
        if (file.open(QIODevice::ReadOnly))
            count += file.readAll().count("inotify wd:");
    }
    return count;
}

TEST_F(Construction, FactoryMakesAFileWorkerForTheCallerToDelete)
{
    const CMWorkerCreate factory = &worker_create;
    const std::unique_ptr<CMWorker> worker(factory(nullptr, fileConfiguration(tree.root())));
    EXPECT_TRUE(dynamic_cast<CMFileWorker*>(worker.get()));
    EXPECT_EQ(worker->name(), "CMFileWorker");
    EXPECT_EQ(worker->prefix(), "file");
}

TEST_F(Construction, FactoryIgnoresItsFirstArgument)
{
    int anything = 0;
    const std::unique_ptr<CMWorker> worker(worker_create(&anything, fileConfiguration(tree.root())));
    EXPECT_EQ(CMFileWorkerInspector(static_cast<CMFileWorker&>(*worker)).rootPath(), tree.root());
    EXPECT_EQ(anything, 0);
}

TEST_F(Construction, AnExceptionPassesTheFactory)
{
    VersionMutexHook::beforeHandingOut = [] { throw std::bad_alloc(); };
    EXPECT_THROW(static_cast<void>(worker_create(nullptr, fileConfiguration(tree.root()))), std::bad_alloc);
}

TEST_F(Construction, MembersAreDeclaredInTheirOrder)
{
    const std::unique_ptr<CMFileWorker> worker = make();
    const QVector<const void*> members = CMFileWorkerInspector(*worker).memberAddresses();
    EXPECT_EQ(members.size(), 12);
    EXPECT_TRUE(std::is_sorted(members.cbegin(), members.cend(), std::less<>()));
}

TEST_F(Construction, NothingIsRecordedOrWatchedAtFirst)
{
    const std::unique_ptr<CMFileWorker> worker = make();
    const CMFileWorkerInspector inside(*worker);
    EXPECT_EQ(inside.recordCount(), 0);
    EXPECT_TRUE(inside.watchCounts().isEmpty());
    EXPECT_EQ(inside.watcher()->directories() + inside.watcher()->files(), QStringList());
}

TEST_F(Construction, TheMutexIsRecursiveAndUnlocked)
{
    const std::unique_ptr<CMFileWorker> worker = make();
    QMutex& mutex = CMFileWorkerInspector(*worker).mutex();
    EXPECT_TRUE(mutex.isRecursive());
    ASSERT_TRUE(mutex.tryLock());
    EXPECT_TRUE(mutex.tryLock());
    mutex.unlock();
    mutex.unlock();
}

TEST_F(Construction, ServiceIdIsTakenAsText)
{
    QVariantHash configuration = fileConfiguration(tree.root());
    configuration.insert(TavoService_Id(), 42);
    const std::unique_ptr<CMFileWorker> worker = makeFileWorker(configuration);
    EXPECT_EQ(CMFileWorkerInspector(*worker).serviceId(), "42");
}

TEST_F(Construction, WithoutAServiceIdItIsEmpty)
{
    const std::unique_ptr<CMFileWorker> worker = makeFileWorker({{TavoFilesystem_Path(), tree.root()}});
    EXPECT_EQ(CMFileWorkerInspector(*worker).serviceId(), QString());
}

TEST_F(Construction, RootPathIsCanonical)
{
    tree.addDirectory("a/b");
    tree.addLink("link", "a/b");
    EXPECT_EQ(rootOf(tree.path("link")), tree.path("a/b"));
    EXPECT_EQ(rootOf(tree.path("./a/../a/b/")), tree.path("a/b"));
    EXPECT_EQ(rootOf("/"), "/");
}

TEST_F(Construction, ARootThatIsNotThereLeavesTheRootPathEmpty)
{
    EXPECT_EQ(rootOf(tree.path("missing")), QString());
    EXPECT_EQ(rootOf(QString()), QString());
    EXPECT_EQ(rootOf(QVariant()), QString());
    EXPECT_EQ(rootOf(QVariantList{tree.root()}), QString());
}

TEST_F(Construction, WithoutARootTheRootPathAndDirectoryAreEmpty)
{
    const std::unique_ptr<CMFileWorker> worker = makeFileWorker({});
    const CMFileWorkerInspector inside(*worker);
    EXPECT_EQ(inside.rootPath(), QString());
    QDir empty("/");
    empty.setPath(QString());
    EXPECT_EQ(inside.rootDir().path(), empty.path());
}

TEST_F(Construction, RootOfAnotherTypeIsTakenAsText)
{
    EXPECT_EQ(rootOf(tree.root().toUtf8()), tree.root());
}

TEST_F(Construction, RootDirectoryIsPointedAtTheRootPath)
{
    tree.addLink("link", ".");
    const std::unique_ptr<CMFileWorker> worker = makeFileWorker(fileConfiguration(tree.path("link")));
    EXPECT_EQ(CMFileWorkerInspector(*worker).rootDir().path(), tree.root());
}

TEST_F(Construction, RootIsResolvedOnce)
{
    tree.addDirectory("a");
    tree.addDirectory("b");
    tree.addLink("link", "a");
    const std::unique_ptr<CMFileWorker> worker = makeFileWorker(fileConfiguration(tree.path("link")));
    tree.remove("link");
    tree.addLink("link", "b");
    worker->getRowsRequest(CMGetRowsRequest(worker->addPrefix({}), 0, 9, 0, {}));
    EXPECT_EQ(CMFileWorkerInspector(*worker).rootPath(), tree.path("a"));
}

TEST_F(Construction, ContextMenuPathHasTheWorkersPrefix)
{
    const std::unique_ptr<CMFileWorker> worker = make();
    EXPECT_EQ(CMFileWorkerInspector(*worker).contextMenuPath(), CMPath("file", "menu/context"));
}

TEST_F(Construction, PatternsAreKeptAsConfigured)
{
    EXPECT_EQ(filterOf(QStringList{"*.mp3", "*.flac"}), (QStringList{"*.mp3", "*.flac"}));
    const QVariantList odd = {" *.mp3 ", "*.MP3", "*.mp3", "", "*.mp3", 7, "[a"};
    EXPECT_EQ(filterOf(odd), (QStringList{" *.mp3 ", "*.MP3", "*.mp3", "", "*.mp3", "7", "[a"}));
}

TEST_F(Construction, WithoutPatternsThereAreNone)
{
    EXPECT_EQ(filterOf(QVariant()), QStringList());
    EXPECT_EQ(filterOf("*.mp3"), QStringList());
}

TEST_F(Construction, PlaylistPatternsAreFixed)
{
    const std::unique_ptr<CMFileWorker> worker = make();
    const QStringList patterns = {"*.m3u", "*.pls", "*.wpl", "*.asx"};
    EXPECT_EQ(CMFileWorkerInspector(*worker).playlistPatterns(), patterns);
}

TEST_F(Construction, AlbumArtWidthIsTheRootWorkersSettingAtConstruction)
{
    CMRootWorker& root = CMRootWorker::instance();
    const CMPath setting = TavoMusicLibraryAlbumArtWidth();
    const QVariant before = root.getValue(setting);
    QVariantHash configuration = fileConfiguration(tree.root());
    configuration.insert(setting.base(), 99);
    configuration.insert(setting.toEncoded(), 99);

    root.setSetting(setting, TavoValue::fromI32(-512));
    const std::unique_ptr<CMFileWorker> first = makeFileWorker(configuration);
    root.setSetting(setting, TavoValue::fromI32(640));
    const std::unique_ptr<CMFileWorker> second = makeFileWorker(configuration);
    root.setSetting(setting, TavoValue(before));

    EXPECT_EQ(CMFileWorkerInspector(*first).albumArtWidth(), -512);
    EXPECT_EQ(CMFileWorkerInspector(*second).albumArtWidth(), 640);
}

TEST_F(Construction, EachWorkerStartsOneRowsVersionHigher)
{
    const int last = CMVersion::s_last;
    const std::unique_ptr<CMFileWorker> first = make();
    EXPECT_EQ(CMVersion::s_last, last + 1);
    EXPECT_EQ(CMFileWorkerInspector(*first).rowsVersion(), last + 1);
    const std::unique_ptr<CMFileWorker> second = make();
    EXPECT_EQ(CMVersion::s_last, last + 2);
    EXPECT_EQ(CMFileWorkerInspector(*second).rowsVersion(), last + 2);
}

TEST_F(Construction, LaterRowsVersionsLeaveTheProcessesCounterAlone)
{
    const std::unique_ptr<CMFileWorker> worker = make();
    const int last = CMVersion::s_last;
    Q_EMIT worker->subscribe()->rowsPathAdded(worker->addPrefix({}));
    EXPECT_EQ(CMFileWorkerInspector(*worker).rowsVersion(), last + 1);
    EXPECT_EQ(CMVersion::s_last, last);
}

TEST_F(Construction, FirstRowsVersionIsTakenUnderTheVersionMutex)
{
    std::unique_ptr<CMFileWorker> worker;
    const int last = CMVersion::s_last;
    std::atomic<bool> asked = false;
    VersionMutexHook::beforeHandingOut = [&] { asked = true; };
    VersionMutexHook::mutex->lock();
    const std::unique_ptr<QThread> maker(QThread::create([&] { worker = make(); }));
    maker->start();
    EXPECT_TRUE(processEventsUntil([&] { return asked.load(); }));
    EXPECT_EQ(CMVersion::s_last, last);
    VersionMutexHook::mutex->unlock();
    maker->wait();
    EXPECT_EQ(CMFileWorkerInspector(*worker).rowsVersion(), last + 1);
    EXPECT_TRUE(VersionMutexHook::mutex->tryLock());
    VersionMutexHook::mutex->unlock();
}

TEST_F(Construction, WithoutAVersionMutexTheFirstRowsVersionIsStillTaken)
{
    VersionMutexHook::mutex = nullptr;
    const int last = CMVersion::s_last;
    const std::unique_ptr<CMFileWorker> worker = make();
    EXPECT_EQ(CMFileWorkerInspector(*worker).rowsVersion(), last + 1);
}

TEST_F(Construction, WritesItsEntryLineAndNothingElse)
{
    const std::unique_ptr<CMFileWorker> worker = make();
    EXPECT_THAT(log.lines(), ElementsAre(entryLine(Signature::constructor)));
    EXPECT_EQ(log.written().at(0).line, 48);
    EXPECT_EQ(log.written().at(0).file, "src/modules/file/cmfileworker");
}

TEST_F(Construction, WritesNothingAboveTrace)
{
    log.setLevel(log4cplus::DEBUG_LOG_LEVEL);
    const std::unique_ptr<CMFileWorker> worker = make();
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(Construction, DirectoryChangesReachTheWorkerAtOnce)
{
    const std::unique_ptr<CMFileWorker> worker = make();
    QFileSystemWatcher* watcher = CMFileWorkerInspector(*worker).watcher();
    ASSERT_TRUE(QMetaObject::invokeMethod(watcher, "directoryChanged", Q_ARG(QString, tree.root())));
    EXPECT_EQ(log.count("Changed " + tree.root()), 1);
}

TEST_F(Construction, FileChangesReachTheWorkerAtOnce)
{
    const std::unique_ptr<CMFileWorker> worker = make();
    QFileSystemWatcher* watcher = CMFileWorkerInspector(*worker).watcher();
    ASSERT_TRUE(QMetaObject::invokeMethod(watcher, "fileChanged", Q_ARG(QString, tree.root())));
    EXPECT_EQ(log.count("Changed " + tree.root()), 1);
}

TEST_F(Construction, FakeChangesWaitForTheEventLoop)
{
    const std::unique_ptr<CMFileWorker> worker = make();
    Q_EMIT worker->fakeDirectoryChanged(tree.root());
    EXPECT_EQ(log.count("Changed " + tree.root()), 0);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(log.count("Changed " + tree.root()), 1);
}

TEST_F(Construction, SubscriptionsReachTheWorkerInTheThreadThatEmitsThem)
{
    const std::unique_ptr<CMFileWorker> worker = make();
    const CMFileWorkerInspector inside(*worker);
    std::thread([&] { Q_EMIT worker->subscribe()->rowsPathAdded(worker->addPrefix({})); }).join();
    EXPECT_TRUE(inside.hasRecord(tree.root()));
    std::thread([&] { Q_EMIT worker->subscribe()->rowsPathRemoved(worker->addPrefix({})); }).join();
    EXPECT_FALSE(inside.hasRecord(tree.root()));
}

TEST_F(Construction, TheWatcherIsTheWorkersChildAndDestroyedWithIt)
{
    std::unique_ptr<CMFileWorker> worker = make();
    const QPointer<QFileSystemWatcher> watcher = CMFileWorkerInspector(*worker).watcher();
    ASSERT_TRUE(watcher);
    EXPECT_EQ(watcher->parent(), worker.get());
    worker.reset();
    EXPECT_FALSE(watcher);
}

TEST_F(Construction, NothingIsWatchedAfterDestruction)
{
    const int before = kernelWatches();
    std::unique_ptr<CMFileWorker> worker = make();
    Q_EMIT worker->subscribe()->rowsPathAdded(worker->addPrefix({}));
    EXPECT_EQ(kernelWatches(), before + 2);
    worker.reset();
    EXPECT_EQ(kernelWatches(), before);
}

TEST_F(Construction, DestructionWritesNothing)
{
    std::unique_ptr<CMFileWorker> worker = make();
    log.clear();
    worker.reset();
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

} // namespace
