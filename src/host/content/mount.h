#pragma once

#include <i18n/trstring.h>
#include <model/cmpath.h>

#include <QByteArray>
#include <QStringList>

/// A worker that the host serves, as clients see it. It usually serves a directory tree, the root. A value, which stays
/// valid after the end of its worker.
struct Mount
{
    /// Begins all its paths.
    QString prefix;
    /// For people.
    TrString title;
    /// Canonical; empty if the worker serves no directory tree.
    QString rootDirectory;
    /// Wildcard patterns of playable names.
    QStringList playable = {};
    /// Whether network clients may follow symlinks that lead out of the root directory.
    bool followsLinks = false;
    /// Names the kind of worker for clients.
    QString kind = QStringLiteral("files");
    /// Bases of services of its own that may walk trees.
    QStringList longServices = {};

    /// Whether its paths stand for files and directories. If not, only its worker can judge them.
    [[nodiscard]] bool isTree() const { return !rootDirectory.isEmpty(); }
    [[nodiscard]] CMPath path(const QString& base) const { return {prefix, base}; }
    /// Paths at and below it name context menus, not directories.
    [[nodiscard]] CMPath contextMenu() const;
    [[nodiscard]] CMPath preparePlaylist() const;
    [[nodiscard]] CMPath prepareLibrary() const;
    [[nodiscard]] CMPath countFiles() const;

    /// Whether the path names a service that may walk a whole tree.
    [[nodiscard]] bool isWalk(const CMPath& service) const;
    /// The patterns of the files from which the service prepares items. If there are none, it takes every file below a
    /// directory, but no file that is named by itself.
    [[nodiscard]] QStringList preparablePatterns(const CMPath& service) const;
    /// Whether the last name in the base is that of a playable file.
    [[nodiscard]] bool isPlayable(const QString& base) const;
    /// The path of the file or directory at the base, encoded for system calls.
    [[nodiscard]] QByteArray localPath(const QString& base) const;
};
