#include "media/covercache.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <cstdio>
#include <functional>
#include <numeric>
#include <string_view>

namespace {

/// Hexadecimal digits behind the picture.
constexpr int checksumLength = 16;

QByteArray checksumOf(const QByteArray& picture)
{
    const size_t hash = std::hash<std::string_view>()({picture.constData(), static_cast<size_t>(picture.size())});
    return QByteArray::number(static_cast<qulonglong>(hash), 16).rightJustified(checksumLength, '0');
}

/// A use is noted in the file's time, but rarely, to spare the disk.
void noteUse(QFile& file)
{
    constexpr qint64 secondsBetweenNotes = 3600;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    if (file.fileTime(QFileDevice::FileModificationTime).secsTo(now) > secondsBetweenNotes)
        file.setFileTime(now, QFileDevice::FileModificationTime);
}

bool writeWhole(const QString& name, const QByteArray& content)
{
    QTemporaryFile file(name + QStringLiteral(".XXXXXX"));
    if (!file.open() || file.write(content) != content.size() || !file.flush())
        return false;
    // QFile would not replace another file.
    const bool isRenamed = std::rename(QFile::encodeName(file.fileName()), QFile::encodeName(name)) == 0;
    file.setAutoRemove(!isRenamed);
    return isRenamed;
}

/// The oldest first.
QFileInfoList filesIn(const QString& directory)
{
    return QDir(directory).entryInfoList(QDir::Files | QDir::Hidden, QDir::Time | QDir::Reversed);
}

} // namespace

CoverCache::CoverCache(const QString& directory, qint64 mostBytes) : m_directory(directory), m_mostBytes(mostBytes)
{
    if (!m_directory.isEmpty())
        QDir().mkpath(m_directory);
}

QString CoverCache::fileName(const QByteArray& key) const
{
    return m_directory + u'/' + QString::fromLatin1(key);
}

QByteArray CoverCache::find(const QByteArray& key) const
{
    QFile file(fileName(key));
    if (m_directory.isEmpty() || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || file.size() > m_mostBytes)
        return {};
    const QByteArray content = file.readAll();
    QByteArray picture = content.left(content.size() - checksumLength);
    if (picture.isEmpty() || content.right(checksumLength) != checksumOf(picture))
        return {};
    noteUse(file);
    return picture;
}

void CoverCache::keep(const QByteArray& key, const QByteArray& picture)
{
    const QByteArray content = picture + checksumOf(picture);
    if (m_directory.isEmpty() || content.size() > m_mostBytes)
        return;
    const std::lock_guard lock(m_mutex);
    makeRoom(content.size());
    if (writeWhole(fileName(key), content))
        m_total += content.size();
}

void CoverCache::makeRoom(qint64 bytes)
{
    if (m_total >= 0 && m_total + bytes <= m_mostBytes)
        return;
    const QFileInfoList files = filesIn(m_directory);
    m_total = std::accumulate(
        files.cbegin(), files.cend(), qint64{0}, [](qint64 sum, const QFileInfo& file) { return sum + file.size(); });
    if (m_total + bytes <= m_mostBytes)
        return;
    // A tenth more than needed, so that the next covers need no count.
    const qint64 wanted = m_mostBytes - m_mostBytes / 10 - bytes;
    for (const QFileInfo& file : files) {
        if (m_total <= wanted)
            break;
        if (QFile::remove(file.filePath()))
            m_total -= file.size();
    }
}
