#pragma once

/// Counts the calls of scandir() that the program makes, whichever library they come from. Linking this in puts the
/// counter into the path of every listing.
namespace Listings {

/// Since the last call of reset().
[[nodiscard]] int made();
/// The most that ran at one time since the last call of reset().
[[nodiscard]] int mostAtOnce();
void reset();

} // namespace Listings
