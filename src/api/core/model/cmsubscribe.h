#pragma once

#include "model/cmpath.h"
#include "tavo/tavoexport.h"

#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QStringList>
#include <QVector>

#include <chrono>
#include <functional>
#include <memory>

class CMRemovals;
class CMUnderWay;
class CMWorker;

/// A client's end of its subscriptions.
class TAVO_API_EXPORT CMChangeReceiver : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    /// Called in the receiver's thread, from its event loop. `changes` are CMSubscribe's change codes; `version` is
    /// that of the path's rows after the change, 0 if they have none.
    virtual void rowsChanged(const CMPath& path, const QStringList& changes, int version) = 0;
};

/// Which clients follow which row paths of one worker.
///
/// A path is subscribed as long as at least one client follows it. The worker hears of the first client by
/// rowsPathAdded(), and of the end by rowsPathRemoved(), once each, in turns and in the worker's thread, which is the
/// thread of this object. Nothing else is sent to the worker, but for rows requests after a renewal and in verify().
///
/// A removal may wait. A rows request in another thread can find a sub-directory gone and queue that for the worker,
/// which would then take up a path again that has been removed. So a removal runs when the rows requests that began
/// before it have ended, and when none for that very path is under way. Nobody waits for it, and what the worker has
/// queued for itself is delivered first; so nothing that adds or removes paths may be queued for the worker. A removal
/// waits for the removals of the paths below it. Only requests that reach the worker through the root worker count:
/// code that calls a worker directly must not do so from another thread while paths are closed.
///
/// Thread-safe where nothing else is said. Its lock is a leaf: it is held neither during a signal nor during a call of
/// a worker or client.
class TAVO_API_EXPORT CMSubscribe : public QObject
{
    Q_OBJECT
public:
    /// `worker` owns the new object, which stays in the worker's thread.
    explicit CMSubscribe(CMWorker* worker);
    ~CMSubscribe() override;

    /// Change code: all rows of the path have changed.
    [[nodiscard]] static const QString& RowsChangeReset();
    /// Change code: the path is gone. It ends every subscription to the path and to all paths below it.
    [[nodiscard]] static const QString& RowsChangeClose();

    /// Makes the receiver a client of the path. False if the path has another prefix than the worker, or was closed
    /// while the worker took it; whether it can be watched at all, the caller finds out before. A receiver that is a
    /// client already stays one. One that has not received an earlier close of the path yet receives a reset instead.
    /// A receiver's destruction ends its subscriptions; it must live until this returns. Throws what the worker throws
    /// when it hears of the path; then the path has no client.
    ///
    /// A path whose removal is pending after a close is added when the worker has heard of the removal. Another thread
    /// than the worker's waits for that, and for the worker's thread: it holds no lock that the worker's thread may
    /// want. In the worker's thread the call blocks until the rows requests that hold up the removal have ended, so
    /// callers there come by way of whenSettled().
    [[nodiscard]] bool add(const CMPath& path, CMChangeReceiver* receiver);
    /// Ends a subscription; does nothing where there is none. Afterwards the receiver gets no change of the path, but
    /// for one that it is just handling. Another thread than the worker's waits for that one, as in add().
    void remove(const CMPath& path, CMChangeReceiver* receiver);
    /// True if the receiver is a client of the path. A close ends that before the receiver hears of it.
    [[nodiscard]] bool isClient(const CMPath& path, const CMChangeReceiver* receiver) const;

    /// Calls the function in the worker's thread, once the path and the paths above it have neither a removal pending
    /// after a close nor a renewal: at once if that is so and this is that thread, else from its event loop. add() in
    /// the function does not block. Functions for the same path are called in order; a function that has not been
    /// called when this object is destroyed is dropped.
    void whenSettled(const CMPath& path, std::function<void()> function);

    /// The subscribed paths at and below `path`, in no order, without those that the worker is about to lose.
    [[nodiscard]] QList<CMPath> rowsPathsStartingWith(const CMPath& path) const;

    /// Sends a change to the path's clients; each receives it later, through its own event loop, in the order of the
    /// calls. `changes` are change codes, `version` is that of the path's rows after the change. The last argument
    /// names a single row; -1: none.
    void rowsChanged(const CMPath& path, const QStringList& changes, int version, int row);

    /// When a change was last sent to the path's clients, in the system clock; the epoch if none was.
    [[nodiscard]] std::chrono::system_clock::time_point lastChange(const CMPath& path) const;

    /// The observer receives the changes of all paths that have clients, as these do, and is no client. Null: no
    /// observer, as before. It stays the caller's and must live until it is replaced. In the worker's thread only.
    void setObserver(CMChangeReceiver* observer);

    /// Lets the worker take subscribed paths anew: removals, from the deepest up, and then additions, from the top
    /// down, at once or when nothing holds up the removals any more. Clients receive a reset; or a close where the
    /// worker has no rows with a version for the path any more, of whose removal it does not hear then. Paths that are
    /// not subscribed are left out. In the worker's thread only.
    void renew(const QList<CMPath>& paths);

    /// Finds out whether the worker has taken a path that it has just heard of. A worker that has refuses all rows
    /// versions but its own. If it has not, the addition fails: add() returns false, clients of a renewed path receive
    /// a close, and the worker does not hear of the removal. Only in a slot of rowsPathAdded() that runs after the
    /// worker's own: where the path may have vanished just before the worker looked at it.
    void verify(const CMPath& path);

Q_SIGNALS:
    /// Just before rowsPathAdded(): the worker does not watch the path yet.
    void rowsPathAboutToBeAdded(const CMPath& path);
    /// The path has its first client.
    void rowsPathAdded(const CMPath& path);
    /// verify() has found that the worker did not take the path; rowsPathRemoved() does not follow.
    void rowsPathRefused(const CMPath& path);
    /// The path has no client any more, or is about to be added again.
    void rowsPathRemoved(const CMPath& path);

private:
    friend class CMRootWorker;

    struct Clients
    {
        QVector<CMChangeReceiver*> receivers;
        std::chrono::system_clock::time_point lastChange;
        /// The worker hears of the path at this moment: no change announces it.
        bool isUnsettled = false;
        /// Closed while it was unsettled.
        bool isClosed = false;
        /// Closed itself, not by a path above: the worker had it.
        bool isLost = false;
        /// The worker did not take it, so it must not hear of the removal.
        bool isUntaken = false;
    };
    struct Waiting
    {
        CMPath path;
        std::function<void()> function;
    };
    class Inbox;

    [[nodiscard]] bool addHere(const CMPath& path, CMChangeReceiver* receiver);
    /// True if the worker serves the path already, or still.
    [[nodiscard]] bool joinClients(const CMPath& path, CMChangeReceiver* receiver);
    [[nodiscard]] bool addToWorker(const CMPath& path, CMChangeReceiver* receiver);
    /// False if the path has no client after all.
    [[nodiscard]] bool endAddition(const CMPath& path);
    void endUnsettledLocked(const CMPath& path);
    void removeHere(const CMPath& path, CMChangeReceiver* receiver);
    void removeEverywhere(QObject* receiver);

    [[nodiscard]] bool isClientLocked(const CMPath& path, const CMChangeReceiver* receiver) const;
    void eraseClientLocked(const CMPath& path, const QObject* receiver);
    void notifyLocked(const CMPath& path, const QStringList& changes, int version);
    void postLocked(CMChangeReceiver* receiver, const CMPath& path, const QStringList& changes, int version);
    void closeLocked(const CMPath& path, const QStringList& changes, int version);
    void endLocked(const CMPath& path, bool isClosed);

    void settleLater();
    void settle();
    [[nodiscard]] bool isSettled(const CMPath& path) const;
    [[nodiscard]] bool isRemovalPending(const CMPath& path) const;
    void callSettled();
    void runRemovals();
    /// False if no removal was due.
    [[nodiscard]] bool runDueRemovals();

    void addAgain(const CMPath& path);
    [[nodiscard]] bool isClosedMeanwhile(const CMPath& path) const;
    /// `version`: of the rows that the path has now; 0: none.
    void endRenewal(const CMPath& path, bool wasAdded, int version);
    /// The version of the path's rows; 0: none.
    [[nodiscard]] int currentVersion(const CMPath& path) const;
    [[nodiscard]] bool isVersionRefused(const CMPath& path, int version) const;

    CMWorker* const m_worker;
    const std::shared_ptr<CMUnderWay> m_underWay;

    mutable QMutex m_mutex;
    QHash<CMPath, Clients> m_clients;
    QHash<const QObject*, std::shared_ptr<Inbox>> m_inboxes;
    CMChangeReceiver* m_observer = nullptr;
    const std::unique_ptr<CMRemovals> m_removals;
    int m_renewals = 0;

    /// Used in the worker's thread only.
    QList<Waiting> m_waiting;
};
