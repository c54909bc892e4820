#pragma once

#include "content/result.h"

/// The program's exit statuses.
enum ExitStatus {
    Success = 0,
    /// The worker refused, or what was watched is gone.
    Refused = 1,
    WrongUse = 2,
    /// 128 + the signal's number, as shells have it.
    Interrupted = 130,
    Terminated = 143
};

[[nodiscard]] inline ExitStatus exitStatus(const Failure& failure)
{
    return failure.kind == Failure::Kind::WrongUse ? WrongUse : Refused;
}
