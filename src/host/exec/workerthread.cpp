#include "exec/workerthread.h"

#include <QSemaphore>

#include <exception>
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
        return function();
    std::exception_ptr thrown;
    const auto keepThrown = [&function, &thrown] {
        try {
            function();
        } catch (...) {
            thrown = std::current_exception();
        }
    };
    QMetaObject::invokeMethod(&m_context, keepThrown, Qt::BlockingQueuedConnection);
    if (thrown)
        std::rethrow_exception(thrown);
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
