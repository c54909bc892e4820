#include "walkpool.h"

#include <system_error>
#include <utility>

WalkPool::WalkPool(std::chrono::milliseconds patience) : m_patience(patience), m_overseer([this] { oversee(); }) {}

WalkPool::~WalkPool()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    m_overseer.join();
}

void WalkPool::start(std::function<void()> walk)
{
    {
        const std::lock_guard lock(m_mutex);
        m_waiting.push_back(std::move(walk));
        begin();
    }
    m_changed.notify_one();
}

void WalkPool::begin()
{
    while (!m_waiting.empty() && m_deadlines.size() < mostWalks && m_threads.size() < mostWalks + mostOverdue) {
        const int number = m_lastNumber + 1;
        try {
            m_threads.emplace(number, std::thread([this, number, walk = m_waiting.front()] { run(number, walk); }));
        } catch (const std::system_error&) {
            // The system has no thread left now.
            return;
        }
        m_lastNumber = number;
        m_deadlines.emplace(number, Clock::now() + m_patience);
        m_waiting.pop_front();
    }
}

void WalkPool::run(int number, const std::function<void()>& walk)
{
    walk();
    {
        const std::lock_guard lock(m_mutex);
        m_deadlines.erase(number);
        m_ended.push_back(number);
    }
    m_changed.notify_one();
}

void WalkPool::oversee()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        joinEnded(lock);
        while (!m_deadlines.empty() && m_deadlines.begin()->second <= Clock::now())
            m_deadlines.erase(m_deadlines.begin());
        begin();
        if (!m_ended.empty())
            continue;
        if (m_isEnding && m_threads.empty())
            return;
        if (m_deadlines.empty() && m_waiting.empty())
            m_changed.wait(lock);
        else
            m_changed.wait_until(lock, m_deadlines.empty() ? Clock::now() + m_patience : m_deadlines.begin()->second);
    }
}

void WalkPool::joinEnded(std::unique_lock<std::mutex>& lock)
{
    for (const int number : std::exchange(m_ended, {})) {
        std::thread thread = std::move(m_threads.at(number));
        m_threads.erase(number);
        lock.unlock();
        thread.join();
        lock.lock();
    }
}
