#include "stdio/sessionserver.h"

#include "rpc/jsonrpc.h"
#include "rpc/sessionmethods.h"
#include "stdio/linereader.h"

#include <QDeadlineTimer>

#include <memory>
#include <utility>

namespace {

constexpr int mostUnderWay = 64;
constexpr int busyThreads = 4;
/// One more, so that there is always one to read.
constexpr int poolThreads = busyThreads + 1;
constexpr int walkThreads = 2;

JsonRpc::Error errorFrom(const Failure& failure)
{
    switch (failure.kind) {
    case Failure::Kind::WrongUse:
        return {JsonRpc::InvalidParameters, failure.message};
    case Failure::Kind::Unanswered:
        return {JsonRpc::WorkerUnanswered, failure.message};
    case Failure::Kind::Refused:
        break;
    }
    return {
        JsonRpc::WorkerRefused,
        failure.message,
        {{CMError::Name(), failure.name}, {CMError::Message(), failure.message}, {CMError::Title(), failure.title}}};
}

QByteArray answerText(const QVariant& id, const Result<QVariant>& result)
{
    if (!result)
        return JsonRpc::error(id, errorFrom(result.failure()));
    if (std::optional<QByteArray> text = JsonRpc::result(id, result.value()))
        return *std::move(text);
    return JsonRpc::error(id, {JsonRpc::AnswerTooLarge, QStringLiteral("the answer is too large")});
}

/// Starts all the pool's threads, for as long as the pool is there: Qt ends the process if it finds no file descriptor
/// for the event loop of a thread that it starts, and the process may have none left by then.
void startThreads(QThreadPool& pool, int count)
{
    constexpr int never = -1;
    pool.setMaxThreadCount(count);
    pool.setExpiryTimeout(never);
    struct Meeting
    {
        QSemaphore arrived;
        QSemaphore complete;
    };
    const auto meeting = std::make_shared<Meeting>();
    for (int i = 0; i < count; ++i) {
        pool.start([meeting] {
            meeting->arrived.release();
            meeting->complete.acquire();
        });
    }
    meeting->arrived.acquire(count);
    meeting->complete.release(count);
}

} // namespace

SessionServer::SessionServer(Host& host, OutputQueue& output)
    : m_output(output),
      m_session(
          host, [this](const CMPath& path, const QStringList& changes, int version) { tell(path, changes, version); }),
      m_free(mostUnderWay)
{
    startThreads(m_pool, poolThreads);
    startThreads(m_walkPool, walkThreads);
}

SessionServer::~SessionServer() = default;

void SessionServer::serve(LineReader& reader)
{
    {
        const std::lock_guard lock(m_mutex);
        for (int i = 0; i < poolThreads && !m_stopped; ++i)
            m_pool.start([this, &reader] { takeTurns(reader); });
    }
    m_ended.acquire();
    waitForAnswers();
}

void SessionServer::takeTurns(LineReader& reader)
{
    while (const std::optional<Task> task = takeTurn(reader)) {
        if (*task)
            run(*task);
    }
    m_ended.release();
}

void SessionServer::run(Task task)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_busy == busyThreads)
            return m_tasks.push_back(std::move(task));
        ++m_busy;
    }
    for (; task; task = nextTask())
        task();
}

SessionServer::Task SessionServer::nextTask()
{
    const std::lock_guard lock(m_mutex);
    if (m_tasks.empty()) {
        --m_busy;
        return {};
    }
    Task task = std::move(m_tasks.front());
    m_tasks.pop_front();
    return task;
}

std::optional<SessionServer::Task> SessionServer::takeTurn(LineReader& reader)
{
    const std::lock_guard turn(m_turn);
    const LineReader::Line line = reader.next();
    switch (line.kind) {
    case LineReader::Line::Kind::Text:
        return accept(line.text);
    case LineReader::Line::Kind::TooLong:
        refuseTooLong(reader.limit());
        return Task();
    case LineReader::Line::Kind::End:
        break;
    }
    return std::nullopt;
}

SessionServer::Task SessionServer::accept(const QByteArray& message)
{
    m_output.waitForRoom();
    const auto parsed = JsonRpc::parse(message);
    if (const auto* malformed = std::get_if<JsonRpc::Malformed>(&parsed)) {
        m_output.push(JsonRpc::error(malformed->id, malformed->error));
        return {};
    }
    const auto& request = std::get<JsonRpc::Request>(parsed);
    if (const SessionMethod* method = findSessionMethod(request.method))
        return begin(*method, request);
    refuse(request, {JsonRpc::MethodNotFound, QStringLiteral("there is no method '%1'").arg(request.method)});
    return {};
}

void SessionServer::refuseTooLong(int limit)
{
    m_output.waitForRoom();
    const QString message = QStringLiteral("the message is longer than %1 bytes").arg(limit);
    m_output.push(JsonRpc::error(QVariant(), {JsonRpc::InvalidRequest, message}));
}

void SessionServer::waitForAnswers()
{
    m_free.acquire(mostUnderWay);
    m_free.release(mostUnderWay);
}

bool SessionServer::stop(int milliseconds)
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
        m_tasks.clear();
    }
    m_output.letGo();
    m_ended.release();
    m_free.release(mostUnderWay);
    m_walkPool.clear();
    const QDeadlineTimer deadline(milliseconds);
    return m_pool.waitForDone(milliseconds) && m_walkPool.waitForDone(static_cast<int>(deadline.remainingTime()));
}

SessionServer::Task SessionServer::begin(const SessionMethod& method, const JsonRpc::Request& request)
{
    m_free.acquire();
    const std::lock_guard lock(m_mutex);
    if (m_stopped) {
        m_free.release();
        return {};
    }
    if (method.lane == SessionMethod::Lane::InOrder) {
        beginInOrder(method, request);
        return {};
    }
    Task task = [this, &method, request] {
        m_output.waitForRoom();
        answer(method, request);
    };
    if (method.lane == SessionMethod::Lane::Quick)
        return task;
    m_walkPool.start(task);
    return {};
}

void SessionServer::beginInOrder(const SessionMethod& method, const JsonRpc::Request& request)
{
    QMetaObject::invokeMethod(
        &m_inOrder,
        [this, &method, request] {
            answer(method, request);
            // What is told of a path from now on must come after this answer.
            m_output.endLatest();
        },
        Qt::QueuedConnection);
}

void SessionServer::answer(const SessionMethod& method, const JsonRpc::Request& request)
{
    {
        const Result<QVariant> result = callSession(m_session, method, request.parameters);
        if (request.id)
            m_output.push(answerText(*request.id, result));
    }
    Session::giveBackMemory();
    m_free.release();
}

void SessionServer::refuse(const JsonRpc::Request& request, const JsonRpc::Error& error)
{
    if (request.id)
        m_output.push(JsonRpc::error(*request.id, error));
}

void SessionServer::tell(const CMPath& path, const QStringList& changes, int version)
{
    const QByteArray line =
        JsonRpc::notification(QStringLiteral("rowsChanged"), changeParameters(path, changes, version));
    const QString key = path.toEncoded();
    if (changes == QStringList{CMSubscribe::RowsChangeReset()})
        return m_output.pushLatest(key, line);
    m_output.endLatest();
    m_output.push(line);
}
