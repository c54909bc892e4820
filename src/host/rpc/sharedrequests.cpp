#include "rpc/sharedrequests.h"

#include <utility>

void SharedRequests::run(const QByteArray& key, const Compute& compute, Receive receive)
{
    if (!begin(key, receive))
        return;
    for (Receivers receivers = {std::move(receive)}; !receivers.empty(); receivers = takeJoined(key)) {
        ++m_computed;
        const Result<QByteArray> answer = compute();
        for (const Receive& waiting : receivers)
            waiting(answer);
    }
}

bool SharedRequests::begin(const QByteArray& key, Receive& receive)
{
    const std::lock_guard lock(m_mutex);
    const auto joined = m_joined.find(key);
    if (joined == m_joined.end()) {
        m_joined.insert(key, {});
        return true;
    }
    joined->push_back(std::move(receive));
    return false;
}

SharedRequests::Receivers SharedRequests::takeJoined(const QByteArray& key)
{
    const std::lock_guard lock(m_mutex);
    Receivers joined = std::exchange(m_joined[key], {});
    if (joined.empty())
        m_joined.remove(key);
    return joined;
}
