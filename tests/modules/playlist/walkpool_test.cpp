#include "walkpool.h"

#include <QSemaphore>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>

#include <dlfcn.h>
#include <pthread.h>

namespace {

std::atomic<bool> hasSystemThreads{true};

} // namespace

/// Fails as where the system has no thread left.
int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*), void* argument) noexcept
{
    static const auto original = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return hasSystemThreads ? original(thread, attributes, function, argument) : EAGAIN;
}

namespace {

constexpr int longTime = 60'000;

/// Walks that hang until the end of the scope.
class HangingWalks
{
public:
    HangingWalks(WalkPool& pool, int count) : m_count(count)
    {
        for (int i = 0; i < count; ++i) {
            pool.start([shared = m_shared] {
                shared->begun.release();
                shared->mayEnd.acquire();
            });
        }
    }
    ~HangingWalks() { m_shared->mayEnd.release(m_count); }
    HangingWalks(const HangingWalks&) = delete;
    HangingWalks& operator=(const HangingWalks&) = delete;

    /// Whether so many more have begun.
    [[nodiscard]] bool waitUntilBegun(int count) const { return m_shared->begun.tryAcquire(count, longTime); }
    /// How many more have begun.
    [[nodiscard]] int begun() const { return m_shared->begun.available(); }

private:
    struct Shared
    {
        QSemaphore begun;
        QSemaphore mayEnd;
    };

    const int m_count;
    /// Some walks may run longer than the scope.
    const std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
};

TEST(WalkPool, RunsAFewWalksAtOnce)
{
    WalkPool pool{std::chrono::hours(1)};
    const HangingWalks hanging(pool, WalkPool::mostWalks + 1);
    EXPECT_TRUE(hanging.waitUntilBegun(WalkPool::mostWalks));
    EXPECT_EQ(hanging.begun(), 0);
}

TEST(WalkPool, AWalkThatTakesTooLongGivesWayToTheNext)
{
    QSemaphore hasRun;
    WalkPool pool{std::chrono::milliseconds(1)};
    const HangingWalks hanging(pool, 2 * WalkPool::mostWalks);
    pool.start([&hasRun] { hasRun.release(); });
    EXPECT_TRUE(hasRun.tryAcquire(1, longTime));
}

TEST(WalkPool, WalksThatTakeTooLongHaveALimit)
{
    constexpr int most = WalkPool::mostWalks + WalkPool::mostOverdue;
    WalkPool pool{std::chrono::milliseconds(1)};
    const HangingWalks hanging(pool, most + 1);
    EXPECT_TRUE(hanging.waitUntilBegun(most));
    EXPECT_EQ(hanging.begun(), 0);
}

TEST(WalkPool, AWalkWaitsUntilTheSystemHasAThread)
{
    QSemaphore hasRun;
    WalkPool pool{std::chrono::milliseconds(1)};
    hasSystemThreads = false;
    pool.start([&hasRun] { hasRun.release(); });
    hasSystemThreads = true;
    EXPECT_TRUE(hasRun.tryAcquire(1, longTime));
}

TEST(WalkPool, WaitsForWalksThatHaveNotBegun)
{
    QSemaphore hasRun;
    {
        WalkPool pool{std::chrono::hours(1)};
        for (int i = 0; i < 2 * WalkPool::mostWalks; ++i)
            pool.start([&hasRun] { hasRun.release(); });
    }
    EXPECT_EQ(hasRun.available(), 2 * WalkPool::mostWalks);
}

} // namespace
