#include "http/remoteclient.h"

#include <model/cmrequestcontext.h>

#include <atomic>
#include <utility>

namespace {

/// Bytes; parsing a shorter message takes less time than a change of threads.
constexpr int longMessage = 8192;

} // namespace

RemoteClient::RemoteClient(
    const Services& services, const Dispatcher::Profile& profile, std::shared_ptr<MessageSink> sink,
    Function readyHandler)
    : m_executor(services.executor), m_parsing(services.executor.addClient()),
      m_dispatcher(std::make_shared<Dispatcher>(services, profile, std::move(sink), std::move(readyHandler)))
{
}

RemoteClient::~RemoteClient()
{
    m_executor.removeClient(m_parsing);
    // The thread that parses a long message may hold the dispatcher for a while.
    m_dispatcher->silence();
}

bool RemoteClient::accept(const QByteArray& message, Function accepted)
{
    if (message.size() < longMessage) {
        m_dispatcher->accept(message);
        return true;
    }
    const auto parse = [weak = std::weak_ptr(m_dispatcher), message, accepted = std::move(accepted),
                        isDone = std::make_shared<std::atomic_flag>()] {
        // A job that takes too long is also refused, and would parse twice.
        if (isDone->test_and_set())
            return;
        if (const auto dispatcher = weak.lock())
            dispatcher->accept(message);
        accepted();
    };
    RequestExecutor::Job job;
    job.context = std::make_shared<CMRequestContext>();
    job.run = [parse](const RequestExecutor::Slot& /*slot*/) { parse(); };
    // The executor then also refuses the request in the message, and so answers it.
    job.refuse = [parse](RequestExecutor::Refusal /*refusal*/) { parse(); };
    m_executor.submit(m_parsing, std::move(job));
    return false;
}
