#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// A directory tree, removed with the object. Paths are relative to it. A failed operation ends the test program.
class TemporaryTree
{
public:
    TemporaryTree();
    ~TemporaryTree();
    Q_DISABLE_COPY_MOVE(TemporaryTree)

    /// Canonical.
    [[nodiscard]] QString root() const;
    [[nodiscard]] QString absolute(const QString& path) const;

    /// Creates missing parents too.
    void addDirectory(const QString& path);
    void addFile(const QString& path, const QByteArray& content = {});
    /// Seconds since 1970-01-01 UTC.
    void setModified(const QString& path, qint64 seconds);
    void rename(const QString& from, const QString& to);
    /// Removes a file, or a directory with its content.
    void remove(const QString& path);

private:
    QTemporaryDir m_directory;
};
