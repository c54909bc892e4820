#include "rpc/sharedrequests.h"

#include "content/failures.h"
#include "process/guardedcall.h"

#include <utility>

namespace {

/// The request must end even when memory is short: a failure that needs none.
Result<QByteArray> computeGuarded(const SharedRequests::Compute& compute)
{
    try {
        return compute();
    } catch (...) {
        logException();
        return Failures::busy();
    }
}

} // namespace

void SharedRequests::run(const QByteArray& key, const Compute& compute, Receive receive)
{
    Receivers receivers(1);
    if (!begin(key, receive))
        return;
    // Throws nothing from here on, which would leave the request in the table.
    receivers.front() = std::move(receive);
    for (; !receivers.empty(); receivers = takeJoined(key)) {
        ++m_computed;
        const Result<QByteArray> answer = computeGuarded(compute);
        for (const Receive& waiting : receivers)
            callGuarded([&] { waiting(answer); });
    }
}

bool SharedRequests::begin(const QByteArray& key, Receive& receive)
{
    const std::lock_guard lock(m_mutex);
    if (joinLocked(key, receive))
        return false;
    m_joined.insert(key, {});
    return true;
}

bool SharedRequests::join(const QByteArray& key, Receive receive)
{
    const std::lock_guard lock(m_mutex);
    return joinLocked(key, receive);
}

bool SharedRequests::joinLocked(const QByteArray& key, Receive& receive)
{
    const auto joined = m_joined.find(key);
    if (joined == m_joined.end())
        return false;
    joined->push_back(std::move(receive));
    return true;
}

bool SharedRequests::isComputing(const QByteArray& key)
{
    const std::lock_guard lock(m_mutex);
    return m_joined.contains(key);
}

SharedRequests::Receivers SharedRequests::takeJoined(const QByteArray& key)
{
    const std::lock_guard lock(m_mutex);
    Receivers joined = std::exchange(m_joined[key], {});
    if (joined.empty())
        m_joined.remove(key);
    return joined;
}
