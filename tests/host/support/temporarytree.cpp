#include "temporarytree.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

TemporaryTree::TemporaryTree()
{
    Q_ASSERT(m_directory.isValid());
    m_directory.setAutoRemove(false);
}

TemporaryTree::~TemporaryTree()
{
    // Unlike Qt, this also removes names that are not UTF-8.
    std::error_code ignored;
    std::filesystem::remove_all(m_directory.path().toStdString(), ignored);
}

QString TemporaryTree::root() const
{
    return QFileInfo(m_directory.path()).canonicalFilePath();
}

QString TemporaryTree::absolute(const QString& path) const
{
    return path.isEmpty() ? root() : root() + QLatin1Char('/') + path;
}

void TemporaryTree::addDirectory(const QString& path)
{
    const bool made = QDir().mkpath(absolute(path));
    Q_ASSERT(made);
}

void TemporaryTree::addFile(const QString& path, const QByteArray& content)
{
    addDirectory(QFileInfo(path).path());
    QFile file(absolute(path));
    const bool written = file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    Q_ASSERT(written);
}

void TemporaryTree::setModified(const QString& path, qint64 seconds)
{
    const std::array<timespec, 2> times = {{{seconds, 0}, {seconds, 0}}};
    const int set = utimensat(AT_FDCWD, QFile::encodeName(absolute(path)).constData(), times.data(), 0);
    Q_ASSERT(set == 0);
}

void TemporaryTree::rename(const QString& from, const QString& to)
{
    const bool renamed = QDir().rename(absolute(from), absolute(to));
    Q_ASSERT(renamed);
}

void TemporaryTree::remove(const QString& path)
{
    const QFileInfo info(absolute(path));
    const bool isTree = info.isDir() && !info.isSymLink();
    const bool removed = isTree ? QDir(absolute(path)).removeRecursively() : QFile::remove(absolute(path));
    Q_ASSERT(removed);
}
