#pragma once

#include "media/medialibrary.h"

#include <chrono>
#include <memory>
#include <vector>

class IoThread;
class RootPools;

/// Keeps the files that were sent last open for a moment, since players ask for one range of a file after the other.
/// A file stays open for two seconds at most after its last use: its drive cannot be unmounted meanwhile.
class KeptFiles
{
public:
    using File = std::shared_ptr<const MediaFile>;

    struct Settings
    {
        std::size_t most = 16;
        /// Between two checks, which close the files that were not used since the one before.
        std::chrono::milliseconds interval = std::chrono::seconds(1);
    };

    /// A thread of `disk` closes the files, since closing may wait for the file system. `io` and `disk` must outlive
    /// this object.
    KeptFiles(MediaLibrary library, IoThread& io, RootPools& disk, const Settings& settings);

    /// The file, if it is kept and is what the library would open. Does not wait for the disk. In the I/O thread.
    [[nodiscard]] File find(const QString& prefix, const QString& base);
    /// Keeps a file that the library has opened. From any thread.
    void keep(const QString& prefix, const QString& base, File file);

private:
    struct Entry
    {
        QString prefix;
        QString base;
        File file;
        bool isUsed = true;
    };
    using Entries = std::vector<Entry>;

    [[nodiscard]] Entries::iterator entryOf(const QString& prefix, const QString& base);
    void add(Entry entry);
    void closeUnusedLater();
    void closeUnused();
    void close(Entries::iterator begin, Entries::iterator end);

    const MediaLibrary m_library;
    IoThread& m_io;
    RootPools& m_disk;
    const Settings m_settings;
    /// The file that was opened last comes last.
    Entries m_entries;
    bool m_isWaiting = false;
};
