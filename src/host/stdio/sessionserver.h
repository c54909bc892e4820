#pragma once

#include "content/session.h"
#include "stdio/outputqueue.h"

#include <QSemaphore>
#include <QThreadPool>

#include <deque>
#include <functional>
#include <mutex>
#include <optional>

namespace JsonRpc {
struct Error;
struct Request;
} // namespace JsonRpc

class Host;
class LineReader;
struct SessionMethod;

/// Serves one client that speaks JSON-RPC: takes its messages and puts answers and notifications into the queue.
///
/// Requests run on a few threads, answers may overtake each other; what opens and closes runs in the order in which it
/// comes, on the worker's thread. Made and destroyed in that thread.
class SessionServer
{
public:
    SessionServer(Host& host, OutputQueue& output);
    /// Waits for the requests under way; call after stop().
    ~SessionServer();
    Q_DISABLE_COPY_MOVE(SessionServer)

    using Task = std::function<void()>;

    /// Serves the reader's lines, on threads of its own, until there are no more; returns when every one is answered,
    /// or after stop(), before which the reader must be cancelled. The reader must outlive the server.
    void serve(LineReader& reader);

    /// Any thread but the worker's, one at a time: waits as long as the client leaves too much unread, or has too much
    /// under way. Returns what is left to be done, in any thread but the worker's, as long as the server lives; empty
    /// if nothing is. Until it is done, waitForAnswers() waits.
    [[nodiscard]] Task accept(const QByteArray& message);
    /// A message that was longer than `limit` and is lost.
    void refuseTooLong(int limit);
    /// Waits until every message that was accepted is answered, or until stop().
    void waitForAnswers();

    /// Begins no request any more and lets go whoever waits here. False if some are still under way after
    /// `milliseconds`: they cannot be interrupted.
    [[nodiscard]] bool stop(int milliseconds);

private:
    /// Whoever has the turn reads a line and serves it, while the next one reads on: the way from the client to the
    /// worker and back leads through one thread.
    void takeTurns(LineReader& reader);
    /// Nothing at the end of the input.
    [[nodiscard]] std::optional<Task> takeTurn(LineReader& reader);
    /// Leaves the task to those who are busy already if nobody would be left to read.
    void run(Task task);
    /// An empty one if there is none; the caller is not busy any more then.
    [[nodiscard]] Task nextTask();
    [[nodiscard]] Task begin(const SessionMethod& method, const JsonRpc::Request& request);
    void beginInOrder(const SessionMethod& method, const JsonRpc::Request& request);
    void answer(const SessionMethod& method, const JsonRpc::Request& request);
    void refuse(const JsonRpc::Request& request, const JsonRpc::Error& error);
    void tell(const CMPath& path, const QStringList& changes, int version);

    OutputQueue& m_output;
    Session m_session;
    /// In the worker's thread.
    QObject m_inOrder;
    /// Guards the three that follow.
    std::mutex m_mutex;
    bool m_stopped = false;
    int m_busy = 0;
    std::deque<Task> m_tasks;
    QSemaphore m_free;
    /// The turn to read; taken before m_mutex.
    std::mutex m_turn;
    QSemaphore m_ended;
    QThreadPool m_pool;
    /// For walks, so that they hold up nothing else.
    QThreadPool m_walkPool;
};
