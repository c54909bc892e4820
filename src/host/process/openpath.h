#pragma once

#include "process/filedescriptor.h"

#include <QByteArray>

enum class Links {
    Refused,
    /// Followed as long as they stay below the directory.
    Below,
    Followed
};

/// A descriptor (O_PATH) for the file or directory at `path`, relative to an open directory. The descriptor is not open
/// if nothing is there or a symlink on the way is refused. The magic links of /proc are never followed.
///
/// The kernel checks the symlinks while it follows them, so nothing can be swapped in between. Before Linux 5.6 and in
/// some sandboxes it cannot; there all symlinks are refused.
[[nodiscard]] FileDescriptor openPath(int directory, const QByteArray& path, Links links);

/// As openPath() of an absolute path, without symlinks. Does not wait: the descriptor is also not open if the kernel
/// would have to read from the disk, and before Linux 5.12.
[[nodiscard]] FileDescriptor openCachedPath(const QByteArray& absolutePath);
