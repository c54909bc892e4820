#include "process/guardedcall.h"

#include "process/hostlog.h"

#include <exception>

namespace {

void logError(const char* problem, const char* reason)
{
    HOST_LOG(hostLogger(), ERROR, "src/host/process/guardedcall", problem << ": " << reason);
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
