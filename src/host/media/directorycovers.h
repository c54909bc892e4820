#pragma once

#include "media/guardedtree.h"

#include <QCache>
#include <QStringList>

#include <mutex>

/// The names in a directory that its cover can come from.
struct DirectoryCovers
{
    /// The best first; three at most.
    QStringList pictures;
    /// The first item by name; null if there is none.
    QString firstPlayable;
};

/// Lists directories for their covers, and remembers the result until the directory changes: clients ask for the cover
/// of each file of a large directory. Thread-safe; may wait for the disk.
class DirectoryCoversFinder
{
public:
    /// Empty if there is no such directory.
    [[nodiscard]] DirectoryCovers find(const GuardedTree& tree, const Mount& mount, const QString& base);

private:
    std::mutex m_mutex;
    /// By the directory's identity.
    QCache<QByteArray, DirectoryCovers> m_known{1024};
};
