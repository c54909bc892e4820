#pragma once

#include <cstddef>

/// Number of calls of malloc(), calloc() and realloc() that this thread has made, in any library. A program that links
/// this counts all its allocations.
[[nodiscard]] std::size_t allocationsMade() noexcept;
