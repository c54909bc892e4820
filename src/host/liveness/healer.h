#pragma once

#include "exec/patientcall.h"

#include <model/cmpath.h>
#include <model/cmsubscribe.h>

#include <QHash>
#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>

class CMWorker;

/// Keeps clients current where the kernel sends no events: a directory that is replaced or renamed takes its watch
/// along, a full event queue drops events, and at the watch limit or on a network file system there are none.
///
/// It examines every subscribed directory in regular sweeps. If a directory has changed and no reset announced it, the
/// worker tracks it anew. If a path has become another directory, the worker tracks everything at and below it anew. A
/// path without a directory is closed. So every change reaches the clients within two sweeps. Lives in the worker's
/// thread; the worker must outlive it.
class Healer : public CMChangeReceiver
{
    Q_OBJECT
public:
    /// The directory of a path of the worker, encoded for system calls.
    using LocalPath = std::function<QByteArray(const CMPath& path)>;

    /// `interval` 0: no sweeps; it examines the directories only after resets.
    Healer(CMWorker& worker, LocalPath localPath, std::chrono::milliseconds interval);
    ~Healer() override;

    void rowsChanged(const CMPath& path, const QStringList& changes, int version) override;

private:
    using Time = std::chrono::system_clock::time_point;

    /// Distinguishes directories: inode numbers alone are reused at once. All zero: there is no directory.
    struct Identity
    {
        quint64 device = 0;
        quint64 inode = 0;
        Time birth;
    };

    struct Snapshot
    {
        Identity identity;
        Time modified;
        /// Its content, name, place or permissions.
        Time changed;
    };

    struct Directory
    {
        QByteArray localPath;
        Snapshot last;
        /// The time of the last reset before the last sweep.
        Time announced;
        /// The last sweep found a change that no reset had announced.
        bool suspect = false;
    };

    [[nodiscard]] static Snapshot snapshotOf(const QByteArray& localPath);
    [[nodiscard]] static bool isSame(const Identity& a, const Identity& b);

    /// Examines the directory before the watch is set, as another one may replace it in between.
    void aboutToBeAdded(const CMPath& path);
    /// The directory may have been absent while the worker looked at it.
    void added(const CMPath& path);
    void removed(const CMPath& path);

    void sweep();
    /// Does nothing if the file system does not answer; a later sweep makes up for it.
    void checkIdentities();
    /// Of all directories; none if the file system does not answer.
    [[nodiscard]] std::optional<QHash<CMPath, Snapshot>> takeSnapshots();
    [[nodiscard]] bool isMissed(Directory& directory, Time modified, Time announced) const;
    void renewTree(const CMPath& path);

    void warnOfBlindFileSystem(const QByteArray& localPath);
    void warnOfWatchLimit();

    CMWorker& m_worker;
    const LocalPath m_localPath;
    QTimer m_sweepTimer;
    QTimer m_afterReset;
    QHash<CMPath, Directory> m_directories;
    PatientCall<QHash<CMPath, Snapshot>> m_look;
    bool m_watchesAdded = false;
    bool m_fileSystemChecked = false;
    bool m_hasWarnedOfLimit = false;
    /// Whether every directory is watched, as far as the healer can know.
    bool m_eventsArrive = true;
};
