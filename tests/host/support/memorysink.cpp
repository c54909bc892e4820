#include "support/memorysink.h"

#include <QJsonDocument>

#include <chrono>
#include <utility>

namespace {

constexpr std::chrono::seconds patience{20};

QJsonObject objectFrom(const QByteArray& message)
{
    return QJsonDocument::fromJson(message).object();
}

} // namespace

void MemorySink::send(Message message)
{
    append(QString(), message.text());
}

void MemorySink::sendLatest(const QString& key, QByteArray message)
{
    append(key, std::move(message));
}

void MemorySink::append(const QString& key, QByteArray message)
{
    const std::lock_guard lock(m_mutex);
    ++m_sent;
    m_pendingBytes += message.size();
    if (const auto latest = m_latest.constFind(key); latest != m_latest.constEnd()) {
        m_pendingBytes -= m_entries.at(*latest).message.size();
        m_entries[*latest].message = std::move(message);
    } else {
        if (!key.isNull())
            m_latest.insert(key, m_entries.size());
        m_entries.append({key, std::move(message)});
    }
    m_changed.notify_all();
}

void MemorySink::endReplacing()
{
    const std::lock_guard lock(m_mutex);
    m_latest.clear();
}

bool MemorySink::isFull() const
{
    const std::lock_guard lock(m_mutex);
    return isFullLocked();
}

void MemorySink::setRoomHandler(std::function<void()> handler)
{
    const std::lock_guard lock(m_mutex);
    m_roomHandler = std::move(handler);
}

int MemorySink::sent() const
{
    const std::lock_guard lock(m_mutex);
    return m_sent;
}

bool MemorySink::waitForSent(int count) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience, [&] { return m_sent >= count; });
}

QList<QJsonObject> MemorySink::read()
{
    QList<QJsonObject> messages;
    std::function<void()> announceRoom;
    {
        const std::lock_guard lock(m_mutex);
        if (isFullLocked())
            announceRoom = m_roomHandler;
        for (const Entry& entry : std::as_const(m_entries))
            messages.append(objectFrom(entry.message));
        m_entries.clear();
        m_latest.clear();
        m_pendingBytes = 0;
    }
    if (announceRoom)
        announceRoom();
    return messages;
}

template<typename Predicate>
QJsonObject MemorySink::readFirst(const Predicate& isWanted)
{
    QJsonObject wanted;
    const auto take = [&] {
        for (int i = 0; i < m_entries.size(); ++i) {
            wanted = objectFrom(m_entries.at(i).message);
            if (!isWanted(wanted))
                continue;
            m_pendingBytes -= m_entries.takeAt(i).message.size();
            // The indexes have changed.
            m_latest.clear();
            return true;
        }
        return false;
    };
    std::unique_lock lock(m_mutex);
    const bool wasFull = isFullLocked();
    const bool isRead = m_changed.wait_for(lock, patience, take);
    const auto announceRoom = wasFull && !isFullLocked() ? m_roomHandler : nullptr;
    lock.unlock();
    if (announceRoom)
        announceRoom();
    return isRead ? wanted : QJsonObject();
}

QJsonObject MemorySink::readAnswer(int id)
{
    return readFirst([id](const QJsonObject& message) { return message[QStringLiteral("id")] == QJsonValue(id); });
}

QJsonObject MemorySink::readNotification()
{
    return readFirst([](const QJsonObject& message) { return message.contains(QStringLiteral("method")); });
}
