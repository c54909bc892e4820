#include "exec/rootpools.h"

#include <algorithm>
#include <utility>

void RootPools::post(const QString& root, std::function<void()> function)
{
    const std::lock_guard lock(m_mutex);
    if (!m_isStopping)
        m_pools.try_emplace(root, m_threads).first->second.post(std::move(function));
}

bool RootPools::stop(std::chrono::milliseconds patience)
{
    using Clock = std::chrono::steady_clock;
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    const Clock::time_point deadline = Clock::now() + patience;
    bool areIdle = true;
    for (auto& [root, pool] : m_pools) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        areIdle = pool.stop(std::max(rest, std::chrono::milliseconds::zero())) && areIdle;
    }
    return areIdle;
}
