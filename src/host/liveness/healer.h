#pragma once

#include <model/cmpath.h>
#include <model/cmsubscribe.h>

#include <QHash>
#include <QTimer>

#include <chrono>

class CMWorker;

/// Keeps clients current where the kernel does not tell of changes: a directory that is replaced or renamed takes its
/// watch along, a full event queue loses changes, and at the watch limit or on a network file system nothing comes.
///
/// It looks at every subscribed directory in regular sweeps. A changed directory that no reset has told of is renewed
/// at the worker, and so is everything at and below a path where another directory lies now; where none is left the
/// path is closed. So every change is told within two sweeps. Belongs to the worker's thread; the worker must outlive
/// it.
class Healer : public CMChangeReceiver
{
    Q_OBJECT
public:
    /// `interval` 0: no sweeps; after resets it looks all the same.
    Healer(CMWorker& worker, std::chrono::milliseconds interval);
    ~Healer() override;

    void rowsChanged(const CMPath& path, const QStringList& changes, int version) override;

private:
    using Time = std::chrono::system_clock::time_point;

    /// What tells one directory from another: inode numbers are used again at once. All zero: there is no directory.
    struct Identity
    {
        quint64 device = 0;
        quint64 inode = 0;
        Time birth;
    };

    struct Look
    {
        Identity identity;
        Time modified;
    };

    struct Directory
    {
        QByteArray localPath;
        Look last;
        /// Of the last reset that the last sweep knew of.
        Time told;
        /// The last sweep found a change that no reset had told of.
        bool suspect = false;
    };

    [[nodiscard]] static Look lookAt(const QByteArray& localPath);
    [[nodiscard]] static bool isSame(const Identity& a, const Identity& b);

    /// Looks before the watch is set, as another directory may come in between.
    void aboutToBeAdded(const CMPath& path);
    void removed(const CMPath& path);

    void sweep();
    void checkIdentities();
    [[nodiscard]] bool isMissed(Directory& directory, Time modified, Time told) const;
    void renewTree(const CMPath& path);

    void warnOfBlindFileSystem(const QByteArray& localPath);
    void warnOfWatchLimit();

    CMWorker& m_worker;
    QTimer m_sweepTimer;
    QTimer m_afterReset;
    QHash<CMPath, Directory> m_directories;
    bool m_watchesAdded = false;
    bool m_fileSystemChecked = false;
    bool m_watchLimitTold = false;
    /// Every directory is watched, as far as one can know.
    bool m_eventsArrive = true;
};
