#pragma once

#include "support/race.h"

#include <string>
#include <vector>

/// Runs a program to its end, without output, and tells the time that it took; a failure ends the benchmark.
[[nodiscard]] Timing runProgram(const std::vector<std::string>& command);
