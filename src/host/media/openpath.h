#pragma once

#include "process/filedescriptor.h"

#include <QByteArray>

enum class Links {
    Refused,
    /// Followed as long as they stay below the directory.
    Below,
    Followed
};

enum class Lookup {
    /// Reads from the disk if need be.
    Complete,
    /// Finds only what the kernel can find without waiting; before Linux 5.12, nothing.
    CachedOnly
};

/// A descriptor (O_PATH) for the file or directory at `path`, relative to an open directory. The descriptor is not open
/// if nothing is there or a symlink on the way is refused. The magic links of /proc are never followed.
///
/// The kernel checks the symlinks while it follows them, so nothing can be swapped in between. Before Linux 5.6 and in
/// some sandboxes it cannot; there all symlinks are refused.
[[nodiscard]] FileDescriptor
openPath(int directory, const QByteArray& path, Links links, Lookup lookup = Lookup::Complete);
