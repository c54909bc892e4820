#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// Real files for a test: a root directory to serve, inside a directory that belongs to the test too. Paths are
/// relative to the root. Failures throw.
class FileTree
{
public:
    FileTree();
    ~FileTree();
    Q_DISABLE_COPY_MOVE(FileTree)

    /// Absolute and canonical.
    [[nodiscard]] const QString& root() const { return m_root; }
    [[nodiscard]] QString path(const QString& relative) const;

    /// With the directories above it.
    void addDirectory(const QString& relative) const;
    void addFile(const QString& relative, const QByteArray& content = {}) const;
    void addLink(const QString& relative, const QString& target) const;
    /// Removes a directory with its contents.
    void remove(const QString& relative) const;
    void rename(const QString& from, const QString& to) const;
    void setModified(const QString& relative, qint64 secondsSinceEpoch, long nanoseconds = 0) const;
    /// Removes all permissions; they come back when the tree is destroyed.
    void forbid(const QString& relative);
    /// Lets everybody read a directory.
    void permit(const QString& relative) const;

private:
    QTemporaryDir m_directory;
    QString m_root;
    QStringList m_forbidden;
};

/// While it exists, file permissions hold for this thread, and for threads that it starts, even if the user is root.
/// Drops capabilities instead of changing the user, because an emulator's user namespace has no other user.
class WithoutPrivileges
{
public:
    WithoutPrivileges();
    ~WithoutPrivileges();
    Q_DISABLE_COPY_MOVE(WithoutPrivileges)

private:
    int m_securityBits;
};
