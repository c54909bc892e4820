#pragma once

#include "content/mount.h"
#include "content/result.h"

#include <QSet>
#include <QStringList>
#include <QVariantHash>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <tuple>
#include <vector>

class CMSubscribe;
class ServedRoot;
class ServedWorker;
class WorkerModule;
class WorkerThread;

struct RootSettings
{
    /// The service id: the prefix of its paths.
    QString id;
    QString directory;
    /// Empty: the directory's name.
    QString title = {};
    /// Whether network clients may follow symlinks that lead out of the directory.
    bool followLinks = false;
    /// Wildcard patterns of playable names.
    QStringList filter = {};

    friend bool operator==(const RootSettings& a, const RootSettings& b)
    {
        return std::tie(a.id, a.directory, a.title, a.followLinks, a.filter) ==
               std::tie(b.id, b.directory, b.title, b.followLinks, b.filter);
    }
    friend bool operator!=(const RootSettings& a, const RootSettings& b) { return !(a == b); }
};

/// Letters, digits, "-" and "_" of ASCII only, and at least one of them.
[[nodiscard]] bool isRootId(const QString& text);
/// Fails unless a root may have the ID: isRootId() must hold, and the host must not use the ID itself.
[[nodiscard]] Result<void> checkRootId(const QString& id);

/// Fails if a root names no directory, or has an ID that checkRootId() refuses or that another root has.
[[nodiscard]] Result<void> checkRoots(const std::vector<RootSettings>& roots);

struct HostSettings
{
    QString moduleFile;
    /// In the order in which clients see them.
    std::vector<RootSettings> roots;
    /// Pixels; none: the platform's default.
    std::optional<int> albumArtWidth = {};
    /// Between two checks of the opened directories and of the roots; 0: no checks.
    std::chrono::milliseconds sweepInterval = std::chrono::seconds(5);
};

/// A worker that serves no directory tree.
struct WorkerSettings
{
    QString moduleFile;
    /// Contains the prefix of its paths.
    QVariantHash configuration;
    /// For people.
    TrString title;
    /// Names the kind of worker for clients, such as "playlist".
    QString kind;
    /// Bases of its services that may take long.
    QStringList longServices = {};
};

/// Shared by all clients: a worker for each root, mounted at the root worker.
///
/// A root whose directory is missing, or disappears, has no worker until its directory is back; a warning names it.
/// Other workers can be mounted beside the roots. All workers live in one thread of the host's. Functions may be called
/// from any thread unless they say otherwise.
class ContentHost
{
public:
    using SharedMount = std::shared_ptr<const Mount>;

    /// Fails if checkRoots() does, or if the module makes no worker.
    static Result<std::unique_ptr<ContentHost>> start(const HostSettings& settings);
    /// Call when no request is under way.
    ~ContentHost();
    Q_DISABLE_COPY_MOVE(ContentHost)

    /// From now on workers that are not roots may show only those entries of the roots that network clients may see.
    void hideFromWorkers();
    /// Mounts a worker behind the roots and those mounted before. Fails if its module makes none, or if its prefix is
    /// taken.
    [[nodiscard]] Result<void> mountWorker(const WorkerSettings& settings);
    /// Unmounts the workers that are not roots, and destroys them later. No request to them may be under way.
    void unmountWorkers();

    /// The present roots, in their order, and then the other workers.
    [[nodiscard]] std::vector<SharedMount> mounts() const;
    /// Null if nothing mounted has the prefix.
    [[nodiscard]] SharedMount mountAt(const QString& prefix) const;
    /// As mountAt(), but looks first whether the directory of a missing root is back. May wait for the worker thread.
    [[nodiscard]] SharedMount findMount(const QString& prefix);

    /// The prefix, if a root or another worker has it, or had it; otherwise empty.
    [[nodiscard]] QString knownPrefix(const QString& prefix) const;

    /// Serves these roots from now on, in this order. Mounts roots that are new or have other settings, unmounts those
    /// that are missing here, as when their directories come and go, and leaves the others alone. Does not wait. Fails
    /// and changes nothing if checkRoots() fails.
    [[nodiscard]] Result<void> setRoots(const std::vector<RootSettings>& roots);

    /// The IDs of all roots, present or missing, in their order.
    [[nodiscard]] QStringList rootIds() const;
    /// The directories of all roots, present or missing, in their order; absolute.
    [[nodiscard]] QStringList rootDirectories() const;
    /// Whether a root has the ID, or had it.
    [[nodiscard]] bool isRoot(const QString& id) const;

    /// Why roots are missing.
    [[nodiscard]] QStringList problems() const;
    /// Logs a warning for each missing root. Roots that disappear later log theirs themselves.
    void warnOfProblems();

    [[nodiscard]] WorkerThread& workerThread() const { return *m_workerThread; }
    /// The subscriptions of the worker with the prefix; the empty prefix is the root worker's. Null if there is no such
    /// worker. In the worker thread only.
    [[nodiscard]] CMSubscribe* subscribeOf(const QString& prefix) const;

    /// The paths that clients have open; one that several clients have open counts for each.
    [[nodiscard]] int openPaths() const { return m_openPaths; }
    void countOpenPaths(int more) { m_openPaths += more; }

    /// False if the file system of the root with the prefix does not answer; waits for a second at most. In the worker
    /// thread only.
    [[nodiscard]] bool answers(const QString& prefix) const;
    /// The result of a function that looks at files of the root with the prefix and owns all that it uses; none if the
    /// file system does not answer. Waits for a second at most. In the worker thread only.
    [[nodiscard]] std::optional<Result<void>>
    inspect(const QString& prefix, std::function<Result<void>()> function) const;

private:
    ContentHost(WorkerModule module, const HostSettings& settings);

    void nameRoots(const std::vector<RootSettings>& roots);
    /// In the worker thread, as the functions below.
    [[nodiscard]] Result<void> startRoots();
    void changeRoots(const std::vector<RootSettings>& roots);
    [[nodiscard]] std::unique_ptr<ServedRoot> makeRoot(const RootSettings& root, int position);
    void publishMounts();
    [[nodiscard]] ServedRoot* rootAt(const QString& prefix) const;

    std::unique_ptr<WorkerThread> m_workerThread;
    std::unique_ptr<const WorkerModule> m_module;
    /// Its roots are those that start() got.
    const HostSettings m_settings;
    /// In the worker thread only, as the members below.
    std::vector<std::unique_ptr<ServedRoot>> m_roots;
    /// Unmounted for good; requests may still use their workers.
    std::vector<std::unique_ptr<ServedRoot>> m_retired;
    std::vector<std::unique_ptr<ServedWorker>> m_workers;

    std::atomic<int> m_openPaths = 0;

    /// Guards the members below.
    mutable std::mutex m_mutex;
    QStringList m_rootIds;
    QStringList m_rootDirectories;
    /// Of all roots so far.
    QSet<QString> m_usedIds;
    std::vector<SharedMount> m_mounts;
};
