#pragma once

/// Environment variables of the preloaded library inotifylimits: how much the process may have at a time.
namespace InotifyLimits {

constexpr char watches[] = "TAVO_TEST_INOTIFY_WATCHES";
constexpr char instances[] = "TAVO_TEST_INOTIFY_INSTANCES";

} // namespace InotifyLimits
