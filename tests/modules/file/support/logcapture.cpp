#include "logcapture.h"

#include "log/dbglog.h"

#include <algorithm>

namespace {

constexpr char loggerName[] = "CB_Filesystem";

} // namespace

std::ostream& operator<<(std::ostream& out, const LogLine& line)
{
    return out << log4cplus::getLogLevelManager().toString(line.level) << " \"" << line.text << "\" in "
               << line.function;
}

std::vector<LogLine> LogCapture::lines() const
{
    std::vector<LogLine> lines;
    for (const Written& line : written())
        lines.push_back({line.level, line.message, line.function});
    return lines;
}

std::vector<LogLine> LogCapture::linesOf(const char* function) const
{
    std::vector<LogLine> lines;
    for (const LogLine& line : this->lines()) {
        if (line.function == function)
            lines.push_back(line);
    }
    return lines;
}

int LogCapture::count(const QString& text) const
{
    const std::vector<Written> all = written();
    return static_cast<int>(std::count_if(
        all.cbegin(), all.cend(), [&text](const Written& line) { return line.message == text.toStdString(); }));
}

int LogCapture::numberOf(const QString& text) const
{
    int number = 0;
    for (const Written& line : written()) {
        if (line.message == text.toStdString())
            number = number == 0 ? line.line : -1;
    }
    return number;
}

LogLine traceLine(const char* function, const QString& text)
{
    return {log4cplus::TRACE_LOG_LEVEL, text.toStdString(), function};
}

LogLine debugLine(const char* function, const QString& text)
{
    return {log4cplus::DEBUG_LOG_LEVEL, text.toStdString(), function};
}

LogLine infoLine(const char* function, const QString& text)
{
    return {log4cplus::INFO_LOG_LEVEL, text.toStdString(), function};
}

LogLine errorLine(const char* function, const QString& text)
{
    return {log4cplus::ERROR_LOG_LEVEL, text.toStdString(), function};
}

QString entryText(const char* function, const QString& addition)
{
    return "Enter " + QString::fromStdString(dbglog_scopedFunction(function, loggerName)) + ": " + addition;
}

LogLine entryLine(const char* function, const QString& addition)
{
    return traceLine(function, entryText(function, addition));
}
