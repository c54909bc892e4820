#pragma once

#include "content/contenthost.h"
#include "doctor/finding.h"

#include <QByteArray>

#include <chrono>
#include <functional>

/// The result of a walk through the directory of a root.
struct TreeReport
{
    Findings findings;
    qint64 directories = 0;
    /// Playable ones.
    qint64 files = 0;
};

/// Called for each directory and playable file that the walk comes to; `path` is relative to the root.
using WalkProgress = std::function<void(const TreeReport& soFar, const QString& path)>;

/// Looks at all that a root serves: opens each directory and each playable file, and reads the tags. Follows no
/// symlinks. Waits for the disk; a root that does not answer is a finding.
[[nodiscard]] TreeReport
checkTree(const RootSettings& root, std::chrono::milliseconds sweepInterval, const WalkProgress& progress);

/// None if the file system reports its changes to the kernel.
[[nodiscard]] Findings
checkFileSystem(const QString& directory, const QByteArray& type, std::chrono::milliseconds sweepInterval);
