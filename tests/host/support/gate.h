#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// Holds threads up until it is opened. Thread-safe.
class Gate
{
public:
    /// False if the gate stays closed for longer than any machine should need.
    bool wait()
    {
        constexpr std::chrono::seconds patience{20};
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, patience, [this] { return m_isOpen; });
    }

    void open()
    {
        const std::lock_guard lock(m_mutex);
        m_isOpen = true;
        m_changed.notify_all();
    }

    [[nodiscard]] bool isOpen()
    {
        const std::lock_guard lock(m_mutex);
        return m_isOpen;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isOpen = false;
};
