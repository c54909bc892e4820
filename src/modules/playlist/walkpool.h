#pragma once

#include <QThreadPool>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

/// Runs walks in threads of its own, a few at once, in the order in which they are started.
///
/// A walk that waits for a dead mount does not hold up others: after a while it does not count any more, and the next
/// one begins. So there may be many more threads than walks that count, but not without limit.
class WalkPool
{
public:
    static constexpr int mostWalks = 4;
    static constexpr int mostOverdue = 60;

    /// A walk counts for as long as `patience`.
    explicit WalkPool(std::chrono::milliseconds patience);
    /// Waits for all walks, also those that have not begun.
    ~WalkPool();
    Q_DISABLE_COPY_MOVE(WalkPool)

    /// The walk must not throw. Any thread.
    void start(std::function<void()> walk);

private:
    using Clock = std::chrono::steady_clock;

    void run(const std::function<void()>& walk);
    void oversee();
    /// With the lock held.
    void changeOverdue(int difference);

    const std::chrono::milliseconds m_patience;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    /// When the walks that count become overdue, by their numbers, which rise with the time.
    std::map<int, Clock::time_point> m_deadlines;
    int m_lastNumber = 0;
    int m_overdue = 0;
    bool m_isEnding = false;
    QThreadPool m_pool;
    std::thread m_overseer;
};
