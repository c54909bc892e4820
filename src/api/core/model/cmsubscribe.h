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
#include <memory>

class CMWorker;

/// A client's end of its subscriptions.
class TAVO_API_EXPORT CMChangeReceiver : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    /// Runs in the receiver's thread, from its event loop. `changes` are CMSubscribe's change codes.
    virtual void rowsChanged(const CMPath& path, const QStringList& changes, int version) = 0;
};

/// Which clients follow which row paths of one worker.
///
/// A path is subscribed as long as at least one client follows it: rowsPathAdded() tells the worker of the first,
/// rowsPathRemoved() of the last. Both are emitted in the worker's thread, no lock held. A worker tracks a path if,
/// after rowsPathAdded(), it answers a rows request at once with a version above 0, or refuses a wrong version; of a
/// path that it does not track it is not told again. Before a removal the worker's queued calls are delivered, those
/// too that a rows request in another thread was about to queue; so nothing that adds or removes paths may be queued
/// for the worker itself.
class TAVO_API_EXPORT CMSubscribe : public QObject
{
    Q_OBJECT
public:
    /// `worker` owns the new object.
    explicit CMSubscribe(CMWorker* worker);

    /// Change code: all rows of the path have changed.
    [[nodiscard]] static const QString& RowsChangeReset();
    /// Change code: the path is gone. It ends the subscription of every client of the path, and of all paths below.
    [[nodiscard]] static const QString& RowsChangeClose();

    /// Makes the receiver a client of the path; false if the worker does not track such a path. A receiver that is
    /// one already stays one; one that has not been told yet of an earlier close is told of a reset instead. From any
    /// thread, holding no lock that the worker's thread may want, since it waits for that thread. A receiver's
    /// destruction ends its subscriptions.
    [[nodiscard]] bool add(const CMPath& path, CMChangeReceiver* receiver);
    /// Ends a subscription; does nothing where there is none. From any thread, as add(). The receiver is not told of
    /// the path afterwards, but for what it is being told at that moment.
    void remove(const CMPath& path, CMChangeReceiver* receiver);
    [[nodiscard]] bool isClient(const CMPath& path, const CMChangeReceiver* receiver) const;

    /// The subscribed paths at and below `path`, in no order. From any thread.
    [[nodiscard]] QList<CMPath> rowsPathsStartingWith(const CMPath& path) const;

    /// Tells the path's clients, each later through its own event loop, in the order of the calls. From any thread.
    /// The last argument names a single row; -1: none.
    void rowsChanged(const CMPath& path, const QStringList& changes, int version, int row);

    /// When the path's clients were last told of a change, in the system clock; the epoch if they were not.
    /// From any thread.
    [[nodiscard]] std::chrono::system_clock::time_point lastChange(const CMPath& path) const;

    /// The observer is told of the changes of all paths that have clients, as these are, and is none itself. Null: no
    /// observer, as before. It stays the caller's and must live until it is replaced. In the worker's thread only.
    void setObserver(CMChangeReceiver* observer);

    /// Lets the worker track subscribed paths anew: it is told of their removal, from the deepest up, and of their
    /// addition, from the top down. Their clients are told of a reset, or of a close where the worker does not take
    /// the path again. Paths that are not subscribed are left out. In the worker's thread only.
    void renew(const QList<CMPath>& paths);

Q_SIGNALS:
    /// Just before rowsPathAdded(): the worker does not watch the path yet.
    void rowsPathAboutToBeAdded(const CMPath& path);
    void rowsPathAdded(const CMPath& path);
    void rowsPathRemoved(const CMPath& path);

private:
    struct Clients
    {
        QVector<CMChangeReceiver*> receivers;
        std::chrono::system_clock::time_point lastChange;
        /// The worker is being told of the path at this moment: no change announces it.
        bool isUnsettled = false;
        /// Closed while it was unsettled.
        bool isClosed = false;
        /// Closed itself, not by a path above: the worker had it.
        bool isLost = false;
    };
    class Inbox;

    template<typename Function>
    void runInWorkerThread(Function&& function);

    [[nodiscard]] bool addHere(const CMPath& path, CMChangeReceiver* receiver);
    /// False if the path has no client after all.
    [[nodiscard]] bool endAddition(const CMPath& path, bool isTaken);
    /// Tells the worker that the path is subscribed; false if it does not track it.
    [[nodiscard]] bool offerToWorker(const CMPath& path);
    [[nodiscard]] bool isLost(const CMPath& path) const;
    void removeHere(const CMPath& path, CMChangeReceiver* receiver);
    void removeEverywhere(QObject* receiver);

    [[nodiscard]] bool isClientLocked(const CMPath& path, const CMChangeReceiver* receiver) const;
    /// True if this makes the path subscribed; it is unsettled then.
    [[nodiscard]] bool insertClient(const CMPath& path, CMChangeReceiver* receiver);
    void eraseClientLocked(const CMPath& path, const QObject* receiver);
    void tellLocked(const CMPath& path, const QStringList& changes, int version);
    void postLocked(CMChangeReceiver* receiver, const CMPath& path, const QStringList& changes, int version);
    void closeLocked(const CMPath& path, const QStringList& changes, int version);

    /// The subscribed ones of the paths, parents before children; they are unsettled from now on.
    [[nodiscard]] QList<CMPath> beginRenewal(const QList<CMPath>& paths);
    [[nodiscard]] bool isClosedMeanwhile(const CMPath& path) const;
    /// `version`: of the rows that the path has now; 0: none.
    void endRenewal(const CMPath& path, bool isTaken, int version);

    void settleLater();
    void settle();
    [[nodiscard]] QList<CMPath> takeEnded();
    /// `paths`: parents before children.
    void removeFromWorker(const QList<CMPath>& paths);
    /// The version of the path's rows; 0: none.
    [[nodiscard]] int currentVersion(const CMPath& path) const;
    [[nodiscard]] bool isTracked(const CMPath& path) const;

    CMWorker* const m_worker;

    /// A leaf: no signal is emitted and no worker or client is called under it.
    mutable QMutex m_mutex;
    QHash<CMPath, Clients> m_clients;
    QHash<const QObject*, std::shared_ptr<Inbox>> m_inboxes;
    CMChangeReceiver* m_observer = nullptr;
    /// Paths without clients of which the worker has not been told yet.
    QList<CMPath> m_ended;
};
