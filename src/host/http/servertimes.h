#pragma once

#include <chrono>

/// How long a server waits.
struct ServerTimes
{
    using Time = std::chrono::milliseconds;

    /// Until a request begins, and between two steps of a response.
    Time idle = std::chrono::seconds(60);
    /// For the whole head of a request, from its first byte.
    Time head = std::chrono::seconds(10);
    /// For the whole body of a request.
    Time body = std::chrono::seconds(30);
    /// For the client to close its end after the last response.
    Time lastResponse = std::chrono::seconds(2);

    /// For the opening of a WebSocket, and for its closing once nothing else is being written.
    Time handshake = std::chrono::seconds(10);
    /// Between an answer to a ping and the next ping.
    Time ping = std::chrono::seconds(20);
    /// For the answer to a ping.
    Time pong = std::chrono::seconds(10);
    /// For what is being written to a WebSocket that the server closes, and for the client's own close.
    Time close = std::chrono::seconds(10);

    /// Between two looks at the file with the token.
    Time token = std::chrono::seconds(2);
};
