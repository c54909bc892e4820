#pragma once

#include "rpc/message.h"

#include <QByteArray>
#include <QString>

#include <functional>

/// Takes the messages to one client, without waiting for the client to read them. Thread-safe.
class MessageSink
{
public:
    virtual ~MessageSink() = default;
    Q_DISABLE_COPY_MOVE(MessageSink)

    virtual void send(Message message) = 0;
    /// As send(), but replaces, in its place, a pending message that was sent under the same key.
    virtual void sendLatest(const QString& key, QByteArray message) = 0;
    /// Later messages replace none that is pending now.
    virtual void endReplacing() = 0;

    /// True while so much is pending that no further request should begin.
    [[nodiscard]] virtual bool isFull() const = 0;
    /// `handler` is called, in any thread, whenever the sink is no longer full. It must not block. Set once.
    virtual void setRoomHandler(std::function<void()> handler) = 0;

protected:
    MessageSink() = default;
};
