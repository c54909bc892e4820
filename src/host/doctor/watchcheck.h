#pragma once

#include "doctor/finding.h"
#include "liveness/kernelevents.h"

/// Whether the kernel still grants the watches and instances of inotify that a host needs.
struct FreeWatches
{
    bool watch = true;
    bool instances = true;

    /// `instances`: how many a host needs.
    [[nodiscard]] static FreeWatches find(int instances);
};

/// Compares the limit with the directories that clients may open.
[[nodiscard]] Findings checkWatches(const FreeWatches& free, const KernelLimit& limit, qint64 directories);
