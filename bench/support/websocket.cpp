#include "support/websocket.h"

#include "support/race.h"

#include <array>

namespace {

constexpr char finalFrame = static_cast<char>(0x80);
constexpr char maskedFrame = static_cast<char>(0x80);
constexpr char textKind = 1;
constexpr char pingKind = 9;
constexpr char pongKind = 10;
/// Instead of a payload's size: it follows, in two bytes or in eight.
constexpr unsigned shortSize = 126;
constexpr unsigned longSize = 127;

std::size_t numberIn(std::string_view bytes)
{
    std::size_t number = 0;
    for (const char byte : bytes)
        number = number << 8 | static_cast<unsigned char>(byte);
    return number;
}

} // namespace

WebSocket::WebSocket(int port) : m_socket(port)
{
    open();
}

void WebSocket::open()
{
    m_socket.send("GET /session HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
                  "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n\r\n");
    std::string response;
    std::array<char, 1024> bytes = {};
    // The server says nothing more before it is asked.
    while (response.find("\r\n\r\n") == std::string::npos)
        response.append(bytes.data(), m_socket.receive(bytes.data(), bytes.size()));
    require(response.compare(0, 12, "HTTP/1.1 101") == 0, "the server opens no WebSocket");
}

void WebSocket::send(const std::string& message)
{
    sendFrame(textKind, message);
}

void WebSocket::sendFrame(char kind, std::string_view payload)
{
    std::string frame = {static_cast<char>(finalFrame | kind)};
    if (payload.size() < shortSize)
        frame += static_cast<char>(maskedFrame | static_cast<char>(payload.size()));
    else
        frame.append(
            {static_cast<char>(maskedFrame | static_cast<char>(shortSize)), static_cast<char>(payload.size() >> 8),
             static_cast<char>(payload.size())});
    // This mask changes nothing.
    frame.append(4, '\0').append(payload);
    m_socket.send(frame);
}

std::string_view WebSocket::next()
{
    Frame frame = nextFrame();
    while (frame.kind == pingKind) {
        sendFrame(pongKind, frame.payload);
        frame = nextFrame();
    }
    require(frame.kind == textKind, "the server sent a frame of another kind");
    return frame.payload;
}

std::string_view WebSocket::nextWith(std::string_view text)
{
    std::string_view message = next();
    while (message.find(text) == std::string_view::npos)
        message = next();
    return message;
}

WebSocket::Frame WebSocket::nextFrame()
{
    m_input.erase(0, m_used);
    const std::string_view start = beginning(2);
    const auto kind = static_cast<unsigned char>(start[0] & 0x0F);
    const auto size = static_cast<unsigned char>(start[1]);
    const std::size_t sizeLength = size == longSize ? 8 : size == shortSize ? 2 : 0;
    const std::size_t headSize = 2 + sizeLength;
    const std::size_t payloadSize = sizeLength == 0 ? size : numberIn(beginning(headSize).substr(2));
    m_used = headSize + payloadSize;
    return {kind, beginning(m_used).substr(headSize)};
}

std::string_view WebSocket::beginning(std::size_t size)
{
    std::array<char, 65536> bytes;
    while (m_input.size() < size)
        m_input.append(bytes.data(), m_socket.receive(bytes.data(), bytes.size()));
    return std::string_view(m_input).substr(0, size);
}
