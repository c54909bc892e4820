#pragma once

#include "media/openpath.h"

#include <QByteArrayList>
#include <QString>

#include <optional>

#include <sys/stat.h>

struct Mount;

/// What network clients may read of a root, safe from whatever is swapped while they read it.
///
/// Bases are relative and decoded. Nothing is found under a name that starts with a dot, nor where a visible link leads
/// to such a name below the root. Links that lead out of the root are followed only if the root follows links. May wait
/// for the disk.
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

    /// Nothing if the root directory is not there. It is opened each time, by a path without links, so that a drive can
    /// be removed and mounted again.
    [[nodiscard]] static std::optional<GuardedTree> open(const Mount& mount);

    [[nodiscard]] std::optional<File> openFile(const QString& base) const;
    /// The empty base is the root directory.
    [[nodiscard]] std::optional<Directory> openDirectory(const QString& base) const;

private:
    explicit GuardedTree(FileDescriptor directory, bool followsLinks);

    [[nodiscard]] std::optional<File> open(const QByteArray& path, mode_t type, int flags) const;
    [[nodiscard]] bool isShown(const QByteArray& realPath) const;

    FileDescriptor m_directory;
    QByteArray m_realPath;
    bool m_followsLinks;
};

/// Differs between any two files, and between two states of a file, as far as the file system tells them apart.
/// Hexadecimal digits that reveal nothing else.
[[nodiscard]] QByteArray identityOf(const struct stat& status);

/// The names of the directory's entries that do not start with a dot, in no order.
[[nodiscard]] QByteArrayList visibleNames(GuardedTree::Directory directory);
