#pragma once

#include "doctor/finding.h"
#include "liveness/kernelevents.h"

/// What the kernel grants beyond what is in use now.
struct FreeWatches
{
    bool watch = true;
    bool instances = true;

    /// `instances`: how many a host needs.
    [[nodiscard]] static FreeWatches find(int instances);
};

/// Compares the limit with the directories that clients may open.
[[nodiscard]] Findings checkWatches(const FreeWatches& free, const KernelLimit& limit, qint64 directories);
