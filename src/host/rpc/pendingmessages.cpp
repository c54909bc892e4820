#include "rpc/pendingmessages.h"

#include <iterator>
#include <utility>

namespace {

/// Bytes.
constexpr qint64 muchPending = qint64{1} << 20;

} // namespace

bool PendingMessages::replace(const Entry& entry)
{
    const auto latest = m_latest.constFind(entry.key);
    if (latest == m_latest.constEnd())
        return false;
    m_bytes += entry.message.size() - (*latest)->message.size();
    (*latest)->message = entry.message;
    return true;
}

void PendingMessages::append(Entry entry)
{
    m_bytes += entry.message.size();
    m_entries.push_back(std::move(entry));
    if (!m_entries.back().key.isNull())
        m_latest.insert(m_entries.back().key, std::prev(m_entries.end()));
}

Message PendingMessages::takeFirst()
{
    const auto latest = m_latest.find(m_entries.front().key);
    if (latest != m_latest.end() && *latest == m_entries.begin())
        m_latest.erase(latest);
    Message message = std::move(m_entries.front().message);
    m_entries.pop_front();
    m_writtenBytes = message.size();
    m_bytes -= m_writtenBytes;
    return message;
}

void PendingMessages::clear()
{
    m_entries.clear();
    m_latest.clear();
    m_bytes = 0;
}

bool PendingMessages::isFull() const
{
    return heldBytes() > muchPending;
}
