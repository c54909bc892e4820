#include "http/wrongtokens.h"

namespace {

constexpr int mostAttempts = 5;
constexpr std::chrono::minutes memory{1};
/// Of all addresses; bounds the memory.
constexpr std::size_t mostCounted = 10'000;

} // namespace

bool WrongTokens::count(const IpAddress& address, Time now)
{
    forgetBefore(now - memory);
    int& counted = m_counts[address];
    if (counted >= mostAttempts)
        return false;
    ++counted;
    m_attempts.push_back({now, address});
    if (m_attempts.size() > mostCounted)
        forgetOldest();
    return true;
}

void WrongTokens::forgetBefore(Time time)
{
    while (!m_attempts.empty() && m_attempts.front().time <= time)
        forgetOldest();
}

void WrongTokens::forgetOldest()
{
    const auto counted = m_counts.find(m_attempts.front().address);
    if (--*counted == 0)
        m_counts.erase(counted);
    m_attempts.pop_front();
}
