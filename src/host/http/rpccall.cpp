#include "http/rpccall.h"

#include "http/remoteclient.h"

#include <mutex>
#include <utility>

namespace {

/// Takes the one answer of a call.
class AnswerSink : public MessageSink
{
public:
    explicit AnswerSink(RpcCall::Receive receive) : m_receive(std::move(receive)) {}

    void send(Message message) override { finish(message.text()); }
    void sendLatest(const QString& /*key*/, QByteArray /*message*/) override {}
    void endReplacing() override {}
    [[nodiscard]] bool isFull() const override { return false; }
    void setRoomHandler(std::function<void()> /*handler*/) override {}

    /// Only the first call has an effect.
    void finish(const std::optional<QByteArray>& answer)
    {
        RpcCall::Receive receive;
        {
            const std::lock_guard lock(m_mutex);
            receive = std::exchange(m_receive, nullptr);
        }
        if (receive)
            receive(answer);
    }

private:
    std::mutex m_mutex;
    /// Null when it has been called.
    RpcCall::Receive m_receive;
};

/// A call that is under way.
class Call : public std::enable_shared_from_this<Call>
{
public:
    Call(const Services& services, const Dispatcher::Profile& profile, RpcCall::Receive receive)
        : m_sink(std::make_shared<AnswerSink>(std::move(receive))),
          m_client(services, profile, m_sink, [this] { check(); })
    {
    }

    void start(const QByteArray& message)
    {
        const auto checkLater = [weak = weak_from_this()] {
            if (const auto call = weak.lock())
                call->check();
        };
        if (m_client.accept(message, checkLater))
            check();
    }

private:
    /// Ends a call that wants no answer.
    void check()
    {
        if (m_client.isIdle())
            m_sink->finish(std::nullopt);
    }

    const std::shared_ptr<AnswerSink> m_sink;
    RemoteClient m_client;
};

} // namespace

std::shared_ptr<void>
RpcCall::start(const Services& services, const Settings& settings, const QByteArray& message, Receive receive)
{
    Dispatcher::Profile profile{Reach::Network, services.limits, false, settings.language};
    profile.refused = settings.refused;
    const auto call = std::make_shared<Call>(services, profile, std::move(receive));
    call->start(message);
    return call;
}
