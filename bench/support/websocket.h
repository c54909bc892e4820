#pragma once

#include "support/socket.h"

#include <string>

/// A client of the session's protocol over a WebSocket.
class WebSocket
{
public:
    explicit WebSocket(int port);

    [[nodiscard]] int descriptor() const { return m_socket.descriptor(); }

    /// `message`: less than 64 KiB.
    void send(const std::string& message);
    /// Waits for the next message, which is valid until the next call. Answers pings.
    [[nodiscard]] std::string_view next();
    /// Waits for the next message that contains the text, and drops those before it.
    std::string_view nextWith(std::string_view text);

private:
    struct Frame
    {
        unsigned char kind;
        std::string_view payload;
    };

    void open();
    void sendFrame(char kind, std::string_view payload);
    [[nodiscard]] Frame nextFrame();
    /// Waits until so many bytes of the frame have come, and returns them.
    [[nodiscard]] std::string_view beginning(std::size_t size);

    Socket m_socket;
    std::string m_input;
    /// Bytes of the frame before.
    std::size_t m_used = 0;
};
