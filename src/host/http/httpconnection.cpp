#include "http/httpconnection.h"

#include "exec/rootpools.h"
#include "http/acceptlanguage.h"
#include "http/accesslog.h"
#include "http/answer.h"
#include "http/iothread.h"
#include "http/metrics.h"
#include "http/pendingbudget.h"
#include "http/requesthandler.h"
#include "http/websocketclient.h"
#include "process/hostlog.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <algorithm>
#include <array>
#include <ctime>
#include <optional>
#include <utility>
#include <variant>

#include <sys/socket.h>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

namespace {

using Tcp = asio::ip::tcp;
using Socket = Tcp::socket::rebind_executor<asio::io_context::executor_type>::other;
using Parser = http::request_parser<http::string_body>;
using ErrorCode = boost::system::error_code;
using Clock = std::chrono::steady_clock;

constexpr Clock::time_point never = Clock::time_point::max();

constexpr std::uint32_t longestHead = 16 * 1024;
constexpr std::uint64_t longestForm = 4096;
/// Bytes.
constexpr std::size_t readingStep = 4096;
constexpr std::size_t longestBuffer = 65536;
constexpr int writingStep = 256 * 1024;

QByteArray bytes(boost::string_view text)
{
    return {text.data(), static_cast<int>(text.size())};
}

RequestHead headOf(const Parser& parser)
{
    const auto& message = parser.get();
    RequestHead head{bytes(message.method_string()), bytes(message.target()), {}};
    for (const auto& field : message)
        head.fields.push_back({bytes(field.name_string()), bytes(field.value())});
    return head;
}

/// Refuses requests that the parser accepts although two readers could disagree about where they end.
std::optional<Refusal> checkFraming(const RequestHead& head)
{
    if (head.count("Transfer-Encoding") > 0)
        return Refusal{411};
    if (head.count("Content-Length") > 1 || head.value("Content-Length").contains(','))
        return Refusal{400};
    return std::nullopt;
}

/// Bytes of the body that a request for the route may have.
std::uint64_t bodyLimitOf(Route::Kind kind, const Limits& limits)
{
    switch (kind) {
    case Route::Kind::Rpc:
        return static_cast<std::uint64_t>(limits.message);
    case Route::Kind::Login:
    case Route::Kind::Logout:
        return longestForm;
    default:
        return 0;
    }
}

/// `error`: the parser's.
Refusal refusalOf(const ErrorCode& error)
{
    if (error == http::error::header_limit)
        return Refusal{431};
    return Refusal{error == http::error::body_limit ? 413 : 400};
}

/// Nothing if the request opens a WebSocket that can be served.
std::optional<Refusal> checkUpgrade(const Parser& parser, const RequestHead& head, const beast::flat_buffer& buffer)
{
    const QByteArray version = "13";
    if (!beast::websocket::is_upgrade(parser.get()) || head.value("Sec-WebSocket-Version") != version)
        return Refusal{426, {{"Upgrade", "websocket"}, {"Sec-WebSocket-Version", version}}};
    const QByteArray key = head.value("Sec-WebSocket-Key");
    constexpr int keyLength = 24;
    // A client that sends frames before the answer tries to smuggle something past a proxy.
    if (key.size() != keyLength || !parser.is_done() || buffer.size() > 0)
        return Refusal{400};
    return std::nullopt;
}

class HttpConnection : public ServedConnection
{
public:
    HttpConnection(
        const ServerParts& parts, FileDescriptor socket, const Connection& ends, ConnectionTable::Place place);

    void start() { awaitRequest(); }
    void finish() override;
    void abort() override;
    void checkAccess() override;

private:
    [[nodiscard]] std::shared_ptr<HttpConnection> self()
    {
        return std::static_pointer_cast<HttpConnection>(shared_from_this());
    }
    /// A handler that calls the member function with the operation's error.
    [[nodiscard]] auto handler(void (HttpConnection::*function)(const ErrorCode&));

    void awaitRequest();
    void receive();
    void received(const ErrorCode& error, std::size_t size);
    void parse();
    void headRead();
    void admitted(Admission admission);
    void readBody();
    void bodyRead();
    void upgrade();

    void handle();
    void watchClient();
    void refuse(const Refusal& refusal);
    void answer(Answer answer);
    /// Replaces the answer by a refusal where too much waits for all clients.
    void keepToBudget();
    /// Drops the answer if that request is no longer being handled.
    void receiveAnswer(quint64 serial, Answer received);
    void writeHead();
    void written(const ErrorCode& error);
    void failed();
    void sendFile();
    void awaitSocket();
    void awaitDisk();
    void answered();
    /// Counts and logs the answer, which has been sent as far as possible.
    void account();
    /// `bytes`: of the body.
    void log(int status, qint64 bytes);
    void awaitClose();
    void drain(const ErrorCode& error);

    /// Aborts unless the limit is set anew, or lifted, in time.
    void limit(ServerTimes::Time time);
    void lift() { m_limit = never; }
    void waitForLimit();
    void checkLimit();

    ServerParts m_parts;
    const ConnectionTable::Place m_place;
    const Connection m_ends;
    const bool m_isV4;
    Socket m_socket;
    asio::steady_timer m_timer;
    Clock::time_point m_limit = never;
    /// When the timer next checks the limit, which changes with every step and is seldom reached.
    Clock::time_point m_nextLook = never;
    beast::flat_buffer m_buffer{longestBuffer};
    std::optional<Parser> m_parser;
    bool m_isReadingBody = false;

    HttpRequest m_request;
    /// Of the request, if it is admitted.
    Credential m_credential;
    Clock::time_point m_begin;
    /// Destroying it cancels the request that is being handled.
    std::shared_ptr<void> m_underWay;
    /// Of the request that was handled last.
    quint64 m_serial = 0;
    /// Keeps the connection while the request is being handled, when no operation does.
    std::shared_ptr<HttpConnection> m_handling;
    std::optional<Answer> m_answer;
    /// Of the answer's body.
    std::optional<PendingBudget::Part> m_pending;
    QByteArray m_headText;
    /// Bytes, with those that are being written.
    int m_sentBody = 0;
    bool m_staysOpen = false;
    bool m_isFinishing = false;
};

HttpConnection::HttpConnection(
    const ServerParts& parts, FileDescriptor socket, const Connection& ends, ConnectionTable::Place place)
    : ServedConnection(parts.connections), m_parts(parts), m_place(std::move(place)), m_ends(ends),
      m_isV4(ends.local.isV4()), m_socket(parts.io.context(), m_isV4 ? Tcp::v4() : Tcp::v6(), socket.release()),
      m_timer(parts.io.context())
{
    ErrorCode ignored;
    m_socket.native_non_blocking(true, ignored);
    m_socket.set_option(Tcp::no_delay(true), ignored);
}

auto HttpConnection::handler(void (HttpConnection::*function)(const ErrorCode&))
{
    return
        [self = self(), function](const ErrorCode& error, std::size_t /*size*/ = 0) { (self.get()->*function)(error); };
}

void HttpConnection::finish()
{
    m_isFinishing = true;
    if (!m_answer && !m_handling)
        abort();
}

void HttpConnection::abort()
{
    const std::shared_ptr<HttpConnection> untilReturn = std::move(m_handling);
    m_underWay.reset();
    lift();
    ErrorCode ignored;
    m_socket.close(ignored);
}

void HttpConnection::checkAccess()
{
    // A request to log out gets its answer.
    const bool isServing = (m_handling || m_answer) && m_request.route.kind != Route::Kind::Logout;
    if (isServing && !m_parts.access.holds(m_credential))
        abort();
}

void HttpConnection::awaitRequest()
{
    m_parser.emplace();
    m_parser->header_limit(longestHead);
    m_parser->body_limit(std::max(bodyLimitOf(Route::Kind::Rpc, m_parts.services.limits), longestForm));
    m_isReadingBody = false;
    m_request = {};
    m_request.ends = m_ends;
    m_credential = {};
    m_staysOpen = false;
    if (m_buffer.size() > 0) {
        limit(m_parts.times.head);
        // After the others have had their turn.
        return asio::post(m_parts.io.context(), [self = self()] { self->parse(); });
    }
    limit(m_parts.times.idle);
    receive();
}

void HttpConnection::receive()
{
    const auto handler = [self = self()](const ErrorCode& error, std::size_t size) { self->received(error, size); };
    m_socket.async_read_some(m_buffer.prepare(readingStep), handler);
}

void HttpConnection::received(const ErrorCode& error, std::size_t size)
{
    // The client is gone, and does not wait for an answer to a part of a request.
    if (error)
        return;
    const bool isBeginning = !m_isReadingBody && m_buffer.size() == 0;
    m_buffer.commit(size);
    if (isBeginning)
        limit(m_parts.times.head);
    parse();
}

/// Parses the bytes that have arrived, and reads more if need be.
void HttpConnection::parse()
{
    const auto isRead = [this] { return m_isReadingBody ? m_parser->is_done() : m_parser->is_header_done(); };
    ErrorCode error;
    while (!error && !isRead() && m_buffer.size() > 0)
        m_buffer.consume(m_parser->put(m_buffer.data(), error));
    if (error == http::error::need_more || (!error && !isRead()))
        return receive();
    lift();
    if (!m_isReadingBody)
        m_begin = Clock::now();
    if (error)
        refuse(refusalOf(error));
    else if (m_isReadingBody)
        bodyRead();
    else
        headRead();
}

void HttpConnection::headRead()
{
    m_request.head = headOf(*m_parser);
    if (const std::optional<Refusal> refusal = checkFraming(m_request.head))
        return refuse(*refusal);
    m_staysOpen = m_parser->keep_alive();
    std::variant<Admission, Refusal> admission = m_parts.access.admit(m_request.head, m_ends, m_begin);
    if (const auto* refusal = std::get_if<Refusal>(&admission))
        return refuse(*refusal);
    admitted(std::get<Admission>(std::move(admission)));
}

void HttpConnection::admitted(Admission admission)
{
    m_request.route = std::move(admission.route);
    m_credential = std::move(admission.credential);
    if (m_request.route.kind == Route::Kind::Session)
        upgrade();
    else if (m_parser->content_length().value_or(0) > bodyLimitOf(m_request.route.kind, m_parts.services.limits))
        refuse(Refusal{413});
    else if (m_parser->is_done())
        handle();
    else
        readBody();
}

void HttpConnection::readBody()
{
    m_isReadingBody = true;
    m_parser->eager(true);
    limit(m_parts.times.body);
    if (m_request.head.value("Expect").toLower() != "100-continue")
        return parse();
    static const std::string goOn = "HTTP/1.1 100 Continue\r\n\r\n";
    asio::async_write(m_socket, asio::buffer(goOn), [self = self()](const ErrorCode& error, std::size_t /*size*/) {
        if (!error)
            self->parse();
    });
}

void HttpConnection::bodyRead()
{
    // The token may have changed while the body came.
    if (!m_parts.access.holds(m_credential))
        return abort();
    const std::string body = std::move(m_parser->get().body());
    m_request.body = QByteArray(body.data(), static_cast<int>(body.size()));
    handle();
}

void HttpConnection::upgrade()
{
    if (const std::optional<Refusal> refusal = checkUpgrade(*m_parser, m_request.head, m_buffer))
        return refuse(*refusal);
    FileDescriptor socket(m_socket.release());
    const QByteArray key = m_request.head.value("Sec-WebSocket-Key");
    const TrLanguage* const language = acceptedLanguage(m_request.head);
    serveWebSocket(m_parts, {std::move(socket), m_isV4, key, m_credential, language}, m_place);
    log(101, 0);
}

void HttpConnection::handle()
{
    const auto postAnswer = [weak = std::weak_ptr(self()), io = &m_parts.io, serial = ++m_serial](Answer answer) {
        const auto shared = std::make_shared<Answer>(std::move(answer));
        io->post([weak, shared, serial] {
            if (const auto connection = weak.lock())
                connection->receiveAnswer(serial, std::move(*shared));
        });
    };
    std::variant<Answer, RequestHandler::UnderWay> handled = m_parts.handler.handle(m_request, postAnswer);
    if (auto* const prompt = std::get_if<Answer>(&handled))
        return answer(std::move(*prompt));
    m_handling = self();
    m_underWay = std::get<RequestHandler::UnderWay>(std::move(handled));
    // Only calls may take long.
    if (m_request.route.kind == Route::Kind::Rpc)
        watchClient();
    // The disk of a cover may hang; the executor limits the other requests.
    if (m_request.route.kind == Route::Kind::Cover)
        limit(m_parts.times.idle);
}

/// Aborts if the client goes away before its answer comes.
void HttpConnection::watchClient()
{
    m_socket.async_wait(Tcp::socket::wait_read, [self = self()](const ErrorCode& error) {
        char byte = 0;
        const bool isGone = !error && recv(self->m_socket.native_handle(), &byte, 1, MSG_PEEK) == 0;
        if (isGone && self->m_handling)
            self->abort();
    });
}

void HttpConnection::receiveAnswer(quint64 serial, Answer received)
{
    if (m_handling && serial == m_serial)
        answer(std::move(received));
}

void HttpConnection::refuse(const Refusal& refusal)
{
    // The rest of the body would be read as the next request.
    if (!m_parser->is_done())
        m_staysOpen = false;
    answer(makeResponse(refusal));
}

void HttpConnection::answer(Answer answer)
{
    const std::shared_ptr<HttpConnection> untilReturn = std::move(m_handling);
    m_underWay.reset();
    lift();
    m_request.body.clear();
    if (!m_socket.is_open())
        return;
    m_answer = std::move(answer);
    keepToBudget();
    m_staysOpen = m_staysOpen && !m_isFinishing;
    m_answer->head.set("Connection", m_staysOpen ? "keep-alive" : "close");
    m_headText = m_answer->head.toText(std::time(nullptr));
    m_sentBody = 0;
    if (m_request.head.method == "HEAD") {
        m_answer->file.reset();
        m_answer->body.clear();
    }
    if (!m_answer->file)
        return writeHead();
    m_answer->file->setHead(std::move(m_headText));
    sendFile();
}

void HttpConnection::keepToBudget()
{
    m_pending.emplace(m_parts.pending);
    m_pending->set(m_answer->body.size());
    if (!m_pending->isTooLarge())
        return;
    m_answer = makeResponse(Refusal{503});
    m_pending.reset();
}

/// Writes the beginning of the body with it.
void HttpConnection::writeHead()
{
    const int size = std::min(m_answer->body.size(), writingStep);
    const std::array<asio::const_buffer, 2> buffers = {
        asio::buffer(m_headText.constData(), static_cast<std::size_t>(m_headText.size())),
        asio::buffer(m_answer->body.constData(), static_cast<std::size_t>(size))};
    m_sentBody = size;
    limit(m_parts.times.idle);
    asio::async_write(m_socket, buffers, handler(&HttpConnection::written));
}

void HttpConnection::written(const ErrorCode& error)
{
    if (error)
        return failed();
    const int left = m_answer->body.size() - m_sentBody;
    if (left == 0)
        return answered();
    const int size = std::min(left, writingStep);
    const auto buffer = asio::buffer(m_answer->body.constData() + m_sentBody, static_cast<std::size_t>(size));
    m_sentBody += size;
    limit(m_parts.times.idle);
    asio::async_write(m_socket, buffer, handler(&HttpConnection::written));
}

void HttpConnection::sendFile()
{
    lift();
    if (!m_socket.is_open())
        return failed();
    switch (m_answer->file->send(m_socket.native_handle())) {
    case FilePart::Step::Done:
        return answered();
    case FilePart::Step::Again:
        return asio::post(m_parts.io.context(), [self = self()] { self->sendFile(); });
    case FilePart::Step::SocketFull:
        return awaitSocket();
    case FilePart::Step::Cold:
        return awaitDisk();
    case FilePart::Step::Failed:
        return failed();
    }
}

void HttpConnection::awaitSocket()
{
    limit(m_parts.times.idle);
    m_socket.async_wait(Tcp::socket::wait_write, [self = self()](const ErrorCode& error) {
        if (error)
            self->failed();
        else
            self->sendFile();
    });
}

void HttpConnection::awaitDisk()
{
    limit(m_parts.times.idle);
    // Only its own thread may destroy the connection.
    m_parts.disk.post(m_request.route.prefix, [self = self(), io = &m_parts.io]() mutable {
        self->m_answer->file->load();
        io->post([self = std::move(self)] { self->sendFile(); });
    });
}

void HttpConnection::answered()
{
    account();
    if (m_staysOpen && !m_isFinishing)
        awaitRequest();
    else
        awaitClose();
}

/// The client is gone, or the file has changed under its reader.
void HttpConnection::failed()
{
    account();
    abort();
}

void HttpConnection::account()
{
    log(m_answer->head.status(), m_answer->file ? m_answer->file->sent() : m_sentBody);
    m_answer.reset();
    m_pending.reset();
}

void HttpConnection::log(int status, qint64 bytes)
{
    const Clock::duration duration = Clock::now() - m_begin;
    const RequestHead& head = m_request.head;
    m_parts.metrics.requestAnswered(head.method, status, bytes, duration);
    HOST_LOG(
        httpLogger(), INFO, "src/host/http/httpconnection",
        accessLine({head.method, head.target, status, bytes, duration, m_ends.client}).constData());
}

/// If the socket were closed with unread input, the system would drop the response before the client has read it.
void HttpConnection::awaitClose()
{
    ErrorCode ignored;
    m_socket.shutdown(Tcp::socket::shutdown_send, ignored);
    limit(m_parts.times.lastResponse);
    drain({});
}

void HttpConnection::drain(const ErrorCode& error)
{
    m_buffer.clear();
    if (!error)
        m_socket.async_read_some(m_buffer.prepare(readingStep), handler(&HttpConnection::drain));
}

void HttpConnection::limit(ServerTimes::Time time)
{
    m_limit = Clock::now() + time;
    if (m_limit < m_nextLook)
        waitForLimit();
}

void HttpConnection::waitForLimit()
{
    m_nextLook = m_limit;
    m_timer.expires_at(m_limit);
    m_timer.async_wait([weak = std::weak_ptr(self())](const ErrorCode& error) {
        const auto connection = weak.lock();
        if (!error && connection)
            connection->checkLimit();
    });
}

void HttpConnection::checkLimit()
{
    m_nextLook = never;
    if (m_limit <= Clock::now())
        abort();
    else if (m_limit != never)
        waitForLimit();
}

} // namespace

void serveHttp(const ServerParts& parts, FileDescriptor socket, const Connection& ends, ConnectionTable::Place place)
{
    std::make_shared<HttpConnection>(parts, std::move(socket), ends, std::move(place))->start();
}
