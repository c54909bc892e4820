#pragma once

#include "rpc/messagesink.h"

#include <functional>
#include <memory>

/// Lines on their way to a reader that may be slow, or may not read at all. They are written in order: directly if the
/// pipe has room, otherwise by a writer thread. Thread-safe.
class OutputQueue : public MessageSink
{
public:
    /// Called once, in any thread, if the reader is gone (EPIPE) or cannot be written to. Must not block.
    using FailureHandler = std::function<void(int errorNumber)>;

    /// The descriptor stays the caller's, open as long as the process: a blocked write outlives the queue.
    OutputQueue(int fileDescriptor, FailureHandler handler);
    /// Drops what is pending. Does not wait.
    ~OutputQueue() override;
    Q_DISABLE_COPY_MOVE(OutputQueue)

    /// Adds a newline.
    void send(Message message) override;
    void sendLatest(const QString& key, QByteArray message) override;
    void endReplacing() override;

    /// More than 1 MiB is pending.
    [[nodiscard]] bool isFull() const override;
    void setRoomHandler(std::function<void()> handler) override;

    /// Waits until everything is written, at most `milliseconds` (below 0: without limit). False if it is not.
    [[nodiscard]] bool drain(int milliseconds = -1);
    /// Drops pending and later messages, and ends every drain(). Calls no handler any more; one may still be running.
    void close();

private:
    class State;
    /// Shared with the writer thread, which may be stuck in a write when the queue is destroyed.
    std::shared_ptr<State> m_state;
};
