#include "process/queuedlog.h"

#include <log4cplus/spi/loggingevent.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <utility>

namespace {

constexpr std::size_t mostLines = 1000;

struct Line
{
    log4cplus::SharedAppenderPtr appender;
    log4cplus::spi::InternalLoggingEvent event;
};

log4cplus::spi::InternalLoggingEvent dropNotice(int lines)
{
    return {
        "tavo.log",
        log4cplus::WARN_LOG_LEVEL,
        "lines dropped because the log took no more: " + std::to_string(lines),
        "src/host/process/queuedlog",
        __LINE__,
        __func__};
}

} // namespace

/// The lines that wait. Thread-safe.
class QueuedLog::Queue
{
public:
    void add(Line line);
    /// Writes lines until close(), and what waits then.
    void write();
    void close();
    [[nodiscard]] bool isWrittenWithin(std::chrono::milliseconds patience);

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Line> m_lines;
    int m_dropped = 0;
    bool m_isWriting = false;
    bool m_isClosed = false;
};

void QueuedLog::Queue::add(Line line)
{
    const std::lock_guard lock(m_mutex);
    if (m_lines.size() >= mostLines) {
        ++m_dropped;
        return;
    }
    if (m_dropped > 0)
        m_lines.push_back({line.appender, dropNotice(std::exchange(m_dropped, 0))});
    m_lines.push_back(std::move(line));
    m_changed.notify_all();
}

void QueuedLog::Queue::write()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return !m_lines.empty() || m_isClosed; });
        if (m_lines.empty())
            return;
        const Line line = std::move(m_lines.front());
        m_lines.pop_front();
        m_isWriting = true;
        lock.unlock();
        line.appender->doAppend(line.event);
        lock.lock();
        m_isWriting = false;
        m_changed.notify_all();
    }
}

void QueuedLog::Queue::close()
{
    const std::lock_guard lock(m_mutex);
    m_isClosed = true;
    m_changed.notify_all();
}

bool QueuedLog::Queue::isWrittenWithin(std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience, [this] { return m_lines.empty() && !m_isWriting; });
}

/// Puts the lines of another appender into the queue.
class QueuedLog::Appender : public log4cplus::Appender
{
public:
    Appender(std::shared_ptr<Queue> queue, log4cplus::SharedAppenderPtr original)
        : m_queue(std::move(queue)), m_original(std::move(original))
    {
    }
    ~Appender() override { destructorImpl(); }
    Appender(const Appender&) = delete;
    Appender& operator=(const Appender&) = delete;

    void close() override { closed = true; }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        // Of the thread that logs.
        event.gatherThreadSpecificData();
        m_queue->add({m_original, event});
    }

private:
    const std::shared_ptr<Queue> m_queue;
    const log4cplus::SharedAppenderPtr m_original;
};

QueuedLog::QueuedLog() : m_queue(std::make_shared<Queue>())
{
    replaceAppendersOf(log4cplus::Logger::getRoot());
    for (const log4cplus::Logger& logger : log4cplus::Logger::getCurrentLoggers())
        replaceAppendersOf(logger);
    m_thread = std::thread([queue = m_queue] { queue->write(); });
}

QueuedLog::~QueuedLog()
{
    for (Replaced& replaced : m_replaced) {
        replaced.logger.removeAppender(replaced.queued);
        replaced.logger.addAppender(replaced.original);
    }
    m_queue->close();
    m_thread.join();
}

bool QueuedLog::isWrittenWithin(std::chrono::milliseconds patience)
{
    return m_queue->isWrittenWithin(patience);
}

void QueuedLog::replaceAppendersOf(log4cplus::Logger logger)
{
    for (const log4cplus::SharedAppenderPtr& original : logger.getAllAppenders()) {
        const log4cplus::SharedAppenderPtr queued(new Appender(m_queue, original));
        logger.removeAppender(original);
        logger.addAppender(queued);
        m_replaced.push_back({logger, original, queued});
    }
}
