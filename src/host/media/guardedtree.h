#pragma once

#include "process/openpath.h"

#include <QByteArrayList>
#include <QString>

#include <optional>

#include <sys/stat.h>

struct Mount;

/// The files of a root that network clients may read. It stays confined even if files and links are swapped meanwhile.
///
/// Bases are relative and decoded. Nothing is found under a name that starts with a dot, even if a visible symlink
/// leads to it below the root. Symlinks that lead out of the root are followed only if the mount follows them. All
/// functions may wait for the disk.
class GuardedTree
{
public:
    /// A regular file, open for reading, and its status before it was opened.
    struct File
    {
        FileDescriptor descriptor;
        struct stat status;
    };

    /// A directory, open for reading, and its status before it was opened.
    using Directory = File;

    /// Opens the root directory, by its path without symlinks; nothing if it is not there, or the mount has none. A
    /// tree is for one request: an open directory would keep its drive from being unmounted, and stay the old one when
    /// another is mounted.
    [[nodiscard]] static std::optional<GuardedTree> open(const Mount& mount);

    [[nodiscard]] std::optional<File> openFile(const QString& base) const;
    /// The empty base is the root directory.
    [[nodiscard]] std::optional<Directory> openDirectory(const QString& base) const;

private:
    explicit GuardedTree(FileDescriptor directory, bool followsLinks);

    [[nodiscard]] std::optional<File> open(const QByteArray& path, mode_t type, int flags) const;
    [[nodiscard]] FileDescriptor find(const QByteArray& path) const;
    /// Whether clients may read the file at this absolute path, which has no symlinks.
    [[nodiscard]] bool isShown(const QByteArray& realPath) const;

    FileDescriptor m_directory;
    QByteArray m_realPath;
    bool m_followsLinks;
};

/// The status of the file that openFile() would open, provided that no symlink leads there. Does not wait for the disk:
/// also nothing if the kernel would have to.
[[nodiscard]] std::optional<struct stat> promptStatus(const Mount& mount, const QString& base);

/// Whether both belong to the same file, and neither its content nor its permissions have changed in between.
[[nodiscard]] bool isUnchanged(const struct stat& before, const struct stat& now);

/// Hexadecimal digits that identify the file and change when it is written. They are a digest, which does not reveal
/// the status.
[[nodiscard]] QByteArray identityOf(const struct stat& status);

/// The names of the directory's entries that do not start with a dot, in no order.
[[nodiscard]] QByteArrayList visibleNames(GuardedTree::Directory directory);
