#pragma once

#include "model/cmconnect.h"
#include "model/cmworker.h"
#include "tavo/tavokeys.h"

#include <QHash>
#include <QMutex>
#include <QSemaphore>
#include <QStringList>
#include <QThread>
#include <QVector>

#include <functional>

/// A worker with a few containers, which gives the rows of those that are open a version, as a real one does.
class TrackingWorker : public CMWorker
{
    Q_OBJECT
public:
    TrackingWorker() : CMWorker({{TavoService_Id(), QStringLiteral("test")}}, QStringLiteral("TrackingWorker"))
    {
        cmConnect(
            subscribe(), &CMSubscribe::rowsPathAdded, this, &TrackingWorker::subscribePathAdded, Qt::DirectConnection);
        cmConnect(
            subscribe(), &CMSubscribe::rowsPathRemoved, this, &TrackingWorker::subscribePathRemoved,
            Qt::DirectConnection);
    }

    void getRowsRequest(const CMGetRowsRequest& request) override
    {
        asked.release();
        if (const std::function<void()> run = serving())
            run();
        const QMutexLocker lock(&mutex);
        const QString& base = request.path().base();
        const int version = versions.value(base);
        if (version > 0 && request.rowsVersion() > 0 && request.rowsVersion() != version)
            return request.reply().setError(
                createErrorInvalidRowsVersion(request.path(), request.rowsVersion(), version));
        if (!containers.contains(base))
            return request.reply().setError(createErrorInvalidPath(request.path()));
        TavoRowsRoles page;
        page.setRowsCount(0);
        page.setRowsVersion(version);
        page.setRows(QVariantList());
        request.reply().setValue(page);
    }

    void setDataRequest(const CMSetDataRequest& request) override
    {
        if (const std::function<void()> run = serving())
            run();
        CMWorker::setDataRequest(request);
    }

    /// To be called with the mutex held, or before the first request.
    void note(const QString& event)
    {
        events.append(event);
        threads.append(QThread::currentThread());
    }

    [[nodiscard]] QStringList takeEvents()
    {
        const QMutexLocker lock(&mutex);
        QStringList taken;
        taken.swap(events);
        return taken;
    }

    /// Runs in the middle of the next rows and set-data requests, in their threads; empty: nothing does.
    void setServing(std::function<void()> serving)
    {
        const QMutexLocker lock(&mutex);
        m_serving = std::move(serving);
    }

    /// The next version is one higher.
    void setLastVersion(int version)
    {
        const QMutexLocker lock(&mutex);
        m_lastVersion = version;
    }

    /// As a worker does whose request has found the container gone: when that gets through, it is there again.
    void announceGone(const CMPath& path)
    {
        QMetaObject::invokeMethod(
            this,
            [this, base = path.base()] {
                const QMutexLocker lock(&mutex);
                note(QStringLiteral("found ") + base);
                versions.insert(base, ++m_lastVersion);
            },
            Qt::QueuedConnection);
    }

    /// Guards what follows; recursive, as in a worker that announces changes while it answers.
    QMutex mutex{QMutex::Recursive};
    QStringList containers = {
        QString(), QStringLiteral("a"), QStringLiteral("a/b"), QStringLiteral("a/b/c"), QStringLiteral("ab")};
    QHash<QString, int> versions;
    /// The additions and removals, and the threads in which they came.
    QStringList events;
    QVector<QThread*> threads;
    /// Released before subscribePathAdded() takes the mutex, and before getRowsRequest() does.
    QSemaphore adding;
    QSemaphore asked;

private Q_SLOTS:
    void subscribePathAdded(const CMPath& path)
    {
        adding.release();
        const QMutexLocker lock(&mutex);
        note(QStringLiteral("added ") + path.base());
        if (containers.contains(path.base())) {
            if (versions.contains(path.base()))
                note(QStringLiteral("is there already: ") + path.base());
            versions.insert(path.base(), ++m_lastVersion);
        }
    }

    void subscribePathRemoved(const CMPath& path)
    {
        const QMutexLocker lock(&mutex);
        note(QStringLiteral("removed ") + path.base());
        versions.remove(path.base());
    }

private:
    [[nodiscard]] std::function<void()> serving()
    {
        const QMutexLocker lock(&mutex);
        return m_serving;
    }

    int m_lastVersion = 0;
    std::function<void()> m_serving;
};

/// A client that keeps what it receives: "base change version".
class KeepingReceiver : public CMChangeReceiver
{
    Q_OBJECT
public:
    void rowsChanged(const CMPath& path, const QStringList& changes, int version) override
    {
        const QMutexLocker lock(&m_mutex);
        m_received.append(QStringLiteral("%1 %2 %3").arg(path.base(), changes.join(QLatin1Char(','))).arg(version));
        m_thread = QThread::currentThread();
    }

    [[nodiscard]] QStringList received() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_received;
    }

    [[nodiscard]] QThread* receivedIn() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_thread;
    }

private:
    mutable QMutex m_mutex;
    QStringList m_received;
    QThread* m_thread = nullptr;
};
