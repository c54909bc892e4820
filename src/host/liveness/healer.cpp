#include "liveness/healer.h"

#include "liveness/kernelevents.h"
#include "process/hostlog.h"

#include <model/cmworker.h>

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr char sourceFile[] = "src/host/liveness/healer";

/// Long enough for the other resets of the same change to arrive.
constexpr std::chrono::milliseconds afterReset{100};

constexpr std::chrono::seconds lookPatience{1};

std::chrono::system_clock::time_point timePoint(const statx_timestamp& time)
{
    using namespace std::chrono;
    return system_clock::time_point(seconds(time.tv_sec) + nanoseconds(time.tv_nsec));
}

} // namespace

Healer::Healer(CMWorker& worker, LocalPath localPath, std::chrono::milliseconds interval)
    : m_worker(worker), m_localPath(std::move(localPath))
{
    connect(m_worker.subscribe(), &CMSubscribe::rowsPathAboutToBeAdded, this, &Healer::aboutToBeAdded);
    // The worker has connected its own slot before.
    connect(m_worker.subscribe(), &CMSubscribe::rowsPathAdded, this, &Healer::added);
    connect(m_worker.subscribe(), &CMSubscribe::rowsPathRefused, this, &Healer::removed);
    connect(m_worker.subscribe(), &CMSubscribe::rowsPathRemoved, this, &Healer::removed);
    m_worker.subscribe()->setObserver(this);

    m_afterReset.setSingleShot(true);
    m_afterReset.setInterval(afterReset);
    connect(&m_afterReset, &QTimer::timeout, this, &Healer::checkIdentities);
    connect(&m_sweepTimer, &QTimer::timeout, this, &Healer::sweep);
    if (interval.count() > 0)
        m_sweepTimer.start(interval);
}

Healer::~Healer()
{
    m_worker.subscribe()->setObserver(nullptr);
}

void Healer::rowsChanged(const CMPath& /*path*/, const QStringList& /*changes*/, int /*version*/)
{
    if (!m_afterReset.isActive())
        m_afterReset.start();
}

Healer::Snapshot Healer::snapshotOf(const QByteArray& localPath)
{
    struct statx status = {};
    constexpr unsigned wanted = STATX_TYPE | STATX_INO | STATX_MTIME | STATX_CTIME | STATX_BTIME;
    if (statx(AT_FDCWD, localPath.constData(), 0, wanted, &status) != 0 || !S_ISDIR(status.stx_mode))
        return {};
    const quint64 device = quint64{status.stx_dev_major} << 32 | status.stx_dev_minor;
    const Identity identity{device, status.stx_ino, timePoint(status.stx_btime)};
    return {identity, timePoint(status.stx_mtime), timePoint(status.stx_ctime)};
}

bool Healer::isSame(const Identity& a, const Identity& b)
{
    return a.device == b.device && a.inode == b.inode && a.birth == b.birth;
}

void Healer::aboutToBeAdded(const CMPath& path)
{
    Directory directory;
    directory.localPath = m_localPath(path);
    directory.last = snapshotOf(directory.localPath);
    m_directories.insert(path, directory);
    m_watchesAdded = true;
    warnOfBlindFileSystem(directory.localPath);
}

void Healer::added(const CMPath& path)
{
    const Directory directory = m_directories.value(path);
    const Snapshot now = snapshotOf(directory.localPath);
    const bool wasThere = now.identity.inode != 0 && isSame(directory.last.identity, now.identity);
    if (!wasThere || directory.last.changed != now.changed)
        m_worker.subscribe()->verify(path);
}

void Healer::removed(const CMPath& path)
{
    m_directories.remove(path);
}

void Healer::sweep()
{
    checkIdentities();
    // Read before the directories are: a change in between counts as not announced yet.
    QHash<CMPath, Time> announced;
    for (auto directory = m_directories.cbegin(); directory != m_directories.cend(); ++directory)
        announced.insert(directory.key(), m_worker.subscribe()->lastChange(directory.key()));
    const std::optional<QHash<CMPath, Snapshot>> snapshots = takeSnapshots();
    if (!snapshots)
        return;
    warnOfWatchLimit();
    QList<CMPath> missed;
    for (auto directory = m_directories.begin(); directory != m_directories.end(); ++directory) {
        const CMPath& path = directory.key();
        if (isMissed(*directory, snapshots->value(path).modified, announced.value(path)))
            missed.append(path);
    }
    m_worker.subscribe()->renew(missed);
}

std::optional<QHash<CMPath, Healer::Snapshot>> Healer::takeSnapshots()
{
    QHash<CMPath, QByteArray> localPaths;
    for (auto directory = m_directories.cbegin(); directory != m_directories.cend(); ++directory)
        localPaths.insert(directory.key(), directory->localPath);
    const auto take = [localPaths] {
        QHash<CMPath, Snapshot> snapshots;
        for (auto localPath = localPaths.cbegin(); localPath != localPaths.cend(); ++localPath)
            snapshots.insert(localPath.key(), snapshotOf(*localPath));
        return snapshots;
    };
    return m_look.call(take, lookPatience);
}

bool Healer::isMissed(Directory& directory, Time modified, Time announced) const
{
    const bool isAnnounced = announced != directory.announced;
    // The file system's clock is coarse: a change right after a reset may seem to be the one that the reset announced.
    // Where events arrive, it brings a reset of its own.
    const bool isReset = m_eventsArrive && isAnnounced && modified <= announced;
    const bool isCovered = modified == directory.last.modified || isReset;
    // The event may still arrive, so the change has time until the next sweep.
    const bool isMissed = !isCovered && directory.suspect && (!isAnnounced || !m_eventsArrive);
    directory.suspect = !isCovered;
    directory.announced = announced;
    if (isCovered)
        directory.last.modified = modified;
    return isMissed;
}

void Healer::checkIdentities()
{
    const std::optional<QHash<CMPath, Snapshot>> snapshots = takeSnapshots();
    if (!snapshots)
        return m_afterReset.start();
    QList<CMPath> paths = snapshots->keys();
    std::sort(paths.begin(), paths.end());
    for (const CMPath& path : qAsConst(paths)) {
        const auto directory = m_directories.constFind(path);
        if (directory == m_directories.constEnd())
            continue;
        const Identity identity = snapshots->value(path).identity;
        if (identity.inode == 0)
            m_worker.subscribe()->rowsChanged(path, {CMSubscribe::RowsChangeClose()}, 0, -1);
        else if (!isSame(directory->last.identity, identity))
            renewTree(path);
    }
}

void Healer::renewTree(const CMPath& path)
{
    m_worker.subscribe()->renew(m_worker.subscribe()->rowsPathsStartingWith(path));
}

void Healer::warnOfBlindFileSystem(const QByteArray& localPath)
{
    if (m_fileSystemChecked)
        return;
    m_fileSystemChecked = true;
    const QByteArray type = fileSystemType(localPath);
    if (!sendsNoEvents(type))
        return;
    m_eventsArrive = false;
    HOST_LOG(
        hostLogger(), WARN, sourceFile,
        localPath.constData() << " is on a file system of type " << type.constData()
                              << ", which sends no events: changes are found by looking, and later");
}

void Healer::warnOfWatchLimit()
{
    if (m_hasWarnedOfLimit || !m_watchesAdded || m_directories.isEmpty())
        return;
    m_watchesAdded = false;
    if (!isWatchLimitReached(m_directories.cbegin()->localPath))
        return;
    m_hasWarnedOfLimit = true;
    m_eventsArrive = false;
    const KernelLimit limit = watchLimit();
    HOST_LOG(
        hostLogger(), WARN, sourceFile,
        "the limit of watched directories is reached, " << limit.name << " = " << limit.value
                                                        << ": further changes are found by looking, and later");
}
