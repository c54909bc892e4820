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

#include <algorithm>

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
        const QMutexLocker lock(&mutex);
        const QString& base = request.path().base();
        if (!containers.contains(base))
            return request.reply().setError(createErrorInvalidPath(request.path()));
        const int version = versions.value(base);
        if (version > 0 && request.rowsVersion() > 0 && request.rowsVersion() != version)
            return request.reply().setError(
                createErrorInvalidRowsVersion(request.path(), request.rowsVersion(), version));
        TavoRowsRoles page;
        page.setRowsCount(0);
        page.setRowsVersion(version);
        page.setRows(QVariantList());
        request.reply().setValue(page);
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

    /// Guards what follows; recursive, as in a worker that tells of changes while it answers.
    QMutex mutex{QMutex::Recursive};
    QStringList containers = {
        QString(), QStringLiteral("a"), QStringLiteral("a/b"), QStringLiteral("a/b/c"), QStringLiteral("ab")};
    QHash<QString, int> versions;
    /// What the subscriptions told, and the threads they told it in.
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
    int m_lastVersion = 0;
};

/// A client that keeps what it is told: "base change version".
class KeepingReceiver : public CMChangeReceiver
{
    Q_OBJECT
public:
    void rowsChanged(const CMPath& path, const QStringList& changes, int version) override
    {
        const QMutexLocker lock(&m_mutex);
        m_told.append(QStringLiteral("%1 %2 %3").arg(path.base(), changes.join(QLatin1Char(','))).arg(version));
        m_thread = QThread::currentThread();
    }

    [[nodiscard]] QStringList told() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_told;
    }

    [[nodiscard]] QThread* toldIn() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_thread;
    }

private:
    mutable QMutex m_mutex;
    QStringList m_told;
    QThread* m_thread = nullptr;
};
