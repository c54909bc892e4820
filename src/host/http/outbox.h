#pragma once

#include "http/pendingbudget.h"
#include "rpc/messagesink.h"
#include "rpc/pendingmessages.h"

#include <mutex>
#include <optional>
#include <utility>

/// The messages to a client that are written elsewhere, one after the other.
class Outbox : public MessageSink
{
public:
    using Wake = std::function<void()>;

    /// `wake` is called, in any thread, when the first message comes and whenever one comes after next() has given
    /// nothing, and when the outbox becomes overfull. It must not block.
    Outbox(const PendingBudget& budget, Wake wake) : m_wake(std::move(wake)), m_part(budget) {}

    void send(Message message) override;
    void sendLatest(const QString& key, QByteArray message) override;
    void endReplacing() override;

    /// More than 1 MiB is pending, with what is being written.
    [[nodiscard]] bool isFull() const override;
    void setRoomHandler(std::function<void()> handler) override;

    /// The message to be written now; what was given before is written. Nothing: `wake` will be called.
    [[nodiscard]] std::optional<Message> next();
    /// So much was pending, for this client or for all together, that the client has to go.
    [[nodiscard]] bool isOverfull() const;
    /// Drops pending and later messages. Calls no handler any more; one may still be running.
    void close();

private:
    void add(PendingMessages::Entry entry);
    /// After a message came. True if the client has to go since then.
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
