#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// Runs functions on a fixed number of threads, in the order in which they were posted. Thread-safe.
class ThreadPool
{
public:
    explicit ThreadPool(int threads);
    /// Drops the functions that wait, and waits for those that run.
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    /// An exception that the function throws is logged. After stop() the function is dropped.
    void post(std::function<void()> function);

    /// Drops the functions that wait. False if one still runs after `patience`.
    [[nodiscard]] bool stop(std::chrono::milliseconds patience);

private:
    /// Without threads. The destructor ends those that the other constructor has begun, even if that throws.
    ThreadPool() = default;

    void work();

    std::mutex m_mutex;
    std::condition_variable m_hasWork;
    std::condition_variable m_isIdle;
    std::deque<std::function<void()>> m_waiting;
    int m_running = 0;
    bool m_isStopping = false;
    std::vector<std::thread> m_threads;
};
