#include "stdio/outputqueue.h"

#include "process/output.h"
#include "rpc/pendingmessages.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Opens the pipe again without blocking, which does not affect other writers. Negative if it is no pipe or cannot be
/// opened.
int openWithoutWaiting(int fileDescriptor)
{
    struct stat status = {};
    if (fstat(fileDescriptor, &status) != 0 || !S_ISFIFO(status.st_mode))
        return -1;
    const std::string name = "/proc/self/fd/" + std::to_string(fileDescriptor);
    return open(name.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
}

/// Writes the beginning of the text, as much as the pipe takes without waiting; returns the rest. Errors are left to
/// the writer thread.
QByteArray writeReady(int pipe, QByteArray text)
{
    const ssize_t written = write(pipe, text.constData(), static_cast<size_t>(text.size()));
    return text.remove(0, static_cast<int>(std::max(written, ssize_t(0))));
}

} // namespace

class OutputQueue::State
{
public:
    State(int fileDescriptor, FailureHandler handler)
        : m_fileDescriptor(fileDescriptor), m_pipe(openWithoutWaiting(fileDescriptor)),
          m_failureHandler(std::move(handler))
    {
    }
    ~State()
    {
        if (m_pipe >= 0)
            ::close(m_pipe);
    }
    Q_DISABLE_COPY_MOVE(State)

    /// `key`: null if nothing may replace the line.
    void send(const QString& key, QByteArray line);
    void endReplacing();
    [[nodiscard]] bool isFull();
    void setRoomHandler(std::function<void()> handler);
    bool drain(int milliseconds);
    void close();
    void write();

private:
    /// Waits for a line; none once nothing more is to be written.
    std::optional<QByteArray> takeNext();
    void finish(int errorNumber);
    void closeLocked();
    [[nodiscard]] bool isFullLocked() const { return !m_closed && m_pending.isFull(); }

    const int m_fileDescriptor;
    /// The same without waiting; negative if there is none.
    const int m_pipe;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    FailureHandler m_failureHandler;
    std::function<void()> m_roomHandler;
    PendingMessages m_pending;
    bool m_writing = false;
    bool m_closed = false;
};

void OutputQueue::State::send(const QString& key, QByteArray line)
{
    const std::lock_guard lock(m_mutex);
    if (m_closed)
        return;
    if (m_pending.replace({{line}, key}))
        return;
    // To wake the writer thread would delay a waiting client by more than the writing takes.
    const bool isNext = m_pipe >= 0 && !m_writing && m_pending.isEmpty();
    const int size = line.size();
    if (isNext)
        line = writeReady(m_pipe, std::move(line));
    if (line.isEmpty())
        return;
    m_pending.append({{line}, line.size() == size ? key : QString()});
    m_changed.notify_all();
}

void OutputQueue::State::endReplacing()
{
    const std::lock_guard lock(m_mutex);
    m_pending.endReplacing();
}

bool OutputQueue::State::isFull()
{
    const std::lock_guard lock(m_mutex);
    return isFullLocked();
}

void OutputQueue::State::setRoomHandler(std::function<void()> handler)
{
    const std::lock_guard lock(m_mutex);
    m_roomHandler = std::move(handler);
}

bool OutputQueue::State::drain(int milliseconds)
{
    const auto isDone = [this] { return m_closed || (m_pending.isEmpty() && !m_writing); };
    std::unique_lock lock(m_mutex);
    if (milliseconds < 0)
        m_changed.wait(lock, isDone);
    else if (!m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds), isDone))
        return false;
    return !m_closed;
}

void OutputQueue::State::close()
{
    const std::lock_guard lock(m_mutex);
    m_failureHandler = nullptr;
    m_roomHandler = nullptr;
    closeLocked();
}

void OutputQueue::State::write()
{
    while (const std::optional<QByteArray> line = takeNext())
        finish(writeAll(m_fileDescriptor, *line));
}

std::optional<QByteArray> OutputQueue::State::takeNext()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_closed || !m_pending.isEmpty(); });
    if (m_closed)
        return std::nullopt;
    QByteArray line = m_pending.takeFirst().head;
    m_writing = true;
    return line;
}

void OutputQueue::State::finish(int errorNumber)
{
    FailureHandler reportFailure;
    std::function<void()> announceRoom;
    {
        const std::lock_guard lock(m_mutex);
        const bool wasFull = isFullLocked();
        m_writing = false;
        m_pending.endWriting();
        if (errorNumber != 0) {
            reportFailure = std::exchange(m_failureHandler, nullptr);
            closeLocked();
        }
        if (wasFull && !isFullLocked())
            announceRoom = m_roomHandler;
        m_changed.notify_all();
    }
    if (reportFailure)
        reportFailure(errorNumber);
    if (announceRoom)
        announceRoom();
}

void OutputQueue::State::closeLocked()
{
    m_closed = true;
    m_pending.clear();
    m_changed.notify_all();
}

OutputQueue::OutputQueue(int fileDescriptor, FailureHandler handler)
    : m_state(std::make_shared<State>(fileDescriptor, std::move(handler)))
{
    std::thread([state = m_state] { state->write(); }).detach();
}

OutputQueue::~OutputQueue()
{
    m_state->close();
}

void OutputQueue::send(Message message)
{
    m_state->send(QString(), message.text("\n"));
}

void OutputQueue::sendLatest(const QString& key, QByteArray message)
{
    m_state->send(key, std::move(message.append('\n')));
}

void OutputQueue::endReplacing()
{
    m_state->endReplacing();
}

bool OutputQueue::isFull() const
{
    return m_state->isFull();
}

void OutputQueue::setRoomHandler(std::function<void()> handler)
{
    m_state->setRoomHandler(std::move(handler));
}

bool OutputQueue::drain(int milliseconds)
{
    return m_state->drain(milliseconds);
}

void OutputQueue::close()
{
    m_state->close();
}
