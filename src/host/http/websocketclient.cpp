#include "http/websocketclient.h"

#include "http/iothread.h"
#include "http/metrics.h"
#include "http/outbox.h"
#include "http/remoteclient.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <array>
#include <atomic>
#include <limits>
#include <optional>
#include <utility>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;

namespace {

using Tcp = asio::ip::tcp;
using Executor = asio::io_context::executor_type;
using ErrorCode = boost::system::error_code;

/// Bytes; a buffer that a long message has made larger is given back.
constexpr std::size_t usualBuffer = 4096;

/// Limits nothing, but counts the bytes.
class CountingPolicy
{
public:
    [[nodiscard]] std::size_t received() const { return m_received; }
    [[nodiscard]] std::size_t sent() const { return m_sent; }

private:
    friend class beast::rate_policy_access;

    [[nodiscard]] static std::size_t available_read_bytes() { return std::numeric_limits<std::size_t>::max(); }
    [[nodiscard]] static std::size_t available_write_bytes() { return std::numeric_limits<std::size_t>::max(); }
    void transfer_read_bytes(std::size_t count) { m_received += count; }
    void transfer_write_bytes(std::size_t count) { m_sent += count; }
    static void on_timer() {}

    std::size_t m_received = 0;
    std::size_t m_sent = 0;
};

using Stream = beast::basic_stream<Tcp, Executor, CountingPolicy>;

std::array<asio::const_buffer, 3> buffersOf(const Message& message)
{
    const auto buffer = [](const QByteArray& part) {
        return asio::const_buffer(part.constData(), static_cast<std::size_t>(part.size()));
    };
    return {buffer(message.head), buffer(message.body), buffer(message.tail)};
}

class WebSocketClient : public ServedConnection
{
public:
    WebSocketClient(const ServerParts& parts, WebSocketOpening opening, ConnectionTable::Place place);
    ~WebSocketClient() override;
    Q_DISABLE_COPY_MOVE(WebSocketClient)

    void start(const QByteArray& key);

    void finish() override { close(websocket::close_code::going_away); }
    void abort() override { end(); }
    void checkAccess() override;

private:
    [[nodiscard]] std::shared_ptr<WebSocketClient> self()
    {
        return std::static_pointer_cast<WebSocketClient>(shared_from_this());
    }
    [[nodiscard]] std::weak_ptr<WebSocketClient> weakSelf() { return self(); }
    /// A function for other threads that calls the member function in the I/O thread, if the client is still there.
    [[nodiscard]] std::function<void()> poster(void (WebSocketClient::*function)());

    void end();
    void opened(const ErrorCode& error);
    void readIfReady();
    void received(const ErrorCode& error);
    /// Called when a long message has been parsed.
    void accepted();
    void writeNext();
    void written(const ErrorCode& error);
    void close(websocket::close_code code);
    void sendClose();

    void waitToPing() { callAfter(m_parts.times.ping, &WebSocketClient::ping); }
    void ping();
    void waitForPong() { callAfter(m_parts.times.pong, &WebSocketClient::checkPong); }
    void checkPong();
    void noteTraffic();
    /// Replaces the call that waits; the client must still be open then.
    void callAfter(ServerTimes::Time time, void (WebSocketClient::*function)());

    ServerParts m_parts;
    const ConnectionTable::Place m_place;
    const Credential m_credential;
    const TrLanguage* const m_language;
    websocket::stream<Stream, false> m_stream;
    asio::steady_timer m_timer;
    asio::steady_timer m_closeTimer;
    beast::flat_buffer m_buffer;
    std::shared_ptr<Outbox> m_outbox;
    /// Null before the WebSocket is open and after the end.
    std::unique_ptr<RemoteClient> m_client;

    Message m_message;
    bool m_isReading = false;
    /// True while reading waits for the client to be ready. Read in all threads.
    std::atomic<bool> m_isPaused = false;
    bool m_isWriting = false;
    bool m_isAccepting = false;
    std::optional<websocket::close_code> m_closeCode;
    bool m_isPinging = false;
    /// Bytes when the ping was sent, or at the last check.
    std::size_t m_receivedBefore = 0;
    std::size_t m_sentBefore = 0;
};

WebSocketClient::WebSocketClient(const ServerParts& parts, WebSocketOpening opening, ConnectionTable::Place place)
    : ServedConnection(parts.connections), m_parts(parts), m_place(std::move(place)),
      m_credential(std::move(opening.credential)), m_language(opening.language),
      m_stream(Tcp::socket::rebind_executor<Executor>::other(
          parts.io.context(), opening.isV4 ? Tcp::v4() : Tcp::v6(), opening.socket.release())),
      m_timer(parts.io.context()), m_closeTimer(parts.io.context())
{
    const websocket::stream_base::timeout limits = {parts.times.handshake, websocket::stream_base::none(), false};
    m_stream.set_option(limits);
    m_stream.read_message_max(static_cast<std::size_t>(parts.services.limits.message));
    m_stream.auto_fragment(false);
    m_stream.text(true);
    // Otherwise the library would name itself.
    m_stream.set_option(websocket::stream_base::decorator(
        [](websocket::response_type& response) { response.set(http::field::server, "tavo"); }));
}

WebSocketClient::~WebSocketClient()
{
    end();
}

void WebSocketClient::start(const QByteArray& key)
{
    // Only these fields matter here; the request was checked before.
    http::request<http::empty_body> request(http::verb::get, "/session", 11);
    request.set(http::field::host, "localhost");
    request.set(http::field::connection, "upgrade");
    request.set(http::field::upgrade, "websocket");
    request.set(http::field::sec_websocket_version, "13");
    request.set(http::field::sec_websocket_key, key.constData());
    m_stream.async_accept(request, [self = self()](const ErrorCode& error) { self->opened(error); });
}

void WebSocketClient::opened(const ErrorCode& error)
{
    if (error)
        return abort();
    m_parts.metrics.clientConnected();
    m_outbox = std::make_shared<Outbox>(m_parts.pending, poster(&WebSocketClient::writeNext));
    // Called after every answer, and seldom needed.
    const auto resume = [this, readLater = poster(&WebSocketClient::readIfReady)] {
        if (m_isPaused)
            readLater();
    };
    Dispatcher::Profile profile{Reach::Network, m_parts.services.limits};
    profile.language = m_language;
    profile.notified = [metrics = &m_parts.metrics] { metrics->changeSent(); };
    profile.refused = [metrics = &m_parts.metrics] { metrics->messageRefused(); };
    m_client = std::make_unique<RemoteClient>(m_parts.services, profile, m_outbox, resume);
    readIfReady();
    waitToPing();
}

std::function<void()> WebSocketClient::poster(void (WebSocketClient::*function)())
{
    return [weak = weakSelf(), io = &m_parts.io, function] {
        io->post([weak, function] {
            if (const auto client = weak.lock())
                (client.get()->*function)();
        });
    };
}

/// Unless the client has too much under way, one read is always pending, also for pings and closes.
void WebSocketClient::readIfReady()
{
    if (m_isReading || m_isAccepting || m_closeCode || !m_client)
        return;
    m_isPaused = true;
    if (!m_client->isReady())
        return;
    m_isPaused = false;
    m_isReading = true;
    m_stream.async_read(m_buffer, [self = self()](const ErrorCode& error, std::size_t /*size*/) {
        self->m_isReading = false;
        self->received(error);
    });
}

void WebSocketClient::received(const ErrorCode& error)
{
    if (error || !m_client)
        return abort();
    const auto bytes = m_buffer.cdata();
    const QByteArray message(static_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
    m_buffer.consume(m_buffer.size());
    // async_close() reads the rest.
    if (m_closeCode)
        return;
    if (m_buffer.capacity() > usualBuffer)
        m_buffer.shrink_to_fit();
    if (!m_stream.got_text())
        return close(websocket::close_code::unknown_data);
    m_parts.metrics.messageReceived(message.size());
    m_isAccepting = !m_client->accept(message, poster(&WebSocketClient::accepted));
    readIfReady();
}

void WebSocketClient::accepted()
{
    m_isAccepting = false;
    readIfReady();
}

void WebSocketClient::writeNext()
{
    if (m_closeCode || !m_outbox)
        return;
    if (m_outbox->isOverfull())
        return abort();
    if (m_isWriting)
        return;
    std::optional<Message> message = m_outbox->next();
    if (!message)
        return;
    m_message = *std::move(message);
    m_isWriting = true;
    m_stream.async_write(buffersOf(m_message), [self = self()](const ErrorCode& error, std::size_t /*size*/) {
        self->m_isWriting = false;
        self->written(error);
    });
}

void WebSocketClient::written(const ErrorCode& error)
{
    if (error)
        return abort();
    m_parts.metrics.messageSent(m_message.size());
    m_message = {};
    if (m_closeCode)
        sendClose();
    else
        writeNext();
}

void WebSocketClient::close(websocket::close_code code)
{
    if (m_closeCode || !m_client)
        return abort();
    m_closeCode = code;
    m_outbox->close();
    m_closeTimer.expires_after(m_parts.times.close);
    m_closeTimer.async_wait([self = self()](const ErrorCode& error) {
        if (!error)
            self->abort();
    });
    if (!m_isWriting)
        sendClose();
}

void WebSocketClient::sendClose()
{
    m_stream.async_close(*m_closeCode, [self = self()](const ErrorCode& /*error*/) { self->abort(); });
}

void WebSocketClient::end()
{
    if (m_outbox) {
        m_outbox->close();
        m_outbox.reset();
        m_parts.metrics.clientDisconnected();
    }
    m_client.reset();
    m_timer.cancel();
    m_closeTimer.cancel();
    beast::get_lowest_layer(m_stream).close();
}

void WebSocketClient::checkAccess()
{
    if (!m_parts.access.holds(m_credential))
        close(websocket::close_code::policy_error);
}

void WebSocketClient::ping()
{
    noteTraffic();
    m_isPinging = true;
    m_stream.async_ping({}, [self = self()](const ErrorCode& error) {
        self->m_isPinging = false;
        if (!error && self->m_client)
            self->waitForPong();
    });
    waitForPong();
}

void WebSocketClient::callAfter(ServerTimes::Time time, void (WebSocketClient::*function)())
{
    m_timer.expires_after(time);
    m_timer.async_wait([self = self(), function](const ErrorCode& error) {
        if (!error && self->m_client)
            (self.get()->*function)();
    });
}

void WebSocketClient::checkPong()
{
    const CountingPolicy& traffic = beast::get_lowest_layer(m_stream).rate_policy();
    const bool hasReceived = traffic.received() != m_receivedBefore;
    const bool hasSent = traffic.sent() != m_sentBefore;
    // The ping may wait behind a message that the client reads slowly, or not at all.
    const bool isStuck = m_isPinging && !hasSent;
    const bool isSilent = m_isReading && !hasReceived && !m_isPinging;
    if (isStuck || isSilent)
        return abort();
    noteTraffic();
    if (m_isPinging)
        waitForPong();
    else
        waitToPing();
}

void WebSocketClient::noteTraffic()
{
    const CountingPolicy& traffic = beast::get_lowest_layer(m_stream).rate_policy();
    m_receivedBefore = traffic.received();
    m_sentBefore = traffic.sent();
}

} // namespace

void serveWebSocket(const ServerParts& parts, WebSocketOpening opening, ConnectionTable::Place place)
{
    const QByteArray key = opening.key;
    std::make_shared<WebSocketClient>(parts, std::move(opening), std::move(place))->start(key);
}
