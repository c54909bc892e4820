#pragma once

#include <QtGlobal>

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace boost::asio {
class io_context;
}

/// The thread that serves all sockets. Nothing that runs in it may wait.
class IoThread
{
public:
    using Function = std::function<void()>;

    IoThread();
    /// Stops the thread, then destroys all functions and operations that are pending.
    ~IoThread();
    Q_DISABLE_COPY_MOVE(IoThread)

    /// Calls the function in the thread, after those that were posted before. From any thread.
    void post(Function function);
    /// Calls the function in the thread when the time is up. From any thread.
    void after(std::chrono::milliseconds time, Function function);
    /// Calls nothing more, and waits for what is running. From another thread.
    void stop();

    /// For the sockets and timers that live in the thread.
    [[nodiscard]] boost::asio::io_context& context() { return *m_context; }

private:
    void run();

    std::unique_ptr<boost::asio::io_context> m_context;
    std::thread m_thread;
};
