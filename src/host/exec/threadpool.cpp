#include "exec/threadpool.h"

#include "process/guardedcall.h"

#include <utility>

ThreadPool::ThreadPool(int threads) : ThreadPool()
{
    for (int i = 0; i < threads; ++i)
        m_threads.emplace_back([this] { work(); });
}

ThreadPool::~ThreadPool()
{
    static_cast<void>(stop(std::chrono::milliseconds::zero()));
    for (std::thread& thread : m_threads)
        thread.join();
}

void ThreadPool::post(std::function<void()> function)
{
    const std::lock_guard lock(m_mutex);
    if (m_isStopping)
        return;
    m_waiting.push_back(std::move(function));
    m_hasWork.notify_one();
}

bool ThreadPool::stop(std::chrono::milliseconds patience)
{
    std::deque<std::function<void()>> dropped;
    std::unique_lock lock(m_mutex);
    m_isStopping = true;
    dropped.swap(m_waiting);
    m_hasWork.notify_all();
    const bool isIdle = m_isIdle.wait_for(lock, patience, [this] { return m_running == 0; });
    // What the functions own is destroyed without the lock.
    lock.unlock();
    return isIdle;
}

void ThreadPool::work()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_hasWork.wait(lock, [this] { return m_isStopping || !m_waiting.empty(); });
        if (m_isStopping)
            return;
        std::function<void()> function = std::move(m_waiting.front());
        m_waiting.pop_front();
        ++m_running;
        lock.unlock();
        callGuarded(function);
        function = nullptr;
        lock.lock();
        --m_running;
        m_isIdle.notify_all();
    }
}
