#pragma once

#include "process/exitstatus.h"

/// How a program with an event loop ends.
namespace Ending {

/// Milliseconds that what is under way may still take.
constexpr int patience = 500;

/// The event loop ends with this status as soon as it gets there. From any thread.
void exitLater(ExitStatus status);

/// For an output that cannot be written to: that the reader has gone is no failure. From any thread.
void exitAfterFailedOutput(int errorNumber);

} // namespace Ending
