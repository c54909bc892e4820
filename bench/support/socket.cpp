#include "support/socket.h"

#include "support/race.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

sockaddr_in addressOf(int port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<in_port_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::size_t checked(ssize_t size)
{
    require(size > 0, "the server hung up");
    return static_cast<std::size_t>(size);
}

} // namespace

int Socket::freePort()
{
    const Socket socket;
    sockaddr_in address = addressOf(0);
    socklen_t size = sizeof address;
    auto* const general = reinterpret_cast<sockaddr*>(&address);
    require(
        bind(socket.m_descriptor, general, size) == 0 && getsockname(socket.m_descriptor, general, &size) == 0,
        "there is no free port");
    return ntohs(address.sin_port);
}

bool Socket::canConnect(int port)
{
    return Socket().connectTo(port);
}

Socket::Socket() : m_descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}

Socket::Socket(int port) : Socket()
{
    require(connectTo(port), "cannot connect to a server");
    const int on = 1;
    require(setsockopt(m_descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == 0, "cannot set a socket's option");
}

bool Socket::connectTo(int port) const
{
    const sockaddr_in address = addressOf(port);
    return connect(m_descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

Socket::~Socket()
{
    close(m_descriptor);
}

void Socket::send(std::string_view bytes) const
{
    require(
        ::send(m_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size()),
        "the server hung up");
}

std::size_t Socket::receive(char* bytes, std::size_t size) const
{
    return checked(recv(m_descriptor, bytes, size, 0));
}

std::size_t Socket::discard(std::size_t size) const
{
    return checked(recv(m_descriptor, nullptr, size, MSG_TRUNC));
}
