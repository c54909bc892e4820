#include "rpc/dispatcher.h"

#include "content/contenthost.h"
#include "content/failures.h"
#include "content/subscriptions.h"
#include "rpc/jsonrpc.h"
#include "rpc/methods.h"

#include <i18n/trlanguage.h>
#include <model/cmerror.h>
#include <model/cmrequestcontext.h>

#include <atomic>
#include <mutex>
#include <utility>
#include <variant>

namespace {

/// Requests of one client that are under way before reading pauses.
constexpr int mostUnderWay = 64;

JsonRpc::Error errorFrom(const Failure& failure)
{
    const QString message = failure.message.toString();
    switch (failure.kind) {
    case Failure::Kind::WrongUse:
        return {JsonRpc::InvalidParameters, message};
    case Failure::Kind::Unanswered:
        return {JsonRpc::WorkerUnanswered, message};
    case Failure::Kind::Cancelled:
        return {JsonRpc::Cancelled, message};
    case Failure::Kind::TooLarge:
        return {JsonRpc::AnswerTooLarge, message};
    case Failure::Kind::Busy:
        return {JsonRpc::Overloaded, message};
    case Failure::Kind::Refused:
        break;
    }
    return {
        JsonRpc::WorkerRefused,
        message,
        {{CMError::Name(), failure.name}, {CMError::Message(), message}, {CMError::Title(), failure.title.toString()}}};
}

Failure failureFrom(RequestExecutor::Refusal refusal, const QString& root)
{
    switch (refusal) {
    case RequestExecutor::Refusal::Busy:
    case RequestExecutor::Refusal::Failed:
        return Failures::busy();
    case RequestExecutor::Refusal::TimedOut:
        return Failures::timedOut();
    case RequestExecutor::Refusal::RootHangs:
        return Failures::rootHangs(root);
    case RequestExecutor::Refusal::Stopping:
        break;
    }
    return Failures::stopping();
}

/// All clients of a path hear of a change one after the other in the same thread, and share its text.
QByteArray changeText(const CMPath& path, const QStringList& changes, int version)
{
    thread_local QVariantHash lastParameters;
    thread_local QByteArray lastText;
    const QVariantHash parameters = changeParameters(path, changes, version);
    if (lastParameters != parameters) {
        lastText = JsonRpc::notification(QStringLiteral("rowsChanged"), parameters);
        lastParameters = parameters;
    }
    return lastText;
}

} // namespace

class Dispatcher::State : public std::enable_shared_from_this<State>
{
public:
    State(const Services& services, const Profile& profile, std::shared_ptr<MessageSink> sink, Task readyHandler);

    void start();
    void silence();
    void stop();
    /// `serve` hands a job to the executor.
    template<typename Serve>
    [[nodiscard]] Task accept(const QByteArray& message, const Serve& serve);
    void refuseTooLong();

    [[nodiscard]] bool isReady() const { return m_underWay < mostUnderWay && !m_sink->isFull(); }
    [[nodiscard]] bool isIdle() const { return m_underWay == 0; }
    [[nodiscard]] RequestExecutor& executor() const { return m_services.executor; }
    [[nodiscard]] const std::shared_ptr<RequestExecutor::Client>& client() const { return m_client; }

private:
    /// One request on its way; the first answer counts.
    struct Pending
    {
        /// Null until the message is parsed.
        std::optional<QVariant> id = QVariant::fromValue(nullptr);
        std::atomic_flag isAnswered = ATOMIC_FLAG_INIT;
        /// The client's when the request came.
        const TrLanguage* language = nullptr;
    };
    using SharedPending = std::shared_ptr<Pending>;

    template<typename Serve>
    [[nodiscard]] Task serveMessage(const QByteArray& message, const Serve& serve, const SharedPending& pending);
    /// Without its function.
    [[nodiscard]] RequestExecutor::Job jobFor(const Call& call, const SharedPending& pending);
    [[nodiscard]] RequestExecutor::Job runningJobFor(Call call, const SharedPending& pending);
    /// Has the request answered by the thread that computes one with the same key; false if there is none, or the
    /// request may not begin yet.
    [[nodiscard]] bool join(const Call& call, const SharedPending& pending);
    [[nodiscard]] SharedListings::Receive receiverFor(const SharedPending& pending, RequestExecutor::Slot slot);
    void serveSubscription(const Call& call, const SharedPending& pending);
    /// As refuse() and finish(), throws nothing.
    void answer(const SharedPending& pending, const Result<QByteArray>& result);
    void refuse(const SharedPending& pending, const JsonRpc::Error& error);
    /// Sends the message unless the request is answered already.
    template<typename MakeMessage>
    void finish(const SharedPending& pending, const MakeMessage& makeMessage);
    void send(Message message);
    void notify(const CMPath& path, const QStringList& changes, int version);
    void updateFlow();

    const Services m_services;
    const Content m_content;
    /// Null: the application's. Only accept() uses it.
    const TrLanguage* m_language;
    const bool m_notifies;
    const Task m_notified;
    const Task m_refused;
    const std::shared_ptr<MessageSink> m_sink;
    const std::shared_ptr<RequestExecutor::Client> m_client;
    /// Null if the client gets no notifications.
    std::unique_ptr<Subscriptions> m_subscriptions;
    std::atomic<int> m_underWay{0};
    /// Recursive, since the ready handler, which is called under it, may end the dispatcher.
    std::recursive_mutex m_flowMutex;
    /// Null after the end. Guarded by m_flowMutex.
    std::shared_ptr<const Task> m_readyHandler;
    /// The services and the client may be gone: answers may come after the dispatcher's end.
    std::atomic<bool> m_isStopped{false};
};

Dispatcher::State::State(
    const Services& services, const Profile& profile, std::shared_ptr<MessageSink> sink, Task readyHandler)
    : m_services(services), m_content(services.host, profile.reach, profile.limits), m_language(profile.language),
      m_notifies(profile.notifies), m_notified(profile.notified), m_refused(profile.refused), m_sink(std::move(sink)),
      m_client(services.executor.addClient()), m_readyHandler(std::make_shared<const Task>(std::move(readyHandler)))
{
}

void Dispatcher::State::start()
{
    const auto notifyWeakly = [weak = weak_from_this()](const CMPath& path, const QStringList& changes, int version) {
        if (const auto state = weak.lock())
            state->notify(path, changes, version);
    };
    if (m_notifies)
        m_subscriptions = std::make_unique<Subscriptions>(
            m_services.host, m_content.reach(), m_content.limits().openPaths, notifyWeakly);
    m_sink->setRoomHandler([weak = weak_from_this()] {
        if (const auto state = weak.lock())
            state->updateFlow();
    });
}

void Dispatcher::State::silence()
{
    m_isStopped = true;
    const std::lock_guard lock(m_flowMutex);
    m_readyHandler = nullptr;
}

void Dispatcher::State::stop()
{
    m_isStopped = true;
    m_services.executor.removeClient(m_client);
    m_subscriptions.reset();
    silence();
}

template<typename Serve>
Dispatcher::Task Dispatcher::State::accept(const QByteArray& message, const Serve& serve)
{
    const auto pending = std::make_shared<Pending>();
    pending->language = m_language;
    const TrLanguage::Scope scope(pending->language);
    ++m_underWay;
    try {
        return serveMessage(message, serve, pending);
    } catch (...) {
        answer(pending, Failures::fromException());
        return {};
    }
}

template<typename Serve>
Dispatcher::Task
Dispatcher::State::serveMessage(const QByteArray& message, const Serve& serve, const SharedPending& pending)
{
    const auto parsed = JsonRpc::parse(message);
    if (const auto* malformed = std::get_if<JsonRpc::Malformed>(&parsed)) {
        pending->id = malformed->id;
        refuse(pending, malformed->error);
        return {};
    }
    const auto& request = std::get<JsonRpc::Request>(parsed);
    pending->id = request.id;
    const Method* const method = findMethod(request.method);
    if (!method) {
        const QString problem = QStringLiteral("there is no method '%1'").arg(request.method);
        refuse(pending, {JsonRpc::MethodNotFound, problem});
        return {};
    }
    Parameters parameters(request.parameters, method->parameters);
    Call call = method->read(parameters, m_content);
    if (call.kind != Call::Kind::Request && !m_notifies) {
        const QString problem = QStringLiteral("'%1' needs a connection that stays").arg(request.method);
        refuse(pending, {JsonRpc::MethodNotFound, problem});
        return {};
    }
    if (const Result<void> valid = parameters.check(); !valid) {
        refuse(pending, errorFrom(valid.failure()));
        return {};
    }
    if (call.kind != Call::Kind::Request) {
        serveSubscription(call, pending);
        return {};
    }
    if (call.language)
        m_language = pending->language = call.language;
    if (join(call, pending))
        return {};
    return serve(runningJobFor(std::move(call), pending));
}

RequestExecutor::Job Dispatcher::State::jobFor(const Call& call, const SharedPending& pending)
{
    RequestExecutor::Job job;
    job.lane = call.lane;
    job.root = m_services.host.knownPrefix(call.path.prefix());
    const bool isWalk = call.lane == RequestExecutor::Lane::Walk;
    job.context = std::make_shared<CMRequestContext>(isWalk ? m_content.limits().answer : CMRequestContext::unlimited);
    job.refuse = [state = shared_from_this(), pending, root = job.root](RequestExecutor::Refusal refusal) {
        state->answer(pending, failureFrom(refusal, root));
    };
    return job;
}

RequestExecutor::Job Dispatcher::State::runningJobFor(Call call, const SharedPending& pending)
{
    RequestExecutor::Job job = jobFor(call, pending);
    job.run = [state = shared_from_this(), call = std::move(call), pending](RequestExecutor::Slot slot) {
        const TrLanguage::Scope scope(pending->language);
        try {
            SharedListings::Receive receive = state->receiverFor(pending, std::move(slot));
            if (call.rows)
                state->m_services.sharedListings.run(*call.rows, std::move(receive));
            else
                receive(Failures::guarded([&] { return call.run(state->m_content); }));
        } catch (...) {
            state->answer(pending, Failures::fromException());
        }
    };
    return job;
}

bool Dispatcher::State::join(const Call& call, const SharedPending& pending)
{
    if (!call.rows || !m_services.sharedListings.isComputing(call.rows->key))
        return false;
    RequestExecutor::Slot slot = m_services.executor.hold(m_client, jobFor(call, pending));
    return slot && m_services.sharedListings.join(*call.rows, receiverFor(pending, std::move(slot)));
}

/// Keeps the slot until the answer.
SharedListings::Receive Dispatcher::State::receiverFor(const SharedPending& pending, RequestExecutor::Slot slot)
{
    return [state = shared_from_this(), pending, slot = std::move(slot)](const Result<QByteArray>& text) {
        state->answer(pending, text);
    };
}

void Dispatcher::State::serveSubscription(const Call& call, const SharedPending& pending)
{
    const auto complete = [state = shared_from_this(), pending](const Result<void>& result) {
        state->answer(pending, result ? Result<QByteArray>(QByteArrayLiteral("true")) : result.failure());
        // Later changes of the path must come after this answer.
        state->m_sink->endReplacing();
    };
    if (call.kind == Call::Kind::Open)
        m_subscriptions->open(call.path, complete);
    else
        m_subscriptions->close(call.path, complete);
}

void Dispatcher::State::answer(const SharedPending& pending, const Result<QByteArray>& result)
{
    if (!result) {
        const TrLanguage::Scope scope(pending->language);
        return refuse(pending, errorFrom(result.failure()));
    }
    finish(pending, [&] { return JsonRpc::result(*pending->id, result.value()); });
}

void Dispatcher::State::refuse(const SharedPending& pending, const JsonRpc::Error& error)
{
    finish(pending, [&] {
        m_refused();
        return Message{JsonRpc::error(*pending->id, error)};
    });
}

template<typename MakeMessage>
void Dispatcher::State::finish(const SharedPending& pending, const MakeMessage& makeMessage)
{
    if (pending->isAnswered.test_and_set())
        return;
    const auto trySend = [this, &pending](const auto& make) {
        return Failures::guarded([&] {
            if (pending->id)
                send(make());
            return Result<void>();
        });
    };
    if (const Result<void> sent = trySend(makeMessage); !sent) {
        // There may be memory for a shorter answer.
        const TrLanguage::Scope scope(pending->language);
        static_cast<void>(trySend([&] { return Message{JsonRpc::error(*pending->id, errorFrom(sent.failure()))}; }));
    }
    --m_underWay;
    updateFlow();
}

void Dispatcher::State::refuseTooLong()
{
    const QString problem = QStringLiteral("the message is longer than %1 bytes").arg(m_content.limits().message);
    send({JsonRpc::error(QVariant::fromValue(nullptr), {JsonRpc::InvalidRequest, problem})});
}

void Dispatcher::State::send(Message message)
{
    if (!m_isStopped)
        m_sink->send(std::move(message));
}

void Dispatcher::State::notify(const CMPath& path, const QStringList& changes, int version)
{
    const QByteArray message = changeText(path, changes, version);
    if (m_isStopped)
        return;
    m_notified();
    if (changes == QStringList{CMSubscribe::RowsChangeReset()}) {
        m_sink->sendLatest(path.toEncoded(), message);
    } else {
        m_sink->endReplacing();
        m_sink->send({message});
    }
    updateFlow();
}

/// A full sink pauses the client's requests; the ready handler is called when the carrier may read again.
void Dispatcher::State::updateFlow()
{
    const std::lock_guard lock(m_flowMutex);
    // Answers may come after the dispatcher's end, when the services may be gone.
    const std::shared_ptr<const Task> readyHandler = m_readyHandler;
    if (!readyHandler)
        return;
    m_services.executor.setPaused(m_client, m_sink->isFull());
    (*readyHandler)();
}

Dispatcher::Dispatcher(
    const Services& services, const Profile& profile, std::shared_ptr<MessageSink> sink, Task readyHandler)
    : m_state(std::make_shared<State>(services, profile, std::move(sink), std::move(readyHandler)))
{
    m_state->start();
}

Dispatcher::~Dispatcher()
{
    m_state->stop();
}

void Dispatcher::silence()
{
    m_state->silence();
}

void Dispatcher::accept(const QByteArray& message)
{
    // An answer's ready handler may end the dispatcher.
    const std::shared_ptr<State> state = m_state;
    static_cast<void>(state->accept(message, [&state](RequestExecutor::Job job) {
        state->executor().submit(state->client(), std::move(job));
        return Task();
    }));
}

Dispatcher::Task Dispatcher::acceptOrTake(const QByteArray& message)
{
    const std::shared_ptr<State> state = m_state;
    return state->accept(message, [&state](RequestExecutor::Job job) {
        return state->executor().submitOrTake(state->client(), std::move(job));
    });
}

void Dispatcher::refuseTooLong()
{
    m_state->refuseTooLong();
}

bool Dispatcher::isReady() const
{
    return m_state->isReady();
}

bool Dispatcher::isIdle() const
{
    return m_state->isIdle();
}
