#include "process/guardedcall.h"

#include <log/dbglog.h>

#include <exception>

namespace {

void logError(const char* problem, const char* reason)
{
    static const log4cplus::Logger logger = log4cplus::Logger::getInstance("tavo");
    DBGLOG(
        logger, log4cplus::ERROR_LOG_LEVEL, (DbgLogSite{"src/host/process/guardedcall", __LINE__, __func__}),
        problem << ": " << reason);
}

} // namespace

void logException(const char* problem) noexcept
{
    try {
        try {
            throw;
        } catch (const std::exception& exception) {
            logError(problem, exception.what());
        } catch (...) {
            logError(problem, "unknown exception");
        }
    } catch (...) {
        // There may not even be memory for the log.
    }
}
