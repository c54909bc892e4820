#pragma once

#include "rpc/dispatcher.h"

#include <functional>
#include <memory>

/// A client of the network: its dispatcher, and the reading of its messages.
class RemoteClient
{
public:
    using Function = std::function<void()>;

    /// The parameters are the dispatcher's; the client's answers are for a network.
    RemoteClient(
        const Services& services, const Dispatcher::Profile& profile, std::shared_ptr<MessageSink> sink,
        Function readyHandler);
    /// Ends what is under way; the sink gets no further messages. Waits until the ready handler has returned, unless it
    /// is called in the handler itself.
    ~RemoteClient();
    Q_DISABLE_COPY_MOVE(RemoteClient)

    /// Takes a message. False: it is so long that parsing takes a while, so another thread does it and then calls
    /// `accepted`; give no other message before. `accepted` must not block; it may still be called after the client's
    /// end.
    [[nodiscard]] bool accept(const QByteArray& message, Function accepted);
    [[nodiscard]] bool isReady() const { return m_dispatcher->isReady(); }
    [[nodiscard]] bool isIdle() const { return m_dispatcher->isIdle(); }

private:
    RequestExecutor& m_executor;
    const std::shared_ptr<RequestExecutor::Client> m_parsing;
    /// Shared with the thread that parses a long message.
    std::shared_ptr<Dispatcher> m_dispatcher;
};
