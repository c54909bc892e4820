#pragma once

#include "rpc/dispatcher.h"
#include "stdio/linereader.h"
#include "stdio/outputqueue.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

/// Serves one client over two file descriptors, one JSON-RPC message a line.
///
/// Leader/follower: the thread that reads a request also serves it, if it is a quick one; the other thread takes over
/// reading.
class StdioServer
{
public:
    /// The descriptors stay the caller's, open as long as the process.
    StdioServer(const Services& services, int input, int output, OutputQueue::FailureHandler handler);
    ~StdioServer();
    Q_DISABLE_COPY_MOVE(StdioServer)

    /// Serves in the calling thread and one more. Returns true when the input has ended, every message is answered and
    /// all is written; false after stop(), or if the output has failed.
    [[nodiscard]] bool serve();
    /// Ends serve(), from any thread: nothing more is read.
    void stop();
    /// Waits until what is pending is written, at most for `patience`, then drops the rest.
    void finish(std::chrono::milliseconds patience);

private:
    void takeTurns();
    /// Reads a message and has it served; false at the end of the input.
    [[nodiscard]] bool takeTurn(std::unique_lock<std::mutex>& turn);
    void waitForRoom();
    [[nodiscard]] bool waitForAnswers();

    LineReader m_reader;
    const std::shared_ptr<OutputQueue> m_output;

    /// The turn to read, taken before m_mutex.
    std::mutex m_turn;
    /// One thread is serving, so the other one must go on reading.
    std::atomic<bool> m_isServing = false;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isStopped = false;

    Dispatcher m_dispatcher;
};
