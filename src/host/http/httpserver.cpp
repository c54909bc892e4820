#include "http/httpserver.h"

#include "exec/rootpools.h"
#include "exec/threadpool.h"
#include "http/acceptor.h"
#include "http/connectiontable.h"
#include "http/httpconnection.h"
#include "http/iothread.h"
#include "http/keptfiles.h"
#include "http/metrics.h"
#include "http/pendingbudget.h"
#include "http/requesthandler.h"
#include "http/tokenfile.h"
#include "process/hostlog.h"

#include <QSemaphore>

#include <optional>
#include <utility>

namespace {

/// Threads of each root that read files ahead of sending.
constexpr int diskThreads = 4;
/// For the I/O thread, which may hang in the kernel when a disk does.
constexpr std::chrono::milliseconds ioPatience(500);

QString coverDirectory(const QString& stateDirectory)
{
    return stateDirectory.isEmpty() ? QString() : stateDirectory + QStringLiteral("/covers");
}

} // namespace

/// Each member uses only members above it.
class HttpServer::State
{
public:
    State(const Services& services, const Settings& settings)
        : m_times(settings.times), m_access(settings.access), m_pending(settings.mostPending),
          m_covers(services.host, {coverDirectory(settings.stateDirectory)}),
          m_files(MediaLibrary(services.host), m_io, m_disk, {}),
          m_handler({services, m_access, m_metrics, m_covers, m_files, [this] { checkAccessLater(); }}),
          m_parts{m_io, m_connections, m_access, m_handler, m_metrics, m_pending, m_disk, services, m_times}
    {
    }
    ~State()
    {
        // Functions that the disk's threads still post are not called any more.
        m_io.stop();
    }
    Q_DISABLE_COPY_MOVE(State)

    [[nodiscard]] Result<void> readToken(const QString& file);
    void accept(std::vector<ListeningSocket> sockets);
    /// False if the I/O thread hangs.
    bool stopAccepting();
    [[nodiscard]] bool stop(std::chrono::milliseconds patience);

private:
    void serve(FileDescriptor socket, const Connection& ends);
    void checkAccessLater();
    void checkTokenLater();
    void setToken(const Result<QByteArray>& token);
    /// Calls the function in the I/O thread and waits for it; false if the thread hangs.
    [[nodiscard]] bool runInIoThread(std::function<void()> function);

    const ServerTimes m_times;
    AccessPolicy m_access;
    Metrics m_metrics;
    const PendingBudget m_pending;
    ConnectionTable m_connections{m_metrics};
    IoThread m_io;
    RootPools m_disk{diskThreads};
    CoverStore m_covers;
    KeptFiles m_files;
    RequestHandler m_handler;
    std::optional<TokenFile> m_tokenFile;
    /// A thread of its own, so that a disk that hangs does not delay a new token.
    ThreadPool m_tokenReading{1};
    /// In the I/O thread.
    std::vector<std::unique_ptr<Acceptor>> m_acceptors;
    const ServerParts m_parts;
};

Result<void> HttpServer::State::readToken(const QString& file)
{
    m_tokenFile.emplace(file);
    const Result<QByteArray> token = m_tokenFile->read();
    if (!token)
        return token.failure();
    m_access.setToken(token.value());
    checkTokenLater();
    return {};
}

void HttpServer::State::accept(std::vector<ListeningSocket> sockets)
{
    const auto take = [this](FileDescriptor socket, const Connection& ends) { serve(std::move(socket), ends); };
    for (ListeningSocket& socket : sockets)
        m_acceptors.push_back(std::make_unique<Acceptor>(m_io, std::move(socket), take));
}

void HttpServer::State::serve(FileDescriptor socket, const Connection& ends)
{
    ConnectionTable::Place place = m_connections.admit(ends.client);
    if (place)
        serveHttp(m_parts, std::move(socket), ends, std::move(place));
}

void HttpServer::State::checkAccessLater()
{
    m_io.post([this] { m_connections.checkAccess(); });
}

void HttpServer::State::checkTokenLater()
{
    m_io.after(m_times.token, [this] {
        m_tokenReading.post([this] {
            if (const std::optional<Result<QByteArray>> token = m_tokenFile->readIfChanged())
                m_io.post([this, token = *token] { setToken(token); });
            checkTokenLater();
        });
    });
}

void HttpServer::State::setToken(const Result<QByteArray>& token)
{
    if (!token)
        HOST_LOG(
            httpLogger(), WARN, "src/host/http/httpserver",
            token.failure().message.toString() << "; nobody is served until it is right");
    m_access.setToken(token ? token.value() : QByteArray());
    m_connections.checkAccess();
}

bool HttpServer::State::runInIoThread(std::function<void()> function)
{
    const auto isDone = std::make_shared<QSemaphore>();
    m_io.post([function = std::move(function), isDone] {
        function();
        isDone->release();
    });
    return isDone->tryAcquire(1, static_cast<int>(ioPatience.count()));
}

bool HttpServer::State::stopAccepting()
{
    return runInIoThread([this] { m_acceptors.clear(); });
}

bool HttpServer::State::stop(std::chrono::milliseconds patience)
{
    if (!stopAccepting())
        return false;
    const auto isEmpty = std::make_shared<QSemaphore>();
    m_io.post([this, isEmpty] { m_connections.finishAll([isEmpty] { isEmpty->release(); }); });
    static_cast<void>(isEmpty->tryAcquire(1, static_cast<int>(patience.count())));
    if (!runInIoThread([this] { m_connections.abortAll(); }))
        return false;
    m_io.stop();
    const bool haveCoversEnded = m_covers.stop({});
    const bool hasDiskEnded = m_disk.stop({});
    const bool hasTokenEnded = m_tokenReading.stop({});
    return haveCoversEnded && hasDiskEnded && hasTokenEnded;
}

HttpServer::HttpServer(std::unique_ptr<State> state) : m_state(std::move(state)) {}

HttpServer::~HttpServer() = default;

Result<std::unique_ptr<HttpServer>> HttpServer::start(const Services& services, Settings settings)
{
    settings.access.needsToken = !settings.tokenFile.isEmpty();
    auto state = std::make_unique<State>(services, settings);
    if (const Result<void> read = settings.access.needsToken ? state->readToken(settings.tokenFile) : Result<void>();
        !read)
        return read.failure();
    state->accept(std::move(settings.sockets));
    return std::unique_ptr<HttpServer>(new HttpServer(std::move(state)));
}

void HttpServer::stopAccepting()
{
    m_state->stopAccepting();
}

bool HttpServer::stop(std::chrono::milliseconds patience)
{
    return m_state->stop(patience);
}
