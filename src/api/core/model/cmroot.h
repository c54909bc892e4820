#pragma once

#include "model/cmworker.h"
#include "tavo/tavovalue.h"

#include <QHash>
#include <QMutex>

#include <functional>
#include <memory>
#include <vector>

/// The worker at the top of the content tree: it holds the settings and the mounted workers, and routes every request
/// to the worker whose prefix the path carries.
///
/// Its own rows, at the path without prefix and base, are the mounted workers. They have a version while a client
/// has the path open, and every mounting and unmounting resets them. It lives in the thread that asked for it first
/// until it is moved to another one; nobody can open or close its rows from elsewhere unless that thread runs an event
/// loop.
///
/// Thread-safe. Requests that come this way are counted as long as they run: until the worker's request() returns,
/// not until the worker answers, if it does so later.
class TAVO_API_EXPORT CMRootWorker : public CMWorker
{
    Q_OBJECT
public:
    /// Lives as long as the process.
    [[nodiscard]] static CMRootWorker& instance();

    /// Adds a worker under `title`, or under its prefix if the title is empty. Rows are in the order of the positions,
    /// and at one position in the order of mounting. The worker stays the caller's; its destruction unmounts it. False
    /// if its prefix is taken.
    [[nodiscard]] bool mount(CMWorker* worker, const TrString& title = {}, int position = 0);
    /// Moves the row of a mounted worker, behind those that have the position already.
    void setPosition(CMWorker* worker, int position);
    /// Takes a worker out: no new request or opening reaches it, and what clients have open there is closed; they
    /// receive the close through their event loops. Does nothing to a worker that is not mounted.
    ///
    /// Requests may still be under way at the worker. `whenUnused` is called, from the event loop of the worker's
    /// thread, when they have ended and the worker may be deleted; it is not called if the worker was not mounted, or
    /// is mounted again or deleted before. When this returns CMVersion::s_last is at least the highest rows version
    /// that clients have from the worker, and when `whenUnused` is called, also from the requests that ended since.
    void unmount(CMWorker* worker, std::function<void()> whenUnused = {});

    /// Settings are the paths under the prefix "settings". Set-data requests change them too.
    void setSetting(const CMPath& path, const TavoValue& value);

    /// Whether a worker may show its clients the entry of another worker. Called in any thread; may wait for a disk.
    using Visibility = std::function<bool(const CMPath& path)>;
    /// Empty, as at first: every entry is visible. Calls of the former one may still be under way afterwards.
    void setVisibility(Visibility visibility);
    /// Whether a worker may show its clients the entry of another one.
    [[nodiscard]] bool isVisible(const CMPath& path) const;

    /// Hands the request to the worker that the path's prefix names; an unknown prefix is refused as an invalid path.
    /// What the worker throws passes through.
    void request(const CMRequest& request) override;
    /// The value of a setting.
    void getDataRequest(const CMGetDataRequest& request) override;
    /// The mounted workers; roles other than path, title and type are invalid.
    void getRowsRequest(const CMGetRowsRequest& request) override;
    /// Changes a setting that exists.
    void setDataRequest(const CMSetDataRequest& request) override;
    /// Of its own paths only the one without prefix and base can be opened.
    [[nodiscard]] bool connectChange(const CMPath& path, CMChangeReceiver* receiver) override;
    /// Does nothing for a worker that is not mounted.
    void disconnectChange(const CMPath& path, CMChangeReceiver* receiver) override;

private:
    struct Mount
    {
        CMWorker* worker = nullptr;
        CMSubscribe* subscribe = nullptr;
        QString prefix;
        TrString title;
        int position = 0;
        std::shared_ptr<CMUnderWay> underWay;
    };

    CMRootWorker();

    /// Invalid if there is no such setting.
    [[nodiscard]] QVariant setting(const CMPath& path) const;
    /// Without a worker if none has the prefix.
    [[nodiscard]] Mount mountedAt(const QString& prefix) const;
    [[nodiscard]] Mount takeMount(const QObject* worker);
    void insertLocked(const Mount& mount);
    void forget(const QObject* worker, std::function<void()> whenUnused);
    void resetRowsLocked();
    void opened();
    void closed();

    /// Taken before CMVersion::mutex() and the lock of the subscriptions; no worker is called under it.
    mutable QMutex m_mutex;
    std::vector<Mount> m_mounts;
    QHash<CMPath, TavoValue> m_settings;
    Visibility m_visibility;
    /// Of the own rows; 0: nobody has them open.
    int m_rowsVersion = 0;
};

/// The root worker; never null.
[[nodiscard]] TAVO_API_EXPORT CMAbstractWorker* CMRoot();
