#pragma once

#include "keptlog.h"

#include <QString>

#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

/// A log line, written or expected, without its place in the source.
struct LogLine
{
    log4cplus::LogLevel level;
    std::string text;
    /// The full signature of the operation that writes it.
    std::string function;

    friend bool operator==(const LogLine& a, const LogLine& b)
    {
        return a.level == b.level && a.text == b.text && a.function == b.function;
    }
    friend std::ostream& operator<<(std::ostream& out, const LogLine& line);
};

/// Records the file worker's log lines, from TRACE on unless another level is set.
class LogCapture
{
public:
    using Written = KeptLog::Line;

    void setLevel(log4cplus::LogLevel level) { m_log.logger().setLogLevel(level); }
    void clear() { m_log.clear(); }
    /// Runs for every line, in the thread that writes it.
    void setObserver(std::function<void(const Written&)> observer) { m_log.setObserver(std::move(observer)); }

    [[nodiscard]] std::vector<Written> written() const { return m_log.lines(); }
    [[nodiscard]] std::vector<LogLine> lines() const;
    /// Only those of one operation.
    [[nodiscard]] std::vector<LogLine> linesOf(const char* function) const;
    /// How many lines have this text.
    [[nodiscard]] int count(const QString& text) const;
    /// The number of the only line that has this text; 0 if there is none, -1 if there are several.
    [[nodiscard]] int numberOf(const QString& text) const;

private:
    KeptLog m_log{"CB_Filesystem", log4cplus::TRACE_LOG_LEVEL};
};

[[nodiscard]] LogLine traceLine(const char* function, const QString& text);
[[nodiscard]] LogLine debugLine(const char* function, const QString& text);
[[nodiscard]] LogLine infoLine(const char* function, const QString& text);
[[nodiscard]] LogLine errorLine(const char* function, const QString& text);
/// The line with which the operation begins.
[[nodiscard]] LogLine entryLine(const char* function, const QString& addition = QString());
/// Its text.
[[nodiscard]] QString entryText(const char* function, const QString& addition = QString());
