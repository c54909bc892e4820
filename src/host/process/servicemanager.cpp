#include "process/servicemanager.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int firstPassedDescriptor = 3;

int takeNumber(const char* variable)
{
    const int number = qEnvironmentVariableIntValue(variable);
    qunsetenv(variable);
    return number;
}

} // namespace

std::vector<FileDescriptor> ServiceManager::takeSockets()
{
    const bool areForThis = takeNumber("LISTEN_PID") == getpid();
    const int count = takeNumber("LISTEN_FDS");
    std::vector<FileDescriptor> sockets;
    for (int i = 0; areForThis && i < count; ++i) {
        const int descriptor = firstPassedDescriptor + i;
        if (fcntl(descriptor, F_SETFD, FD_CLOEXEC) == 0)
            sockets.emplace_back(descriptor);
    }
    return sockets;
}

std::optional<std::chrono::milliseconds> ServiceManager::watchdogTimeout()
{
    const std::chrono::microseconds timeout(qgetenv("WATCHDOG_USEC").toLongLong());
    const QByteArray process = qgetenv("WATCHDOG_PID");
    const bool isForThis = process.isEmpty() || process.toLongLong() == getpid();
    if (timeout.count() <= 0 || !isForThis)
        return std::nullopt;
    return std::chrono::duration_cast<std::chrono::milliseconds>(timeout);
}

void ServiceManager::notify(const QByteArray& state)
{
    const QByteArray name = qgetenv("NOTIFY_SOCKET");
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (name.isEmpty() || std::size_t(name.size()) > sizeof(address.sun_path))
        return;
    std::copy(name.cbegin(), name.cend(), address.sun_path);
    // The name of a socket outside the file system begins with NUL, written as @.
    if (name.startsWith('@'))
        address.sun_path[0] = '\0';
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + std::size_t(name.size()));
    static_cast<void>(sendto(
        socket.get(), state.constData(), std::size_t(state.size()), MSG_NOSIGNAL,
        reinterpret_cast<const sockaddr*>(&address), length));
}
