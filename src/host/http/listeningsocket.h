#pragma once

#include "content/result.h"
#include "http/listenaddress.h"
#include "process/filedescriptor.h"

/// A TCP socket that accepts connections.
struct ListeningSocket
{
    FileDescriptor descriptor;
    /// Never has port 0.
    ListenAddress address;

    /// The name of the failure if another process already listens there.
    static constexpr char addressInUse[] = "addressInUse";

    /// Fails with a message that names the address.
    [[nodiscard]] static Result<ListeningSocket> open(const ListenAddress& address);
    /// Takes over a socket that another process has bound. Fails unless it listens at an IP address.
    [[nodiscard]] static Result<ListeningSocket> adopt(FileDescriptor descriptor);
};

/// The address of one end of a connected or bound socket; nothing if it is not an IP address.
[[nodiscard]] std::optional<ListenAddress> localAddress(int socket);
[[nodiscard]] std::optional<ListenAddress> remoteAddress(int socket);
