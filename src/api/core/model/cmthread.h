#pragma once

#include <QMetaObject>
#include <QObject>
#include <QThread>

#include <utility>

/// Runs `function` in the thread of `context` and returns when it has run: at once if that is the calling thread, else
/// from that thread's event loop, which must be running. If `context` is destroyed before, `function` does not run.
///
/// The caller holds no lock that the other thread may want. For a worker, `context` is its CMSubscribe: what is queued
/// for the worker itself is delivered in the middle of a removal.
template<typename Function>
void cmRunInThreadOf(QObject* context, Function&& function)
{
    if (QThread::currentThread() == context->thread())
        std::forward<Function>(function)();
    else
        QMetaObject::invokeMethod(context, std::forward<Function>(function), Qt::BlockingQueuedConnection);
}
