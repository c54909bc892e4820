#pragma once

#include <functional>

/// What running something took.
struct Cost
{
    /// Of the processor's time: what else runs on the machine is no matter.
    double seconds;
    /// By how much the process's memory grew while it ran, at its peak.
    long megabytes;
};

[[nodiscard]] Cost costOf(const std::function<void()>& work);
