#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// Real files for a test: a root directory to serve, inside a directory that belongs to the test too. Paths are
/// relative to the root; what cannot be done throws.
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
    /// A directory goes with all that it holds.
    void remove(const QString& relative) const;
    void rename(const QString& from, const QString& to) const;
    void setModified(const QString& relative, qint64 secondsSinceEpoch, long nanoseconds = 0) const;
    /// Takes every right from everybody, until the tree goes.
    void forbid(const QString& relative);
    /// Gives everybody the right to read a directory.
    void permit(const QString& relative) const;

private:
    QTemporaryDir m_directory;
    QString m_root;
    QStringList m_forbidden;
};

/// While it lives the thread, and those that it starts, have no more rights than anybody: the super-user reads what is
/// forbidden too. Takes capabilities, for in an emulator's user namespace there is no other user.
class WithoutPrivileges
{
public:
    WithoutPrivileges();
    ~WithoutPrivileges();
    Q_DISABLE_COPY_MOVE(WithoutPrivileges)

private:
    int m_securityBits;
};
