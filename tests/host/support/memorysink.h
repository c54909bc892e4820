#pragma once

#include "rpc/messagesink.h"

#include <QHash>
#include <QJsonObject>
#include <QList>

#include <condition_variable>
#include <mutex>

/// The client's end of a dispatcher, in memory: messages are pending until the test reads them.
class MemorySink : public MessageSink
{
public:
    /// Full while more bytes than this are pending.
    explicit MemorySink(int capacity = 1024 * 1024) : m_capacity(capacity) {}

    void send(Message message) override;
    void sendLatest(const QString& key, QByteArray message) override;
    void endReplacing() override;
    [[nodiscard]] bool isFull() const override;
    void setRoomHandler(std::function<void()> handler) override;

    /// Messages that were sent, replaced and read ones included.
    [[nodiscard]] int sent() const;
    /// Waits until so many messages have been sent; false if there are fewer after a long time.
    [[nodiscard]] bool waitForSent(int count) const;
    /// Reads all pending messages.
    QList<QJsonObject> read();
    /// Waits for the answer to the request, whose id is a number, and reads it; empty if it does not come. The other
    /// messages stay pending.
    [[nodiscard]] QJsonObject readAnswer(int id);
    /// Waits for a message that is no answer and reads it; empty if none comes.
    [[nodiscard]] QJsonObject readNotification();

private:
    struct Entry
    {
        QString key;
        QByteArray message;
    };

    void append(const QString& key, QByteArray message);
    template<typename Predicate>
    [[nodiscard]] QJsonObject readFirst(const Predicate& isWanted);
    [[nodiscard]] bool isFullLocked() const { return m_pendingBytes > m_capacity; }

    const int m_capacity;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::function<void()> m_roomHandler;
    QList<Entry> m_entries;
    /// The index of each key's entry that may be replaced.
    QHash<QString, int> m_latest;
    int m_pendingBytes = 0;
    int m_sent = 0;
};
