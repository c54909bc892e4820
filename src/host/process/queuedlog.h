#pragma once

#include <log4cplus/appender.h>
#include <log4cplus/logger.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

/// As long as it lives, a thread of its own writes all lines of the process's log, so that a log that takes no more,
/// such as a pipe that nobody reads, blocks no thread that logs. At most 1,000 lines wait; further ones are dropped,
/// and the log then says how many.
class QueuedLog
{
public:
    /// For all appenders that are configured.
    QueuedLog();
    /// Waits until all is written.
    ~QueuedLog();
    QueuedLog(const QueuedLog&) = delete;
    QueuedLog& operator=(const QueuedLog&) = delete;

    /// False if some lines still wait after that: the destructor would wait for them.
    [[nodiscard]] bool isWrittenWithin(std::chrono::milliseconds patience);

private:
    class Appender;
    class Queue;

    struct Replaced
    {
        log4cplus::Logger logger;
        log4cplus::SharedAppenderPtr original;
        log4cplus::SharedAppenderPtr queued;
    };

    void replaceAppendersOf(log4cplus::Logger logger);

    const std::shared_ptr<Queue> m_queue;
    std::vector<Replaced> m_replaced;
    std::thread m_thread;
};
