#pragma once

#include <QString>

#include <sys/types.h>

/// The path of a file of /proc about a process of ours.
[[nodiscard]] QString procFile(pid_t process, const char* name);

/// In kB, by its name in /proc/PID/status: "VmRSS" for now, "VmHWM" for the peak.
[[nodiscard]] double memoryOf(pid_t process, const char* name);
