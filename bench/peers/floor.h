#pragma once

#include <cstddef>
#include <string>

/// The least that the system calls of a job cost, with nothing around them.
namespace Floor {

/// Reads a directory with scandir() and alphasort(), decodes every name, frees all. Returns the number of entries.
std::size_t listNames(const std::string& directory);

/// As listNames(), with one stat() for each entry instead of the decoding.
std::size_t listAndStat(const std::string& directory);

} // namespace Floor
