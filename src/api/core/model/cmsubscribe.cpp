#include "model/cmsubscribe.h"

#include "model/cmrequest_p.h"
#include "model/cmworker.h"
#include "tavo/tavokeys.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>

#include <algorithm>
#include <limits>

/// The changes that one client has not been told of yet. It outlives the subscriptions, as they may end earlier than
/// the client's event loop gets there.
class CMSubscribe::Inbox
{
public:
    struct Change
    {
        CMPath path;
        QStringList changes;
        int version;
    };

    void append(const Change& change)
    {
        const QMutexLocker lock(&m_mutex);
        m_changes.append(change);
    }

    void removeAll(const CMPath& path)
    {
        const QMutexLocker lock(&m_mutex);
        const auto isOfPath = [&path](const Change& change) { return change.path == path; };
        m_changes.erase(std::remove_if(m_changes.begin(), m_changes.end(), isOfPath), m_changes.end());
    }

    /// The path is open again: what would have closed it is a reset now.
    void reopen(const CMPath& path)
    {
        const QMutexLocker lock(&m_mutex);
        for (Change& change : m_changes) {
            if (change.path == path && change.changes.contains(RowsChangeClose()))
                change.changes = QStringList(RowsChangeReset());
        }
    }

    void deliverNext(CMChangeReceiver& receiver)
    {
        QMutexLocker lock(&m_mutex);
        if (m_changes.isEmpty())
            return;
        const Change next = m_changes.takeFirst();
        lock.unlock();
        receiver.rowsChanged(next.path, next.changes, next.version);
    }

private:
    QMutex m_mutex;
    QList<Change> m_changes;
};

CMSubscribe::CMSubscribe(CMWorker* worker) : QObject(worker), m_worker(worker) {}

const QString& CMSubscribe::RowsChangeReset()
{
    static const QString code = QStringLiteral("reset");
    return code;
}

const QString& CMSubscribe::RowsChangeClose()
{
    static const QString code = QStringLiteral("close");
    return code;
}

template<typename Function>
void CMSubscribe::runInWorkerThread(Function&& function)
{
    if (QThread::currentThread() == thread())
        function();
    else
        QMetaObject::invokeMethod(this, std::forward<Function>(function), Qt::BlockingQueuedConnection);
}

bool CMSubscribe::add(const CMPath& path, CMChangeReceiver* receiver)
{
    bool added = false;
    runInWorkerThread([this, &path, receiver, &added] { added = addHere(path, receiver); });
    return added;
}

void CMSubscribe::remove(const CMPath& path, CMChangeReceiver* receiver)
{
    runInWorkerThread([this, &path, receiver] { removeHere(path, receiver); });
}

bool CMSubscribe::isClient(const CMPath& path, const CMChangeReceiver* receiver) const
{
    const QMutexLocker lock(&m_mutex);
    return isClientLocked(path, receiver);
}

bool CMSubscribe::isClientLocked(const CMPath& path, const CMChangeReceiver* receiver) const
{
    const auto clients = m_clients.constFind(path);
    return clients != m_clients.constEnd() &&
           std::find(clients->receivers.cbegin(), clients->receivers.cend(), receiver) != clients->receivers.cend();
}

std::chrono::system_clock::time_point CMSubscribe::lastChange(const CMPath& path) const
{
    const QMutexLocker lock(&m_mutex);
    return m_clients.value(path).lastChange;
}

QList<CMPath> CMSubscribe::rowsPathsStartingWith(const CMPath& path) const
{
    const QMutexLocker lock(&m_mutex);
    QList<CMPath> paths;
    for (auto it = m_clients.cbegin(); it != m_clients.cend(); ++it) {
        if (!it->isUnsettled && it.key().startsWith(path))
            paths.append(it.key());
    }
    return paths;
}

void CMSubscribe::rowsChanged(const CMPath& path, const QStringList& changes, int version, int /*row*/)
{
    const QMutexLocker lock(&m_mutex);
    if (changes.contains(RowsChangeClose()))
        closeLocked(path, changes, version);
    else
        tellLocked(path, changes, version);
}

bool CMSubscribe::addHere(const CMPath& path, CMChangeReceiver* receiver)
{
    if (path.prefix() != m_worker->prefix())
        return false;
    const auto once = static_cast<Qt::ConnectionType>(Qt::DirectConnection | Qt::UniqueConnection);
    connect(receiver, &QObject::destroyed, this, &CMSubscribe::removeEverywhere, once);
    if (insertClient(path, receiver) && !endAddition(path, offerToWorker(path)))
        return false;
    const QMutexLocker lock(&m_mutex);
    // If another thread has closed it meanwhile, the receiver is about to be told so.
    const std::shared_ptr<Inbox> inbox = m_inboxes.value(receiver);
    if (inbox && isClientLocked(path, receiver))
        inbox->reopen(path);
    return true;
}

bool CMSubscribe::endAddition(const CMPath& path, bool isTaken)
{
    const QMutexLocker lock(&m_mutex);
    Clients& clients = m_clients[path];
    clients.isUnsettled = false;
    if (isTaken && !clients.isClosed && !clients.receivers.isEmpty())
        return true;
    m_clients.remove(path);
    if (isTaken)
        m_ended.append(path);
    settleLater();
    return false;
}

bool CMSubscribe::offerToWorker(const CMPath& path)
{
    Q_EMIT rowsPathAboutToBeAdded(path);
    Q_EMIT rowsPathAdded(path);
    // A worker that did not take the path must not be told of its removal either; one that has lost it since, must.
    return isTracked(path) || isLost(path);
}

bool CMSubscribe::isLost(const CMPath& path) const
{
    const QMutexLocker lock(&m_mutex);
    return m_clients.value(path).isLost;
}

void CMSubscribe::removeHere(const CMPath& path, CMChangeReceiver* receiver)
{
    {
        const QMutexLocker lock(&m_mutex);
        eraseClientLocked(path, receiver);
        if (const std::shared_ptr<Inbox> inbox = m_inboxes.value(receiver))
            inbox->removeAll(path);
    }
    settle();
}

void CMSubscribe::removeEverywhere(QObject* receiver)
{
    const QMutexLocker lock(&m_mutex);
    const QList<CMPath> paths = m_clients.keys();
    for (const CMPath& path : paths)
        eraseClientLocked(path, receiver);
    m_inboxes.remove(receiver);
    settleLater();
}

bool CMSubscribe::insertClient(const CMPath& path, CMChangeReceiver* receiver)
{
    QMutexLocker lock(&m_mutex);
    // Another thread may close the path at any moment, and the worker must hear of its removal before its addition.
    while (!m_ended.isEmpty()) {
        lock.unlock();
        settle();
        lock.relock();
    }
    Clients& clients = m_clients[path];
    clients.isUnsettled = clients.receivers.isEmpty();
    if (!clients.receivers.contains(receiver))
        clients.receivers.append(receiver);
    return clients.isUnsettled;
}

void CMSubscribe::eraseClientLocked(const CMPath& path, const QObject* receiver)
{
    const auto clients = m_clients.find(path);
    if (clients == m_clients.end())
        return;
    QVector<CMChangeReceiver*>& receivers = clients->receivers;
    receivers.erase(std::remove(receivers.begin(), receivers.end(), receiver), receivers.end());
    if (receivers.isEmpty() && !clients->isUnsettled) {
        m_clients.erase(clients);
        m_ended.append(path);
    }
}

void CMSubscribe::tellLocked(const CMPath& path, const QStringList& changes, int version)
{
    const auto clients = m_clients.find(path);
    if (clients == m_clients.end())
        return;
    clients->lastChange = std::chrono::system_clock::now();
    for (CMChangeReceiver* receiver : qAsConst(clients->receivers))
        postLocked(receiver, path, changes, version);
    if (m_observer)
        postLocked(m_observer, path, changes, version);
}

void CMSubscribe::postLocked(CMChangeReceiver* receiver, const CMPath& path, const QStringList& changes, int version)
{
    std::shared_ptr<Inbox>& inbox = m_inboxes[receiver];
    if (!inbox)
        inbox = std::make_shared<Inbox>();
    inbox->append({path, changes, version});
    const auto deliver = [inbox = inbox, receiver] { inbox->deliverNext(*receiver); };
    QMetaObject::invokeMethod(receiver, deliver, Qt::QueuedConnection);
}

void CMSubscribe::closeLocked(const CMPath& path, const QStringList& changes, int version)
{
    const QList<CMPath> subscribed = m_clients.keys();
    for (const CMPath& below : subscribed) {
        if (!below.startsWith(path))
            continue;
        Clients& clients = m_clients[below];
        if (clients.isUnsettled) {
            clients.isClosed = true;
            clients.isLost = clients.isLost || below == path;
            continue;
        }
        tellLocked(below, below == path ? changes : QStringList(RowsChangeClose()), version);
        m_clients.remove(below);
        m_ended.append(below);
    }
    settleLater();
}

void CMSubscribe::settleLater()
{
    QMetaObject::invokeMethod(this, &CMSubscribe::settle, Qt::QueuedConnection);
}

void CMSubscribe::settle()
{
    for (QList<CMPath> ended = takeEnded(); !ended.isEmpty(); ended = takeEnded())
        removeFromWorker(ended);
}

QList<CMPath> CMSubscribe::takeEnded()
{
    QList<CMPath> ended;
    {
        const QMutexLocker lock(&m_mutex);
        ended.swap(m_ended);
    }
    std::sort(ended.begin(), ended.end());
    return ended;
}

void CMSubscribe::removeFromWorker(const QList<CMPath>& paths)
{
    // A rows request in another thread may be about to announce one of these paths once more. Asking the worker waits
    // for that, and the announcement must arrive before the removal: a later one would bring back the record of a path
    // that nobody holds. A request that comes to life only now finds these paths without clients.
    for (const CMPath& path : paths) {
        if (RowsRequests::exist())
            static_cast<void>(isTracked(path));
    }
    QCoreApplication::sendPostedEvents(m_worker, QEvent::MetaCall);
    std::for_each(paths.crbegin(), paths.crend(), [this](const CMPath& path) { Q_EMIT rowsPathRemoved(path); });
}

void CMSubscribe::setObserver(CMChangeReceiver* observer)
{
    const QMutexLocker lock(&m_mutex);
    m_inboxes.remove(m_observer);
    m_observer = observer;
}

void CMSubscribe::renew(const QList<CMPath>& paths)
{
    settle();
    const QList<CMPath> renewed = beginRenewal(paths);
    removeFromWorker(renewed);
    for (const CMPath& path : renewed) {
        const bool isTaken = !isClosedMeanwhile(path) && offerToWorker(path);
        endRenewal(path, isTaken, isTaken ? currentVersion(path) : 0);
    }
}

QList<CMPath> CMSubscribe::beginRenewal(const QList<CMPath>& paths)
{
    const QMutexLocker lock(&m_mutex);
    QList<CMPath> renewed;
    for (const CMPath& path : paths) {
        const auto clients = m_clients.find(path);
        if (clients == m_clients.end())
            continue;
        clients->isUnsettled = true;
        renewed.append(path);
    }
    std::sort(renewed.begin(), renewed.end());
    return renewed;
}

bool CMSubscribe::isClosedMeanwhile(const CMPath& path) const
{
    const QMutexLocker lock(&m_mutex);
    return m_clients.value(path).isClosed;
}

void CMSubscribe::endRenewal(const CMPath& path, bool isTaken, int version)
{
    const QMutexLocker lock(&m_mutex);
    Clients& clients = m_clients[path];
    clients.isUnsettled = false;
    const bool isOpen = version > 0 && !clients.isClosed;
    if (isOpen && !clients.receivers.isEmpty())
        return tellLocked(path, {RowsChangeReset()}, version);
    if (!isOpen)
        tellLocked(path, {RowsChangeClose()}, version);
    m_clients.remove(path);
    if (isTaken)
        m_ended.append(path);
    if (!isOpen)
        closeLocked(path, {}, version);
    settleLater();
}

int CMSubscribe::currentVersion(const CMPath& path) const
{
    const CMGetRowsRequest request(path, 0, -1, 0, QStringList());
    m_worker->getRowsRequest(request);
    return request.reply().value().rowsVersion();
}

bool CMSubscribe::isTracked(const CMPath& path) const
{
    // The one version that is refused without a listing, if the worker has any for the path.
    constexpr int strangeVersion = std::numeric_limits<int>::max();
    const CMGetRowsRequest request(path, 0, -1, strangeVersion, QStringList());
    m_worker->getRowsRequest(request);
    const CMReply<TavoRowsRoles> reply = request.reply();
    return reply.isError() ? reply.error().name() == TavoErrorInvalidRowsVersion() : reply.value().rowsVersion() > 0;
}
