#pragma once

#include "remote/serveraddress.h"

#include <QByteArray>

#include <chrono>

/// A message of JSON for a server.
struct HttpPost
{
    ServerAddress server;
    /// Below the server's folder, as in "/rpc".
    QByteArray path;
    /// Empty: none.
    QByteArray token;
    QByteArray body;

    struct Reply
    {
        int status = 0;
        QByteArray reason;
        QByteArray body;
    };

    /// Sends it over a connection of its own and waits for the reply, for each of the two as long as `patience` says.
    /// Fails, with a message that names the server, if there is no reply.
    [[nodiscard]] Result<Reply> send(std::chrono::milliseconds patience) const;
};
