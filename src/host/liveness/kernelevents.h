#pragma once

#include <QByteArray>
#include <QString>

/// The type of the file system that holds the file or directory, as in "ext4"; empty if it is unknown.
[[nodiscard]] QByteArray fileSystemType(const QByteArray& localPath);

/// True for file systems that other machines, or other programs, change without the kernel's knowledge.
[[nodiscard]] bool sendsNoEvents(const QByteArray& fileSystemType);

/// One of the kernel's limits on inotify.
struct KernelLimit
{
    /// As sysctl(8) takes it.
    QString name;
    int value;
};

/// The lower of the two that the kernel has: the whole system's and that of the user's namespace.
[[nodiscard]] KernelLimit watchLimit();
[[nodiscard]] KernelLimit instanceLimit();

/// The inotify watches that this process has. Takes a few microseconds for each watch and each open descriptor.
[[nodiscard]] qint64 ownWatches();

/// True if one more watch is more than the kernel grants.
[[nodiscard]] bool isWatchLimitReached(const QByteArray& localPath);
/// True if the kernel does not grant so many further instances.
[[nodiscard]] bool isInstanceLimitReached(int instances);
