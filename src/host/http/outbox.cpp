#include "http/outbox.h"

namespace {

/// Bytes; more than the longest answers to all requests that a client may have running.
constexpr qint64 mostPending = qint64{80} << 20;

} // namespace

void Outbox::send(Message message)
{
    add({std::move(message)});
}

void Outbox::sendLatest(const QString& key, QByteArray message)
{
    add({{std::move(message)}, key});
}

void Outbox::add(PendingMessages::Entry entry)
{
    Wake wake;
    {
        const std::lock_guard lock(m_mutex);
        if (m_isClosed)
            return;
        if (!m_pending.replace(entry))
            m_pending.append(std::move(entry));
        const bool becomesOverfull = becomesOverfullLocked();
        if (std::exchange(m_isAwake, true) && !becomesOverfull)
            return;
        wake = m_wake;
    }
    wake();
}

void Outbox::endReplacing()
{
    const std::lock_guard lock(m_mutex);
    m_pending.endReplacing();
}

bool Outbox::isFull() const
{
    const std::lock_guard lock(m_mutex);
    return isFullLocked();
}

void Outbox::setRoomHandler(std::function<void()> handler)
{
    const std::lock_guard lock(m_mutex);
    m_roomHandler = std::move(handler);
}

std::optional<Message> Outbox::next()
{
    std::function<void()> announceRoom;
    std::optional<Message> message;
    {
        const std::lock_guard lock(m_mutex);
        const bool wasFull = isFullLocked();
        m_pending.endWriting();
        m_isAwake = !m_pending.isEmpty();
        if (m_isAwake)
            message = m_pending.takeFirst();
        m_part.set(m_pending.heldBytes());
        if (wasFull && !isFullLocked())
            announceRoom = m_roomHandler;
    }
    if (announceRoom)
        announceRoom();
    return message;
}

bool Outbox::isOverfull() const
{
    const std::lock_guard lock(m_mutex);
    return m_isOverfull;
}

void Outbox::close()
{
    const std::lock_guard lock(m_mutex);
    m_isClosed = true;
    m_wake = nullptr;
    m_roomHandler = nullptr;
    m_pending.clear();
    m_part.set(0);
}

bool Outbox::becomesOverfullLocked()
{
    m_part.set(m_pending.heldBytes());
    const bool isOverfull = m_pending.bytes() > mostPending || m_part.isTooLarge();
    return isOverfull && !std::exchange(m_isOverfull, true);
}

bool Outbox::isFullLocked() const
{
    return !m_isClosed && m_pending.isFull();
}
