#pragma once

/// Logs the exception that is being handled. `problem`: what it has spoilt.
void logException(const char* problem = "a task has failed") noexcept;

/// Calls the function at the edge of a thread or an event loop, where an exception would end the program. False if it
/// has thrown; the exception is logged.
template<typename Function>
bool callGuarded(const Function& function, const char* problem = "a task has failed") noexcept
{
    try {
        function();
        return true;
    } catch (...) {
        logException(problem);
        return false;
    }
}
