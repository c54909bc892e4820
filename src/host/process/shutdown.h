#pragma once

#include "process/exitstatus.h"

#include <chrono>

/// How a program with an event loop ends.
namespace Shutdown {

/// How long the requests under way may take after they were cancelled, the pending output after that, and the worker
/// thread and the log after both.
constexpr std::chrono::milliseconds requestPatience{1200};
constexpr std::chrono::milliseconds outputPatience{500};
constexpr std::chrono::milliseconds workerPatience{200};
constexpr std::chrono::milliseconds logPatience{100};
/// How long network clients may take to read the pending output.
constexpr std::chrono::milliseconds connectionPatience{200};

/// Makes the event loop end with this status as soon as it can. From any thread.
void exitLater(ExitStatus status);

/// Ends the program because its output cannot be written: with success if only the reader is gone. From any thread;
/// does not block.
void exitAfterFailedOutput(int errorNumber);

} // namespace Shutdown
