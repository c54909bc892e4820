#pragma once

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

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

    void run(int number, const std::function<void()>& walk);
    void oversee();
    /// Begins the walks that may begin. With the lock held.
    void begin();
    void joinEnded(std::unique_lock<std::mutex>& lock);

    const std::chrono::milliseconds m_patience;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_waiting;
    /// By the numbers of their walks.
    std::map<int, std::thread> m_threads;
    std::vector<int> m_ended;
    /// When the walks that count become overdue, by their numbers, which rise with the time.
    std::map<int, Clock::time_point> m_deadlines;
    int m_lastNumber = 0;
    bool m_isEnding = false;
    /// Joins the others.
    std::thread m_overseer;
};
