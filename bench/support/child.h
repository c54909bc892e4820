#pragma once

#include "support/race.h"

#include <string>
#include <vector>

/// Runs a program without output and returns the time that it took; its failure ends the benchmark.
[[nodiscard]] Timing runProgram(const std::vector<std::string>& command);
