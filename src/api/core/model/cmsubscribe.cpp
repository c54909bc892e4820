#include "model/cmsubscribe.h"

#include "model/cmremovals_p.h"
#include "model/cmthread.h"
#include "model/cmunderway_p.h"
#include "model/cmworker.h"
#include "tavo/tavokeys.h"

#include <QCoreApplication>
#include <QEvent>
#include <QScopeGuard>
#include <QSemaphore>
#include <QThread>

#include <algorithm>
#include <exception>
#include <limits>
#include <utility>

/// The changes that one client has not received yet. It outlives the subscriptions, as they may end earlier than
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

CMSubscribe::CMSubscribe(CMWorker* worker)
    : QObject(worker), m_worker(worker), m_underWay(std::make_shared<CMUnderWay>(this, [this] { settle(); })),
      m_removals(std::make_unique<CMRemovals>())
{
}

CMSubscribe::~CMSubscribe()
{
    m_underWay->detach();
}

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

bool CMSubscribe::add(const CMPath& path, CMChangeReceiver* receiver)
{
    if (QThread::currentThread() == thread())
        return addHere(path, receiver);
    bool added = false;
    std::exception_ptr thrown;
    QSemaphore ended;
    // The function is dropped uncalled if this object is destroyed.
    std::shared_ptr<QSemaphore> whenDropped(&ended, [](QSemaphore* semaphore) { semaphore->release(); });
    whenSettled(path, [this, &path, receiver, &added, &thrown, whenDropped = std::move(whenDropped)] {
        try {
            added = addHere(path, receiver);
        } catch (...) {
            thrown = std::current_exception();
        }
    });
    ended.acquire();
    if (thrown)
        std::rethrow_exception(thrown);
    return added;
}

void CMSubscribe::remove(const CMPath& path, CMChangeReceiver* receiver)
{
    cmRunInThreadOf(this, [this, &path, receiver] { removeHere(path, receiver); });
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
        if (!it->isUnsettled && it.key().startsWith(path) && !m_removals->contains(it.key()))
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
        notifyLocked(path, changes, version);
}

bool CMSubscribe::addHere(const CMPath& path, CMChangeReceiver* receiver)
{
    if (path.prefix() != m_worker->prefix())
        return false;
    const auto once = static_cast<Qt::ConnectionType>(Qt::DirectConnection | Qt::UniqueConnection);
    connect(receiver, &QObject::destroyed, this, &CMSubscribe::removeEverywhere, once);
    if (!joinClients(path, receiver) && !addToWorker(path, receiver))
        return false;
    const QMutexLocker lock(&m_mutex);
    // If another thread has closed it meanwhile, the close is on its way to the receiver.
    const std::shared_ptr<Inbox> inbox = m_inboxes.value(receiver);
    if (inbox && isClientLocked(path, receiver))
        inbox->reopen(path);
    return true;
}

bool CMSubscribe::joinClients(const CMPath& path, CMChangeReceiver* receiver)
{
    const QMutexLocker lock(&m_mutex);
    if (!m_clients.contains(path) && !m_removals->drop(path))
        return false;
    QVector<CMChangeReceiver*>& receivers = m_clients[path].receivers;
    if (!receivers.contains(receiver))
        receivers.append(receiver);
    return true;
}

bool CMSubscribe::addToWorker(const CMPath& path, CMChangeReceiver* receiver)
{
    // What has ended comes first.
    runRemovals();
    while (isRemovalPending(path)) {
        m_underWay->waitForEnd();
        runRemovals();
    }
    if (!m_waiting.isEmpty())
        settleLater();
    {
        const QMutexLocker lock(&m_mutex);
        Clients& clients = m_clients[path];
        clients.receivers.append(receiver);
        clients.isUnsettled = true;
    }
    try {
        Q_EMIT rowsPathAboutToBeAdded(path);
        Q_EMIT rowsPathAdded(path);
    } catch (...) {
        const QMutexLocker lock(&m_mutex);
        m_clients.remove(path);
        settleLater();
        throw;
    }
    return endAddition(path);
}

bool CMSubscribe::endAddition(const CMPath& path)
{
    const QMutexLocker lock(&m_mutex);
    Clients& clients = m_clients[path];
    clients.isUnsettled = false;
    if (!clients.isClosed && !clients.receivers.isEmpty())
        return true;
    endUnsettledLocked(path);
    settleLater();
    return false;
}

void CMSubscribe::endUnsettledLocked(const CMPath& path)
{
    const Clients clients = m_clients.value(path);
    if (clients.isUntaken)
        m_clients.remove(path);
    else
        endLocked(path, clients.isClosed);
}

void CMSubscribe::verify(const CMPath& path)
{
    constexpr int highest = std::numeric_limits<int>::max();
    // The rows may have one of the two versions, not both.
    if (isVersionRefused(path, highest) || isVersionRefused(path, highest - 1))
        return;
    {
        const QMutexLocker lock(&m_mutex);
        Clients& clients = m_clients[path];
        if (clients.isLost)
            return;
        clients.isUntaken = true;
        clients.isClosed = true;
    }
    Q_EMIT rowsPathRefused(path);
}

bool CMSubscribe::isVersionRefused(const CMPath& path, int version) const
{
    const CMGetRowsRequest request(path, 0, -1, version, QStringList());
    m_worker->getRowsRequest(request);
    return request.reply().error().name() == TavoErrorInvalidRowsVersion();
}

void CMSubscribe::endLocked(const CMPath& path, bool isClosed)
{
    m_clients.remove(path);
    const CMRemoval::Reason reason = isClosed ? CMRemoval::Reason::Closed : CMRemoval::Reason::Left;
    m_removals->add(path, {reason, m_underWay->nextNumber(), 0});
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

void CMSubscribe::eraseClientLocked(const CMPath& path, const QObject* receiver)
{
    const auto clients = m_clients.find(path);
    if (clients == m_clients.end())
        return;
    QVector<CMChangeReceiver*>& receivers = clients->receivers;
    receivers.erase(std::remove(receivers.begin(), receivers.end(), receiver), receivers.end());
    if (receivers.isEmpty() && !clients->isUnsettled)
        endLocked(path, false);
}

void CMSubscribe::notifyLocked(const CMPath& path, const QStringList& changes, int version)
{
    const auto clients = m_clients.find(path);
    if (clients == m_clients.end())
        return;
    m_underWay->noteVersion(version);
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
    m_removals->close(path);
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
        notifyLocked(below, below == path ? changes : QStringList(RowsChangeClose()), version);
        endLocked(below, true);
    }
    settleLater();
}

void CMSubscribe::whenSettled(const CMPath& path, std::function<void()> function)
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this, [this, path, function = std::move(function)] { whenSettled(path, function); }, Qt::QueuedConnection);
        return;
    }
    runRemovals();
    m_waiting.append({path, std::move(function)});
    callSettled();
}

void CMSubscribe::settleLater()
{
    QMetaObject::invokeMethod(this, &CMSubscribe::settle, Qt::QueuedConnection);
}

void CMSubscribe::settle()
{
    runRemovals();
    callSettled();
}

bool CMSubscribe::isSettled(const CMPath& path) const
{
    const QMutexLocker lock(&m_mutex);
    return m_removals->isSettled(path);
}

bool CMSubscribe::isRemovalPending(const CMPath& path) const
{
    const QMutexLocker lock(&m_mutex);
    return m_removals->contains(path);
}

void CMSubscribe::callSettled()
{
    const auto isDue = [this](const Waiting& waiting) { return isSettled(waiting.path); };
    for (;;) {
        const auto next = std::find_if(m_waiting.begin(), m_waiting.end(), isDue);
        if (next == m_waiting.end())
            return;
        const std::function<void()> function = std::move(next->function);
        m_waiting.erase(next);
        function();
    }
}

void CMSubscribe::runRemovals()
{
    while (runDueRemovals()) {
    }
}

bool CMSubscribe::runDueRemovals()
{
    CMRemovalsByPath due;
    QList<CMPath> renewed;
    {
        const QMutexLocker lock(&m_mutex);
        due = m_removals->takeDue(*m_underWay);
        for (auto removal = due.cbegin(); removal != due.cend(); ++removal) {
            if (removal->reason != CMRemoval::Reason::Renewed)
                continue;
            m_clients[removal.key()].isUnsettled = true;
            renewed.append(removal.key());
        }
    }
    const QList<CMPath> paths = due.keys();
    if (!paths.isEmpty())
        QCoreApplication::sendPostedEvents(m_worker, QEvent::MetaCall);
    const auto release = qScopeGuard([this] { m_underWay->release(); });
    std::for_each(paths.crbegin(), paths.crend(), [this](const CMPath& path) { Q_EMIT rowsPathRemoved(path); });
    // No rows request for the path may find it gone before it is certain that the worker has taken it.
    for (const CMPath& path : qAsConst(renewed))
        addAgain(path);
    return !paths.isEmpty();
}

void CMSubscribe::setObserver(CMChangeReceiver* observer)
{
    const QMutexLocker lock(&m_mutex);
    m_inboxes.remove(m_observer);
    m_observer = observer;
}

void CMSubscribe::renew(const QList<CMPath>& paths)
{
    {
        const QMutexLocker lock(&m_mutex);
        ++m_renewals;
        for (const CMPath& path : paths) {
            if (m_clients.contains(path) && !m_removals->contains(path))
                m_removals->add(path, {CMRemoval::Reason::Renewed, m_underWay->nextNumber(), m_renewals});
        }
    }
    settle();
}

void CMSubscribe::addAgain(const CMPath& path)
{
    const bool isAdded = !isClosedMeanwhile(path);
    if (isAdded) {
        Q_EMIT rowsPathAboutToBeAdded(path);
        Q_EMIT rowsPathAdded(path);
    }
    const int version = isAdded ? currentVersion(path) : 0;
    if (isAdded && version == 0)
        verify(path);
    endRenewal(path, isAdded, version);
}

bool CMSubscribe::isClosedMeanwhile(const CMPath& path) const
{
    const QMutexLocker lock(&m_mutex);
    return m_clients.value(path).isClosed;
}

void CMSubscribe::endRenewal(const CMPath& path, bool wasAdded, int version)
{
    const QMutexLocker lock(&m_mutex);
    Clients& clients = m_clients[path];
    clients.isUnsettled = false;
    clients.isUntaken = clients.isUntaken || !wasAdded;
    const bool isOpen = version > 0 && !clients.isClosed;
    if (isOpen && !clients.receivers.isEmpty())
        return notifyLocked(path, {RowsChangeReset()}, version);
    if (!isOpen)
        notifyLocked(path, {RowsChangeClose()}, version);
    clients.isClosed = !isOpen;
    endUnsettledLocked(path);
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
