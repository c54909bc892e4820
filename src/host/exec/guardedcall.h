#pragma once

/// Logs the exception that is being handled.
void logException() noexcept;

/// Calls the function at the edge of a thread, where an exception would end the program. False if it has thrown; the
/// exception is logged.
template<typename Function>
bool callGuarded(const Function& function) noexcept
{
    try {
        function();
        return true;
    } catch (...) {
        logException();
        return false;
    }
}
