#include "content/subscriptions.h"

#include "content/contenthost.h"
#include "exec/workerthread.h"

#include <utility>

Subscriptions::Subscriptions(ContentHost& host, Reach reach, int limit, ChangeHandler handler)
    : m_host(host), m_openPaths(std::make_shared<OpenPaths>(host, reach, limit, std::move(handler)))
{
    m_openPaths->moveToThread(m_host.workerThread().thread());
}

Subscriptions::~Subscriptions()
{
    m_host.workerThread().post([openPaths = std::move(m_openPaths)]() mutable { openPaths.reset(); });
}

void Subscriptions::open(const CMPath& path, Completion completion)
{
    m_host.workerThread().post([openPaths = m_openPaths.get(), path, completion = std::move(completion)]() mutable {
        openPaths->open(path, std::move(completion));
    });
}

void Subscriptions::close(const CMPath& path, Completion completion)
{
    m_host.workerThread().post([openPaths = m_openPaths.get(), path, completion = std::move(completion)]() mutable {
        openPaths->close(path, std::move(completion));
    });
}
