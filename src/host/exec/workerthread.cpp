#include "exec/workerthread.h"

#include <QSemaphore>

#include <memory>
#include <utility>

WorkerThread::WorkerThread()
{
    m_thread.setObjectName(QStringLiteral("workers"));
    m_context.moveToThread(&m_thread);
    m_thread.start();
}

WorkerThread::~WorkerThread()
{
    post([this] { m_thread.quit(); });
    m_thread.wait();
}

void WorkerThread::run(const std::function<void()>& function)
{
    if (QThread::currentThread() == &m_thread)
        function();
    else
        QMetaObject::invokeMethod(&m_context, function, Qt::BlockingQueuedConnection);
}

void WorkerThread::post(std::function<void()> function)
{
    QMetaObject::invokeMethod(&m_context, std::move(function), Qt::QueuedConnection);
}

bool WorkerThread::answersWithin(std::chrono::milliseconds patience)
{
    const auto answered = std::make_shared<QSemaphore>();
    post([answered] { answered->release(); });
    return answered->tryAcquire(1, static_cast<int>(patience.count()));
}
