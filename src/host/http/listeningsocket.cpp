#include "http/listeningsocket.h"

#include "language/translatable.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <sys/socket.h>

namespace {

/// As it is passed to bind().
struct SocketAddress
{
    sockaddr_storage storage = {};
    socklen_t length = sizeof(sockaddr_storage);

    [[nodiscard]] const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
    [[nodiscard]] sockaddr* get() { return reinterpret_cast<sockaddr*>(&storage); }
};

template<typename System>
SocketAddress packed(const System& address)
{
    SocketAddress result;
    static_assert(sizeof(address) <= sizeof(result.storage));
    std::memcpy(&result.storage, &address, sizeof(address));
    result.length = sizeof(address);
    return result;
}

SocketAddress systemAddress(const ListenAddress& listen)
{
    const IpAddress::Bytes& bytes = listen.address.bytes();
    if (listen.address.isV4()) {
        sockaddr_in v4 = {};
        v4.sin_family = AF_INET;
        v4.sin_port = htons(listen.port);
        std::memcpy(&v4.sin_addr, bytes.data() + 12, sizeof(v4.sin_addr));
        return packed(v4);
    }
    sockaddr_in6 v6 = {};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(listen.port);
    std::memcpy(&v6.sin6_addr, bytes.data(), sizeof(v6.sin6_addr));
    return packed(v6);
}

std::optional<ListenAddress> ownAddress(const SocketAddress& address)
{
    IpAddress::Bytes bytes = {};
    if (address.storage.ss_family == AF_INET6) {
        const auto* v6 = reinterpret_cast<const sockaddr_in6*>(&address.storage);
        std::memcpy(bytes.data(), &v6->sin6_addr, bytes.size());
        return ListenAddress{IpAddress(bytes), ntohs(v6->sin6_port)};
    }
    if (address.storage.ss_family != AF_INET)
        return std::nullopt;
    const auto* v4 = reinterpret_cast<const sockaddr_in*>(&address.storage);
    // An IPv4-mapped IPv6 address.
    bytes[10] = bytes[11] = 0xff;
    std::memcpy(bytes.data() + 12, &v4->sin_addr, sizeof(v4->sin_addr));
    return ListenAddress{IpAddress(bytes), ntohs(v4->sin_port)};
}

void set(int socket, int level, int option)
{
    constexpr int on = 1;
    static_cast<void>(setsockopt(socket, level, option, &on, sizeof(on)));
}

/// 0, or the number of the error.
int bindAndListen(int socket, const ListenAddress& address)
{
    // A server that starts again does not wait for the connections of the one before.
    set(socket, SOL_SOCKET, SO_REUSEADDR);
    if (!address.address.isV4())
        set(socket, IPPROTO_IPV6, IPV6_V6ONLY);
    const SocketAddress system = systemAddress(address);
    const bool isListening = bind(socket, system.get(), system.length) == 0 && listen(socket, SOMAXCONN) == 0;
    return isListening ? 0 : errno;
}

bool isListening(int socket)
{
    int accepts = 0;
    socklen_t length = sizeof(accepts);
    return getsockopt(socket, SOL_SOCKET, SO_ACCEPTCONN, &accepts, &length) == 0 && accepts != 0;
}

} // namespace

Result<ListeningSocket> ListeningSocket::open(const ListenAddress& address)
{
    const int family = address.address.isV4() ? AF_INET : AF_INET6;
    FileDescriptor descriptor(socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int error = descriptor.isOpen() ? bindAndListen(descriptor.get(), address) : errno;
    if (error != 0)
        return Failure{
            Failure::Kind::Refused,
            translatable(
                QT_TRANSLATE_NOOP("Host", "cannot listen on %1: %2"),
                {QString::fromLatin1(address.toText()), qt_error_string(error)}),
            error == EADDRINUSE ? QLatin1String(addressInUse) : QLatin1String()};
    return adopt(std::move(descriptor));
}

Result<ListeningSocket> ListeningSocket::adopt(FileDescriptor descriptor)
{
    const std::optional<ListenAddress> address = localAddress(descriptor.get());
    if (!address || !isListening(descriptor.get()))
        return Failure{
            Failure::Kind::Refused,
            translatable(QT_TRANSLATE_NOOP("Host", "a socket that was passed does not listen at an IP address"))};
    return ListeningSocket{std::move(descriptor), *address};
}

std::optional<ListenAddress> localAddress(int socket)
{
    SocketAddress address;
    return getsockname(socket, address.get(), &address.length) == 0 ? ownAddress(address) : std::nullopt;
}

std::optional<ListenAddress> remoteAddress(int socket)
{
    SocketAddress address;
    return getpeername(socket, address.get(), &address.length) == 0 ? ownAddress(address) : std::nullopt;
}
