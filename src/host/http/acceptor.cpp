#include "http/acceptor.h"

#include "http/iothread.h"

#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <utility>

namespace asio = boost::asio;

using Tcp = asio::ip::tcp;
using Executor = asio::io_context::executor_type;
using Socket = asio::basic_stream_socket<Tcp, Executor>;

namespace {

/// Until accepting is tried again after it has failed, say for want of file descriptors.
constexpr std::chrono::milliseconds retryInterval(100);

Tcp protocolOf(const ListenAddress& address)
{
    return address.address.isV4() ? Tcp::v4() : Tcp::v6();
}

} // namespace

class Acceptor::State : public std::enable_shared_from_this<State>
{
public:
    State(IoThread& io, ListeningSocket socket, Accept accept)
        : m_acceptor(io.context(), protocolOf(socket.address), socket.descriptor.release()), m_timer(io.context()),
          m_accept(std::move(accept))
    {
    }

    void acceptNext()
    {
        m_acceptor.async_accept([self = shared_from_this()](const boost::system::error_code& error, Socket socket) {
            if (!self->m_acceptor.is_open())
                return;
            if (error && error != asio::error::connection_aborted)
                return self->pauseAccepting();
            // First, since to take the socket may throw.
            self->acceptNext();
            if (!error)
                self->take(socket);
        });
    }

    void close()
    {
        m_acceptor.close();
        m_timer.cancel();
    }

private:
    void take(Socket& socket)
    {
        FileDescriptor descriptor(socket.release());
        const std::optional<ListenAddress> client = remoteAddress(descriptor.get());
        const std::optional<ListenAddress> local = localAddress(descriptor.get());
        // The client may be gone already.
        if (client && local)
            m_accept(std::move(descriptor), {client->address, local->address});
    }

    void pauseAccepting()
    {
        m_timer.expires_after(retryInterval);
        m_timer.async_wait([self = shared_from_this()](const boost::system::error_code& error) {
            if (!error)
                self->acceptNext();
        });
    }

    asio::basic_socket_acceptor<Tcp, Executor> m_acceptor;
    asio::steady_timer m_timer;
    const Accept m_accept;
};

Acceptor::Acceptor(IoThread& io, ListeningSocket socket, Accept accept)
    : m_state(std::make_shared<State>(io, std::move(socket), std::move(accept)))
{
    io.post([state = m_state] { state->acceptNext(); });
}

Acceptor::~Acceptor()
{
    m_state->close();
}
