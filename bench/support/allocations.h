#pragma once

#include <cstddef>

/// Calls of malloc(), calloc() and realloc() that this thread has made, whoever made them. Linking this in puts a
/// counter into the path of every allocation of the program.
[[nodiscard]] std::size_t allocationsMade() noexcept;
