#include "fileworkertest.h"
#include "mallochook.h"

#include <QDir>

namespace {

class ScarceMemory : public FileWorkerTest
{
protected:
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

} // namespace
