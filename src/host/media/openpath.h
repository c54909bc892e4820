#pragma once

#include "process/filedescriptor.h"

#include <QByteArray>

enum class Links {
    Refused,
    /// Followed as long as they stay below the directory.
    Below,
    Followed
};

/// A descriptor that stands for the file or directory at `path`, relative to an open directory, without opening it
/// (O_PATH); it is not open if there is none, or if the links forbid it. "Magic" links of /proc are never followed.
///
/// The kernel checks the links while it follows them, so that nothing can be swapped in between. A kernel before Linux
/// 5.6 and some sandboxes have no such check; there all links are refused.
[[nodiscard]] FileDescriptor openPath(int directory, const QByteArray& path, Links links);
