#pragma once

#include "exec/threadpool.h"

#include <QString>

#include <chrono>
#include <functional>
#include <map>
#include <mutex>

/// Threads for each root, so that a root whose disk hangs holds up no other one. Thread-safe.
class RootPools
{
public:
    /// `threads`: of each root, from the first function that is posted for it.
    explicit RootPools(int threads) : m_threads(threads) {}

    /// Runs the function on a thread of the root, as ThreadPool does. `root`: its ID; there must not be any number of
    /// them.
    void post(const QString& root, std::function<void()> function);

    /// Drops the functions that wait. False if one still runs after `patience`, which counts for all roots together.
    [[nodiscard]] bool stop(std::chrono::milliseconds patience);

private:
    const int m_threads;
    std::mutex m_mutex;
    bool m_isStopping = false;
    /// Grows before the stop, and never shrinks.
    std::map<QString, ThreadPool> m_pools;
};
