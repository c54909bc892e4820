#pragma once

#include <model/cmpath.h>

#include <QByteArray>
#include <QStringList>

/// A directory tree that the host serves, as clients see it. A value that stays valid when its worker has gone.
struct Mount
{
    /// Of all its paths.
    QString prefix;
    /// For people.
    QString title;
    /// Canonical.
    QString rootDirectory;
    /// Wildcard patterns of playable names.
    QStringList playable = {};
    /// Whether network clients may follow symlinks that lead out of the root directory.
    bool followsLinks = false;

    [[nodiscard]] CMPath path(const QString& base) const { return {prefix, base}; }
    /// Paths at and below it name context menus, not directories.
    [[nodiscard]] CMPath contextMenu() const;
    [[nodiscard]] CMPath preparePlaylist() const;
    [[nodiscard]] CMPath prepareLibrary() const;
    [[nodiscard]] CMPath countFiles() const;

    /// Whether the path names a service that may walk the whole tree.
    [[nodiscard]] bool isWalk(const CMPath& service) const;
    /// Whether a file of the base's name is an item.
    [[nodiscard]] bool isPlayable(const QString& base) const;
    /// The file or directory that the base stands for, as the system's calls take it.
    [[nodiscard]] QByteArray localPath(const QString& base) const;
};
