#pragma once

/// Counts the calls of scandir() in any library of the program that links this.
namespace Listings {

/// Since the last call of reset().
[[nodiscard]] int made();
/// The most that ran at the same time since the last call of reset().
[[nodiscard]] int mostAtOnce();
void reset();

} // namespace Listings
