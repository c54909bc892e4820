#pragma once

#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Keeps what one logger writes at and above a level, as long as it lives; nobody else gets it.
class KeptLog
{
public:
    struct Line
    {
        log4cplus::LogLevel level;
        std::string message;
        std::string file;
        int line;
        std::string function;
    };

    KeptLog(const char* logger, log4cplus::LogLevel level) : m_logger(log4cplus::Logger::getInstance(logger))
    {
        m_logger.setAdditivity(false);
        m_logger.setLogLevel(level);
        m_logger.addAppender(m_appender);
    }
    ~KeptLog()
    {
        m_logger.removeAppender(m_appender);
        m_logger.setLogLevel(log4cplus::NOT_SET_LOG_LEVEL);
        m_logger.setAdditivity(true);
    }
    KeptLog(const KeptLog&) = delete;
    KeptLog& operator=(const KeptLog&) = delete;

    [[nodiscard]] log4cplus::Logger& logger() { return m_logger; }
    [[nodiscard]] std::vector<Line> lines() const { return m_keeper->lines(); }
    void clear() { m_keeper->clear(); }
    /// Runs for every line, in the thread that writes it.
    void setObserver(std::function<void(const Line&)> observer) { m_keeper->observer = std::move(observer); }

private:
    class Keeper : public log4cplus::Appender
    {
    public:
        ~Keeper() override { destructorImpl(); }
        void close() override {}

        [[nodiscard]] std::vector<Line> lines() const
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            return m_lines;
        }

        void clear()
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_lines.clear();
        }

        std::function<void(const Line&)> observer;

    protected:
        void append(const log4cplus::spi::InternalLoggingEvent& event) override
        {
            const Line line{
                event.getLogLevel(), event.getMessage(), event.getFile(), event.getLine(), event.getFunction()};
            if (observer)
                observer(line);
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_lines.push_back(line);
        }

    private:
        mutable std::mutex m_mutex;
        std::vector<Line> m_lines;
    };

    log4cplus::Logger m_logger;
    Keeper* m_keeper = new Keeper;
    log4cplus::SharedAppenderPtr m_appender{m_keeper};
};
