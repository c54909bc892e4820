#pragma once

#include "content/result.h"
#include "http/listenaddress.h"
#include "process/filedescriptor.h"

/// A TCP socket that accepts connections.
struct ListeningSocket
{
    FileDescriptor descriptor;
    /// With the port that it got.
    ListenAddress address;

    /// The name of the failure where somebody else listens already.
    static constexpr char addressInUse[] = "addressInUse";

    /// Fails with a message that names the address.
    [[nodiscard]] static Result<ListeningSocket> open(const ListenAddress& address);
    /// Takes a socket that somebody else has bound. Fails if it is none that listens at an IP address.
    [[nodiscard]] static Result<ListeningSocket> adopt(FileDescriptor descriptor);
};

/// The address of one end of a socket, as the system's calls give it.
[[nodiscard]] std::optional<ListenAddress> localAddress(int socket);
[[nodiscard]] std::optional<ListenAddress> remoteAddress(int socket);
