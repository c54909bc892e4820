#include "exec/heartbeat.h"

#include "exec/workerthread.h"

#include <model/cmrequestcontext.h>

#include <utility>

Heartbeat::Heartbeat(
    RequestExecutor& executor, WorkerThread& workerThread, std::chrono::milliseconds interval, Request request,
    Beat beat)
    : m_executor(executor), m_workerThread(workerThread), m_request(std::move(request)), m_beat(std::move(beat)),
      m_client(executor.addClient())
{
    QObject::connect(&m_timer, &QTimer::timeout, [this] { ask(); });
    m_timer.start(interval);
}

Heartbeat::~Heartbeat()
{
    m_executor.removeClient(m_client);
}

void Heartbeat::ask()
{
    if (m_isUnderWay->exchange(true))
        return;
    RequestExecutor::Job job;
    job.context = std::make_shared<CMRequestContext>();
    job.run = [request = m_request, beat = m_beat, workers = &m_workerThread,
               isUnderWay = m_isUnderWay](const RequestExecutor::Slot&) {
        const bool isAnswered = request();
        workers->post([beat, isUnderWay, isAnswered] {
            if (isAnswered)
                beat();
            *isUnderWay = false;
        });
    };
    job.refuse = [isUnderWay = m_isUnderWay](RequestExecutor::Refusal) { *isUnderWay = false; };
    m_executor.submit(m_client, std::move(job));
}
