#pragma once

#include "http/pendingbudget.h"
#include "rpc/messagesink.h"
#include "rpc/pendingmessages.h"

#include <mutex>
#include <optional>
#include <utility>

/// The pending messages to a client, for a writer that takes them one by one.
class Outbox : public MessageSink
{
public:
    using Wake = std::function<void()>;

    /// `wake` is called, in any thread, when the first message arrives, when one arrives after next() has returned
    /// nothing, and when the outbox becomes overfull. It must not block.
    Outbox(const PendingBudget& budget, Wake wake) : m_wake(std::move(wake)), m_part(budget) {}

    void send(Message message) override;
    void sendLatest(const QString& key, QByteArray message) override;
    void endReplacing() override;

    /// True if more than 1 MiB is pending, including the message that is being written.
    [[nodiscard]] bool isFull() const override;
    void setRoomHandler(std::function<void()> handler) override;

    /// The next message to write, once the one before has been written. If there is none, `wake` announces the next.
    [[nodiscard]] std::optional<Message> next();
    /// True if so much was pending, for this client or for all together, that the client must be disconnected.
    [[nodiscard]] bool isOverfull() const;
    /// Drops pending and later messages. Calls no handler any more; one may still be running.
    void close();

private:
    void add(PendingMessages::Entry entry);
    /// Call after adding a message. True if the outbox has become overfull with it.
    [[nodiscard]] bool becomesOverfullLocked();
    [[nodiscard]] bool isFullLocked() const;

    mutable std::mutex m_mutex;
    Wake m_wake;
    std::function<void()> m_roomHandler;
    PendingMessages m_pending;
    PendingBudget::Part m_part;
    bool m_isOverfull = false;
    bool m_isAwake = false;
    bool m_isClosed = false;
};
