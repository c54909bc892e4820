#pragma once

#include <QByteArray>
#include <QString>

#include <mutex>

/// Keeps covers as files of a directory of its own, which no other process uses. Thread-safe; may wait for the disk.
///
/// A file that is damaged, or cannot be written, counts as missing.
class CoverCache
{
public:
    /// Creates the directory if it is missing; without one nothing is kept. When all files together are longer than
    /// `mostBytes`, those that were used longest ago are removed.
    CoverCache(const QString& directory, qint64 mostBytes);

    /// The picture that was kept under the key; empty if there is none. `key`: letters and digits.
    [[nodiscard]] QByteArray find(const QByteArray& key) const;
    void keep(const QByteArray& key, const QByteArray& picture);

private:
    [[nodiscard]] QString fileName(const QByteArray& key) const;
    /// Removes files until another `bytes` fit in.
    void makeRoom(qint64 bytes);

    const QString m_directory;
    const qint64 m_mostBytes;

    /// Guards the total and the removal of files.
    std::mutex m_mutex;
    /// Bytes of all files, or more; negative before they were counted.
    qint64 m_total = -1;
};
