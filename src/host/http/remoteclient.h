#pragma once

#include "rpc/dispatcher.h"

#include <functional>
#include <memory>

/// A network client: its dispatcher, and the parsing of its long messages in threads of the executor.
class RemoteClient
{
public:
    using Function = std::function<void()>;

    /// Passes all parameters to the dispatcher.
    RemoteClient(
        const Services& services, const Dispatcher::Profile& profile, std::shared_ptr<MessageSink> sink,
        Function readyHandler);
    /// Ends what is under way; the sink gets no further messages. Waits until the ready handler has returned, unless it
    /// is called in the handler itself.
    ~RemoteClient();
    Q_DISABLE_COPY_MOVE(RemoteClient)

    /// Takes a message. False: it is so long that another thread parses it, and then calls `accepted`; pass no other
    /// message before that. `accepted` must not block; it may still be called after the client's end.
    [[nodiscard]] bool accept(const QByteArray& message, Function accepted);
    [[nodiscard]] bool isReady() const { return m_dispatcher->isReady(); }
    [[nodiscard]] bool isIdle() const { return m_dispatcher->isIdle(); }

private:
    RequestExecutor& m_executor;
    const std::shared_ptr<RequestExecutor::Client> m_parsing;
    /// Shared with the thread that parses a long message.
    std::shared_ptr<Dispatcher> m_dispatcher;
};
