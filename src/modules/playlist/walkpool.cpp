#include "walkpool.h"

#include <algorithm>
#include <utility>

WalkPool::WalkPool(std::chrono::milliseconds patience) : m_patience(patience)
{
    m_pool.setMaxThreadCount(mostWalks);
    m_overseer = std::thread([this] { oversee(); });
}

WalkPool::~WalkPool()
{
    m_pool.waitForDone();
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    m_overseer.join();
}

void WalkPool::start(std::function<void()> walk)
{
    m_pool.start([this, walk = std::move(walk)] { run(walk); });
}

void WalkPool::run(const std::function<void()>& walk)
{
    int number = 0;
    {
        const std::lock_guard lock(m_mutex);
        number = ++m_lastNumber;
        m_deadlines.emplace(number, Clock::now() + m_patience);
    }
    m_changed.notify_one();
    walk();
    const std::lock_guard lock(m_mutex);
    if (m_deadlines.erase(number) == 0)
        changeOverdue(-1);
}

void WalkPool::oversee()
{
    std::unique_lock lock(m_mutex);
    while (!m_isEnding) {
        if (m_deadlines.empty()) {
            m_changed.wait(lock);
            continue;
        }
        const auto earliest = m_deadlines.begin();
        if (const Clock::time_point deadline = earliest->second; Clock::now() < deadline) {
            m_changed.wait_until(lock, deadline);
            continue;
        }
        m_deadlines.erase(earliest);
        changeOverdue(1);
    }
}

void WalkPool::changeOverdue(int difference)
{
    m_overdue += difference;
    m_pool.setMaxThreadCount(mostWalks + std::min(m_overdue, mostOverdue));
}
