#pragma once

#include <sys/types.h>

/// A number of /proc/PROCESS/status, in kB, such as that of "VmRSS".
[[nodiscard]] double kilobytesOf(const char* name, pid_t process);
