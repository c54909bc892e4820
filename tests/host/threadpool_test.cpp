#include "exec/threadpool.h"

#include "support/gate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <memory>
#include <new>

namespace {

using namespace std::chrono_literals;

TEST(ThreadPool, RunsFunctionsInTheirOrder)
{
    ThreadPool pool(1);
    std::vector<int> order;
    std::promise<void> done;
    for (int i = 0; i < 100; ++i)
        pool.post([&order, i] { order.push_back(i); });
    pool.post([&done] { done.set_value(); });
    done.get_future().wait();
    EXPECT_EQ(order.size(), 100U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(ThreadPool, AllThreadsWorkAtATime)
{
    Gate first;
    Gate second;
    ThreadPool pool(2);
    std::promise<void> done;
    pool.post([&] {
        first.open();
        EXPECT_TRUE(second.wait());
        done.set_value();
    });
    pool.post([&] {
        EXPECT_TRUE(first.wait());
        second.open();
    });
    done.get_future().wait();
}

TEST(ThreadPool, GoesOnAfterAFunctionThatThrows)
{
    ThreadPool pool(1);
    std::promise<void> done;
    pool.post([] { throw std::bad_alloc(); });
    pool.post([] { throw 1; });
    pool.post([&done] { done.set_value(); });
    done.get_future().wait();
}

TEST(ThreadPool, StoppedPoolDropsWhatWaits)
{
    Gate gate;
    Gate started;
    std::atomic<int> runs{0};
    const auto owned = std::make_shared<int>();
    ThreadPool pool(1);
    pool.post([&] {
        started.open();
        EXPECT_TRUE(gate.wait());
    });
    pool.post([&runs, owned] { ++runs; });
    ASSERT_TRUE(started.wait());
    EXPECT_FALSE(pool.stop(1ms));
    EXPECT_EQ(owned.use_count(), 1);
    pool.post([&runs] { ++runs; });
    gate.open();
    EXPECT_TRUE(pool.stop(20s));
    EXPECT_EQ(runs, 0);
}

} // namespace
