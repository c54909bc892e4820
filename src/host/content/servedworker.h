#pragma once

#include "content/contenthost.h"

#include <model/cmworker.h>

/// Keeps a worker that is not a root mounted as long as this object lives. Lives in the worker thread.
class ServedWorker
{
public:
    /// Fails if the module makes no worker, or another one has its prefix. `position`: that of its row in the list of
    /// mounts.
    [[nodiscard]] static Result<std::unique_ptr<ServedWorker>> mount(const WorkerSettings& settings, int position);
    ~ServedWorker();
    Q_DISABLE_COPY_MOVE(ServedWorker)

    [[nodiscard]] const ContentHost::SharedMount& mount() const { return m_mount; }
    [[nodiscard]] CMSubscribe* subscribe() const { return m_worker->subscribe(); }

private:
    ServedWorker(std::unique_ptr<CMWorker> worker, ContentHost::SharedMount mount);

    const std::unique_ptr<CMWorker> m_worker;
    const ContentHost::SharedMount m_mount;
};
