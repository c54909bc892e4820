#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

/// Lines on their way to a reader that may be slow, or may not read at all. They are written in their order: by
/// whoever brings them as far as a pipe takes them without waiting, else by a thread of its own. Thread-safe.
class OutputQueue
{
public:
    /// Called once, in the writing thread, if the reader is gone (EPIPE) or cannot be written to; must not block.
    using FailureHandler = std::function<void(int errorNumber)>;

    /// The descriptor stays the caller's, open as long as the process: a write that blocks outlives the queue.
    OutputQueue(int fileDescriptor, FailureHandler handler);
    /// Drops what is pending. Does not wait.
    ~OutputQueue();
    Q_DISABLE_COPY_MOVE(OutputQueue)

    /// Adds a line, a newline behind it. Does not wait.
    void push(QByteArray line);
    /// As push(), but a line of the same key that is still pending is replaced where it stands.
    void pushLatest(const QString& key, QByteArray line);
    /// What comes from now on replaces nothing that is pending now.
    void endLatest();

    /// False if so much is pending that waitForRoom() would wait.
    [[nodiscard]] bool hasRoom() const;
    /// Waits as long as too much is pending, or until letGo(). Not for a thread that others wait for.
    void waitForRoom();
    /// Nobody waits for room any more.
    void letGo();
    /// Waits until everything is written, at most `milliseconds` (below 0: without limit). False if it is not.
    [[nodiscard]] bool drain(int milliseconds = -1);
    /// Drops what is pending and whatever still comes, and lets go whoever waits here.
    void close();

private:
    class State;
    std::shared_ptr<State> m_state;
};
