#pragma once

/// A directory that the preloaded library deadmount makes a dead mount: looks at it, and at all below it, hang.
namespace DeadMount {

/// The environment variable that names the directory.
constexpr char directory[] = "TAVO_TEST_DEAD_MOUNT";
/// The mount is dead while there is a file of the directory's name with this behind it.
constexpr char dead[] = ".dead";
/// The library makes this one when the first look hangs.
constexpr char hangs[] = ".hangs";

} // namespace DeadMount
