#include "model/cmsubscribe.h"

#include "model/cmworker.h"
#include "tavo/tavokeys.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>

#include <algorithm>
#include <limits>

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
    const auto clients = m_clients.constFind(path);
    return clients != m_clients.constEnd() &&
           std::find(clients->cbegin(), clients->cend(), receiver) != clients->cend();
}

QList<CMPath> CMSubscribe::rowsPathsStartingWith(const CMPath& path) const
{
    const QMutexLocker lock(&m_mutex);
    QList<CMPath> paths;
    for (auto it = m_clients.keyBegin(); it != m_clients.keyEnd(); ++it) {
        if (it->startsWith(path))
            paths.append(*it);
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
    if (!insertClient(path, receiver))
        return true;
    Q_EMIT rowsPathAdded(path);
    // A worker that did not take the path must not be told of its removal either.
    if (!isTracked(path)) {
        const QMutexLocker lock(&m_mutex);
        m_clients.remove(path);
        return false;
    }
    return true;
}

void CMSubscribe::removeHere(const CMPath& path, CMChangeReceiver* receiver)
{
    {
        const QMutexLocker lock(&m_mutex);
        eraseClientLocked(path, receiver);
    }
    settle();
}

void CMSubscribe::removeEverywhere(QObject* receiver)
{
    const QMutexLocker lock(&m_mutex);
    const QList<CMPath> paths = m_clients.keys();
    for (const CMPath& path : paths)
        eraseClientLocked(path, receiver);
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
    const bool isFirst = clients.isEmpty();
    if (!clients.contains(receiver))
        clients.append(receiver);
    return isFirst;
}

void CMSubscribe::eraseClientLocked(const CMPath& path, const QObject* receiver)
{
    const auto clients = m_clients.find(path);
    if (clients == m_clients.end())
        return;
    clients->erase(std::remove(clients->begin(), clients->end(), receiver), clients->end());
    if (clients->isEmpty()) {
        m_clients.erase(clients);
        m_ended.append(path);
    }
}

void CMSubscribe::tellLocked(const CMPath& path, const QStringList& changes, int version)
{
    for (CMChangeReceiver* receiver : m_clients.value(path)) {
        QMetaObject::invokeMethod(
            receiver, [=] { receiver->rowsChanged(path, changes, version); }, Qt::QueuedConnection);
    }
}

void CMSubscribe::closeLocked(const CMPath& path, const QStringList& changes, int version)
{
    const QList<CMPath> subscribed = m_clients.keys();
    for (const CMPath& below : subscribed) {
        if (!below.startsWith(path))
            continue;
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
    for (QList<CMPath> ended = takeEnded(); !ended.isEmpty(); ended = takeEnded()) {
        // A rows request in another thread may be about to announce one of these paths once more. Asking the worker
        // waits for that, and the announcement must arrive before the removal: a later one would bring back the
        // record of a path that nobody holds.
        for (const CMPath& path : qAsConst(ended))
            static_cast<void>(isTracked(path));
        QCoreApplication::sendPostedEvents(m_worker, QEvent::MetaCall);
        for (const CMPath& path : qAsConst(ended))
            Q_EMIT rowsPathRemoved(path);
    }
}

QList<CMPath> CMSubscribe::takeEnded()
{
    QList<CMPath> ended;
    {
        const QMutexLocker lock(&m_mutex);
        ended.swap(m_ended);
    }
    std::sort(ended.begin(), ended.end(), [](const CMPath& a, const CMPath& b) { return b < a; });
    return ended;
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
