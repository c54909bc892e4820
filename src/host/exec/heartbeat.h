#pragma once

#include "exec/requestexecutor.h"

#include <QTimer>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

class WorkerThread;

/// Beats as long as requests are answered.
///
/// Before each beat a request runs in the executor, as a client's would, and then the worker thread has to answer.
/// While either is stuck, there is no beat. Lives in a thread with an event loop.
class Heartbeat
{
public:
    /// Makes a request; false if it fails. Called in a thread of the executor.
    using Request = std::function<bool()>;
    /// Called in the worker thread.
    using Beat = std::function<void()>;

    /// Executor and worker thread must outlive it. The functions may still be called after its end, as long as the
    /// executor runs.
    Heartbeat(
        RequestExecutor& executor, WorkerThread& workerThread, std::chrono::milliseconds interval, Request request,
        Beat beat);
    ~Heartbeat();
    Q_DISABLE_COPY_MOVE(Heartbeat)

private:
    void ask();

    RequestExecutor& m_executor;
    WorkerThread& m_workerThread;
    const Request m_request;
    const Beat m_beat;
    const std::shared_ptr<RequestExecutor::Client> m_client;
    /// Whether a request or a beat is under way; shared with it.
    const std::shared_ptr<std::atomic<bool>> m_isUnderWay = std::make_shared<std::atomic<bool>>(false);
    QTimer m_timer;
};
