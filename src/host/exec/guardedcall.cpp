#include "exec/guardedcall.h"

#include <log/dbglog.h>

#include <exception>

namespace {

void logError(const char* reason)
{
    static const log4cplus::Logger logger = log4cplus::Logger::getInstance("tavo");
    DBGLOG(
        logger, log4cplus::ERROR_LOG_LEVEL, (DbgLogSite{"src/host/exec/guardedcall", __LINE__, __func__}),
        "a task has failed: " << reason);
}

} // namespace

void logException() noexcept
{
    try {
        try {
            throw;
        } catch (const std::exception& exception) {
            logError(exception.what());
        } catch (...) {
            logError("unknown exception");
        }
    } catch (...) {
        // There may not even be memory for the log.
    }
}
