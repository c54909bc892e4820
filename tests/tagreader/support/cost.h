#pragma once

#include <functional>

/// What running something took.
struct Cost
{
    double seconds;
    /// By how much the process's memory grew while it ran, at its peak.
    long megabytes;
};

[[nodiscard]] Cost costOf(const std::function<void()>& work);
