#pragma once

#include "http/ipaddress.h"

#include <QHash>

#include <chrono>
#include <deque>

/// Counts the wrong tokens that came from each address during the last minute. For one thread at a time.
class WrongTokens
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// Counts a wrong token. False, and not counted, if the address has already sent five.
    [[nodiscard]] bool count(const IpAddress& address, Time now);

private:
    void forgetBefore(Time time);
    void forgetOldest();

    struct Attempt
    {
        Time time;
        IpAddress address;
    };

    /// Those that are counted, the oldest first.
    std::deque<Attempt> m_attempts;
    QHash<IpAddress, int> m_counts;
};
