#include "process/hostapplication.h"

#include <log/dbglog.h>

#include <exception>

namespace {

void logError(const char* reason)
{
    static const log4cplus::Logger logger = log4cplus::Logger::getInstance("tavo");
    DBGLOG(
        logger, log4cplus::ERROR_LOG_LEVEL, (DbgLogSite{"src/host/process/hostapplication", __LINE__, __func__}),
        "an event could not be handled: " << reason);
}

} // namespace

bool HostApplication::notify(QObject* receiver, QEvent* event)
{
    try {
        return QCoreApplication::notify(receiver, event);
    } catch (const std::exception& exception) {
        logError(exception.what());
    } catch (...) {
        logError("unknown exception");
    }
    return true;
}
