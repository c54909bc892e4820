#include "exec/rootpools.h"

#include "support/gate.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

using namespace std::chrono_literals;

const QString drive = QStringLiteral("drive");
const QString music = QStringLiteral("music");

TEST(RootPools, RootThatHangsHoldsUpNoOther)
{
    Gate mayGoOn;
    Gate served;
    RootPools pools(1);
    pools.post(drive, [&mayGoOn] { EXPECT_TRUE(mayGoOn.wait()); });
    pools.post(music, [&served] { served.open(); });
    EXPECT_TRUE(served.wait());
    mayGoOn.open();
}

TEST(RootPools, StopDropsWhatWaitsInAllRoots)
{
    Gate mayGoOn;
    Gate started;
    std::atomic<int> runs{0};
    RootPools pools(1);
    pools.post(music, [] {});
    pools.post(drive, [&] {
        started.open();
        EXPECT_TRUE(mayGoOn.wait());
    });
    pools.post(drive, [&runs] { ++runs; });
    ASSERT_TRUE(started.wait());
    EXPECT_FALSE(pools.stop(1ms));
    pools.post(music, [&runs] { ++runs; });
    pools.post(QStringLiteral("other"), [&runs] { ++runs; });
    mayGoOn.open();
    EXPECT_TRUE(pools.stop(20s));
    EXPECT_EQ(runs, 0);
}

} // namespace
