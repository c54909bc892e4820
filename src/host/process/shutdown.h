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
/// How long the clients of a network may take to read what is on its way.
constexpr std::chrono::milliseconds connectionPatience{200};

/// Makes the event loop end with this status as soon as it can. From any thread.
void exitLater(ExitStatus status);

/// For an output that cannot be written to: it is no failure that the reader is gone. From any thread; does not block.
void exitAfterFailedOutput(int errorNumber);

} // namespace Shutdown
