#include "support/rawconnection.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <utility>

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// Milliseconds; programs under an emulator are slow.
constexpr int patience = 30000;

int connectTo(const char* address, quint16 port)
{
    addrinfo hints = {};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int looked = getaddrinfo(address, QByteArray::number(port).constData(), &hints, &found);
    Q_ASSERT(looked == 0);
    const int descriptor = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int connected = connect(descriptor, found->ai_addr, found->ai_addrlen);
    Q_ASSERT_X(connected == 0, "connect", std::strerror(errno));
    freeaddrinfo(found);
    return descriptor;
}

bool waitFor(int descriptor, short events, int limit = patience)
{
    pollfd waiting = {descriptor, events, 0};
    return poll(&waiting, 1, limit) == 1;
}

} // namespace

RawConnection::RawConnection(quint16 port, const char* address) : m_socket(connectTo(address, port)) {}

RawConnection::RawConnection(RawConnection&& other) noexcept
    : m_socket(std::exchange(other.m_socket, -1)), m_buffer(std::move(other.m_buffer)), m_hasEnded(other.m_hasEnded)
{
}

RawConnection::~RawConnection()
{
    if (m_socket >= 0)
        close(m_socket);
}

bool RawConnection::send(const QByteArray& bytes)
{
    for (int done = 0; done < bytes.size();) {
        const auto left = static_cast<std::size_t>(bytes.size() - done);
        if (!waitFor(m_socket, POLLOUT))
            return false;
        const ssize_t sent = ::send(m_socket, bytes.constData() + done, left, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno != EAGAIN)
            return false;
        done += static_cast<int>(std::max(sent, ssize_t{0}));
    }
    return true;
}

void RawConnection::finishSending()
{
    shutdown(m_socket, SHUT_WR);
}

bool RawConnection::fill()
{
    std::array<char, 65536> bytes{};
    const ssize_t size = !m_hasEnded && waitFor(m_socket, POLLIN) ? recv(m_socket, bytes.data(), bytes.size(), 0) : 0;
    m_hasEnded = size <= 0;
    m_buffer.append(bytes.data(), static_cast<int>(std::max(size, ssize_t{0})));
    return !m_hasEnded;
}

QByteArray RawConnection::take(int count)
{
    const QByteArray bytes = m_buffer.left(count);
    m_buffer.remove(0, count);
    return bytes;
}

QByteArray RawConnection::receive(int count)
{
    while (m_buffer.size() < count && fill()) {
    }
    return take(count);
}

QByteArray RawConnection::receiveUntil(const QByteArray& text)
{
    while (!m_buffer.contains(text) && fill()) {
    }
    const int begin = m_buffer.indexOf(text);
    return take(begin < 0 ? m_buffer.size() : begin + text.size());
}

QByteArray RawConnection::receiveAll()
{
    return receive(std::numeric_limits<int>::max());
}

bool RawConnection::isReadable(std::chrono::milliseconds limit) const
{
    return !m_buffer.isEmpty() || m_hasEnded || waitFor(m_socket, POLLIN, static_cast<int>(limit.count()));
}

bool RawConnection::isClosedByPeer()
{
    // Between the last byte and the end no time limit may have passed.
    while (fill())
        m_buffer.clear();
    pollfd ended = {m_socket, POLLIN, 0};
    char byte = 0;
    return poll(&ended, 1, 0) == 1 && recv(m_socket, &byte, 1, MSG_DONTWAIT) <= 0;
}
