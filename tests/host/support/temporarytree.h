#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// A directory tree that goes with the object. Paths are relative to it; what cannot be done ends the test program.
class TemporaryTree
{
public:
    TemporaryTree();
    ~TemporaryTree();
    Q_DISABLE_COPY_MOVE(TemporaryTree)

    /// Canonical.
    [[nodiscard]] QString root() const;
    [[nodiscard]] QString absolute(const QString& path) const;

    /// With the directories that it needs.
    void addDirectory(const QString& path);
    void addFile(const QString& path, const QByteArray& content = {});
    /// Seconds since 1970-01-01 UTC.
    void setModified(const QString& path, qint64 seconds);
    void rename(const QString& from, const QString& to);
    /// A file, or a directory with all that it holds.
    void remove(const QString& path);

private:
    QTemporaryDir m_directory;
};
