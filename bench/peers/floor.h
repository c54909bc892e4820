#pragma once

#include <cstddef>
#include <string>

/// The system calls that a job needs, and nothing else: no worker can be faster.
namespace Floor {

/// Reads a directory with scandir() and alphasort(), decodes every name and frees everything. Returns the number of
/// entries.
std::size_t listNames(const std::string& directory);

/// As listNames(), with one stat() for each entry instead of the decoding.
std::size_t listAndStat(const std::string& directory);

} // namespace Floor
