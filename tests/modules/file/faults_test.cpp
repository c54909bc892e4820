// What may go wrong in the kernel and in the file system while a worker is at work.

#include "changerecorder.h"
#include "fileworkertest.h"
#include "readdirhook.h"
#include "scandirhook.h"
#include "tavo/tavokeys.h"

#include <limits>

#include <sys/resource.h>

namespace {

using testing::Contains;
using testing::UnorderedElementsAre;
using Record = CMFileWorkerInspector::Record;

/// The process can open nothing any more, until the object goes.
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

class Faults : public FileWorkerTest
{
protected:
    Faults()
    {
        for (const char* file : {"d/1.mp3", "d/2.mp3", "d/e/3.mp3", "d/e/4.txt"})
            tree.addFile(file);
    }
    ~Faults() override
    {
        ReadDirHook::hidesTypes = false;
        ScanDirHook::reset();
    }

    [[nodiscard]] QVariant set(const QString& service, const QVariant& value)
    {
        const CMSetDataRequest request(worker->addPrefix(service), value);
        worker->setDataRequest(request);
        return request.reply().value();
    }
    [[nodiscard]] int count() { return set(TavoFilesystemCountFilesPathSuffix(), "d").toInt(); }
    [[nodiscard]] QStringList prepared()
    {
        QStringList titles;
        for (const QVariant& item : set(TavoPlayListPrepareItems(), QStringList{"/file/d"}).toList())
            titles.append(item.toHash().value(TavoRoles::Title()).toString());
        return titles;
    }

    const QVariantList all = {"e", "1.mp3", "2.mp3"};
};

TEST_F(Faults, AFileSystemWithoutEntryTypesIsListedAndWalkedAllTheSame)
{
    ASSERT_EQ(prepared(), (QStringList{"1.mp3", "2.mp3", "3.mp3"}));
    ScanDirHook::changeEntry = [](dirent& entry) { entry.d_type = DT_UNKNOWN; };
    ReadDirHook::hidesTypes = true;
    EXPECT_EQ(firstColumn(rows("d").value()), all);
    EXPECT_EQ(count(), 3);
    EXPECT_EQ(prepared(), (QStringList{"1.mp3", "2.mp3", "3.mp3"}));
    EXPECT_GT(ReadDirHook::hidden, 0);
}

TEST_F(Faults, PermissionLostBetweenTwoPagesRefusesTheSecondUntilItIsRegained)
{
    open("d");
    const int version = rows("d", 0, 1).value().rowsVersion();
    const Record record = inside.record(tree.path("d"));
    tree.forbid("d");
    {
        const WithoutPrivileges unprivileged;
        EXPECT_EQ(rows("d", 2, 3, version).error().message(), inside.errorNoReadPermission("d").message());
        EXPECT_EQ(inside.record(tree.path("d")), record);
    }
    tree.permit("d");
    const WithoutPrivileges unprivileged;
    EXPECT_EQ(firstColumn(rows("d", 2, 3, version).value()), QVariantList{"2.mp3"});
}

TEST_F(Faults, WithoutDescriptorsADirectoryIsEmptyAndThatIsLogged)
{
    const NoDescriptors scarce;
    const CMReply<TavoRowsRoles> reply = rows("d");
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value().rowsCount(), 0);
    EXPECT_THAT(log.lines(), Contains(errorLine(Signature::entryList, "scandir failed: -1")));
}

TEST_F(Faults, WithoutDescriptorsAnOpenDirectorySeemsChangedAndOnceMoreAfterwards)
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
    EXPECT_TRUE(processEventsUntil([&] { return client.told.size() == 2; }));
    EXPECT_EQ(client.told.back().version, version + 2);
}

TEST_F(Faults, WithoutDescriptorsWalksFindNothingAndSingleEntriesAreStillTold)
{
    ASSERT_EQ(count(), 3);
    const NoDescriptors scarce;
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(prepared(), QStringList());
    EXPECT_EQ(data("d/1.mp3").value(), QVariantList{"1.mp3"});
}

TEST_F(Faults, WithoutDescriptorsDirectoriesAreOpenedAndClosed)
{
    const NoDescriptors scarce;
    open("d");
    EXPECT_THAT(inside.watcher()->directories(), UnorderedElementsAre(tree.path("d"), tree.root()));
    close("d");
    EXPECT_EQ(inside.watchCounts().size(), 0);
}

TEST_F(Faults, TheVersionAfterTheLargestIsServedAndTheLargestRefused)
{
    constexpr int largest = std::numeric_limits<int>::max();
    inside.rowsVersion() = largest - 1;
    open("d");
    EXPECT_EQ(rows("d", 0, 0, largest).value().rowsVersion(), largest);
    tree.addFile("d/3.mp3");
    const CMError refusal = rows("d", 0, 0, largest).error();
    EXPECT_EQ(
        refusal.message(),
        CMAbstractWorker::createErrorInvalidRowsVersion(worker->addPrefix("d"), largest, 1).message());
    EXPECT_EQ(rows("d", 0, 0, 1).value().rowsVersion(), 1);
    EXPECT_EQ(rows("d", 0, 0, 1).value().rowsCount(), 4);
}

} // namespace
