#pragma once

#include <QObject>
#include <QThread>

#include <chrono>
#include <functional>

/// The thread in which all workers live, with an event loop that brings them their notifications.
class WorkerThread
{
public:
    WorkerThread();
    /// Runs what was posted before, then ends the thread and waits for it.
    ~WorkerThread();
    Q_DISABLE_COPY_MOVE(WorkerThread)

    [[nodiscard]] QThread* thread() { return &m_thread; }

    /// Calls the function in the thread and waits for its end; throws what the function throws. From any thread that
    /// the worker thread does not wait for; in the worker thread itself the function is called directly.
    void run(const std::function<void()>& function);
    /// Calls the function in the thread, after those that were posted before. From any thread. It should not throw.
    void post(std::function<void()> function);
    /// False if the thread is still busy with earlier functions, or hangs in the kernel, after `patience`.
    [[nodiscard]] bool answersWithin(std::chrono::milliseconds patience);

private:
    QThread m_thread;
    /// Lives in the thread. Not a worker: events queued for a worker are delivered in the middle of other calls.
    QObject m_context;
};
