#pragma once

#include "content/limits.h"
#include "exec/requestexecutor.h"
#include "rpc/messagesink.h"
#include "rpc/sharedlistings.h"

#include <functional>
#include <memory>

class ContentHost;
class TrLanguage;

/// Shared by the dispatchers of all clients.
struct Services
{
    ContentHost& host;
    RequestExecutor& executor;
    SharedListings& sharedListings;
    Limits limits = {};
};

/// Serves one client that speaks JSON-RPC 2.0: each message is parsed, executed and answered to the sink.
///
/// Requests run in the executor, and answers may overtake each other; open and close run in the order in which they
/// come. Nothing here waits or does I/O. Functions may be called from any thread, accept() from one at a time.
class Dispatcher
{
public:
    using Task = std::function<void()>;

    struct Profile
    {
        Reach reach = Reach::Local;
        Limits limits = {};
        /// False: the client gets nothing but answers, so open and close are no methods for it.
        bool notifies = true;
        /// The language of the client's texts until it asks for another one; null: the application's.
        const TrLanguage* language = nullptr;
        /// Called for each notification, in the worker thread. Must not block.
        Task notified = [] {};
        /// Called for each request that is answered with an error, in any thread. Must not block.
        Task refused = [] {};
    };

    /// `readyHandler` is called, in any thread, whenever isReady() or isIdle() may have become true; it must not block,
    /// and it may end the dispatcher. The services must outlive the dispatcher and the requests that it leaves behind.
    Dispatcher(const Services& services, const Profile& profile, std::shared_ptr<MessageSink> sink, Task readyHandler);
    /// Cancels the requests under way and closes the open paths; the sink gets no further messages. Waits until the
    /// ready handler has returned, unless it is called in the handler itself, so the caller holds no lock that the
    /// handler takes. From any thread, but not while accept(), or another function, runs in another one.
    ~Dispatcher();
    Q_DISABLE_COPY_MOVE(Dispatcher)

    /// Calls the ready handler no more, and sends nothing more. Waits as the destructor does, but from any thread, also
    /// while accept() runs in another one: for an owner that leaves the dispatcher to that thread.
    void silence();

    /// Takes a message from the client.
    void accept(const QByteArray& message);
    /// As accept(), but a request that may run at once is returned as a task for the caller to run in its own thread,
    /// which saves a change of threads. Empty: nothing is left to do.
    [[nodiscard]] Task acceptOrTake(const QByteArray& message);
    /// Refuses a message that the carrier has dropped because it was longer than the limit.
    void refuseTooLong();

    /// False while the client has so much under way that nothing more should be read from it.
    [[nodiscard]] bool isReady() const;
    /// True if every accepted message has been answered.
    [[nodiscard]] bool isIdle() const;

private:
    class State;
    std::shared_ptr<State> m_state;
};
