// The worker runs out of memory, watches or file descriptors.

#include "changerecorder.h"
#include "fileworkertest.h"
#include "mallochook.h"
#include "tavo/tavokeys.h"

#include <QDir>

#include <sys/resource.h>

namespace {

using testing::Contains;
using testing::UnorderedElementsAre;
using Record = CMFileWorkerInspector::Record;

class ScarceMemory : public FileWorkerTest
{
protected:
    ~ScarceMemory() override { MallocHook::failing = 0; }

    [[nodiscard]] static int openDescriptors() { return QDir(QStringLiteral("/proc/self/fd")).entryList().size(); }
};

/// Whichever of the listing's allocations fails.
TEST_F(ScarceMemory, AListingFailsIsLoggedAndLeavesNothingOpen)
{
    tree.addFile("d/1.mp3");
    tree.addFile("d/2.mp3");
    const QStringList all = {"1.mp3", "2.mp3"};
    MallocHook::failing = 0;
    ASSERT_EQ(list("d"), all);
    const int allocations = MallocHook::allocations;
    ASSERT_GT(allocations, 2);
    const int descriptors = openDescriptors();
    for (MallocHook::failing = 1; MallocHook::failing <= allocations; ++MallocHook::failing) {
        log.clear();
        CMError error;
        const QStringList names = list("d", &error);
        EXPECT_TRUE(error.isEmpty());
        EXPECT_EQ(names, QStringList()) << MallocHook::failing;
        EXPECT_EQ(log.count("scandir failed: -1"), 1) << MallocHook::failing;
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

/// While it exists, the process cannot open any more files.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &m_usual);
        const rlimit none = {0, m_usual.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &m_usual); }
    Q_DISABLE_COPY_MOVE(NoDescriptors)

private:
    rlimit m_usual = {};
};

class ScarceDescriptors : public FileWorkerTest
{
protected:
    ScarceDescriptors()
    {
        for (const char* file : {"d/1.mp3", "d/2.mp3", "d/e/3.mp3"})
            tree.addFile(file);
    }

    [[nodiscard]] QVariant count() const { return set(TavoFilesystemCountFilesPathSuffix(), "d").value(); }
    [[nodiscard]] QVariant prepared() const { return set(TavoPlayListPrepareItems(), QStringList{"/file/d"}).value(); }

    const QVariantList all = {"e", "1.mp3", "2.mp3"};
};

TEST_F(ScarceDescriptors, ADirectoryIsEmptyAndThatIsLogged)
{
    const NoDescriptors scarce;
    const CMReply<TavoRowsRoles> reply = rows("d");
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value().rowsCount(), 0);
    EXPECT_THAT(log.lines(), Contains(errorLine(Signature::entryList, "scandir failed: -1")));
}

TEST_F(ScarceDescriptors, AnOpenDirectorySeemsChangedAndOnceMoreAfterwards)
{
    ChangeRecorder client;
    ASSERT_TRUE(worker->connectChange(worker->addPrefix("d"), &client));
    const int version = rows("d").value().rowsVersion();
    {
        const NoDescriptors scarce;
        EXPECT_TRUE(rows("d", 0, 9, version).isError());
        EXPECT_EQ(inside.record(tree.path("d")), (Record{0, version + 1}));
    }
    EXPECT_TRUE(rows("d", 0, 9, version + 1).isError());
    const TavoRowsRoles page = rows("d", 0, 9, version + 2).value();
    EXPECT_EQ(firstColumn(page), all);
    EXPECT_TRUE(processEventsUntil([&] { return client.received.size() == 2; }));
    EXPECT_EQ(client.received.back().version, version + 2);
}

TEST_F(ScarceDescriptors, WalksFindNothingButSingleEntriesAreStillAnswered)
{
    ASSERT_EQ(count(), QVariant(3));
    const NoDescriptors scarce;
    EXPECT_EQ(count(), QVariant(0));
    EXPECT_EQ(prepared(), QVariant(QVariantList()));
    EXPECT_EQ(data("d/1.mp3").value(), QVariantList{"1.mp3"});
}

TEST_F(ScarceDescriptors, DirectoriesAreOpenedAndClosed)
{
    const NoDescriptors scarce;
    open("d");
    EXPECT_THAT(inside.watcher()->directories(), UnorderedElementsAre(tree.path("d"), tree.root()));
    close("d");
    EXPECT_EQ(inside.watchCounts().size(), 0);
}

} // namespace
