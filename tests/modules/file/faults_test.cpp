// Faults of the kernel and of the file system while a worker runs.

#include "fileworkertest.h"
#include "readdirhook.h"
#include "scandirhook.h"
#include "tavo/tavokeys.h"

#include <limits>

namespace {

using Record = CMFileWorkerInspector::Record;

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

    [[nodiscard]] QStringList prepared() const
    {
        QStringList titles;
        for (const QVariant& item : set(TavoPlayListPrepareItems(), QStringList{"/file/d"}).value().toList())
            titles.append(item.toHash().value(TavoRoles::Title()).toString());
        return titles;
    }

    const QVariantList all = {"e", "1.mp3", "2.mp3"};
};

TEST_F(Faults, AFileSystemWithoutEntryTypesIsListedAndWalked)
{
    ASSERT_EQ(prepared(), (QStringList{"1.mp3", "2.mp3", "3.mp3"}));
    ScanDirHook::changeEntry = [](dirent& entry) { entry.d_type = DT_UNKNOWN; };
    ReadDirHook::hidesTypes = true;
    EXPECT_EQ(firstColumn(rows("d").value()), all);
    EXPECT_EQ(set(TavoFilesystemCountFilesPathSuffix(), "d").value(), QVariant(3));
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
