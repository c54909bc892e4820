#pragma once

#include "support/socket.h"

#include <string>

/// A connection that is kept for one GET after the other. The bodies of the responses are dropped.
class HttpClient
{
public:
    explicit HttpClient(int port) : m_socket(port) {}

    [[nodiscard]] int descriptor() const { return m_socket.descriptor(); }

    void request(const std::string& target);
    /// `first`: offset in the file. `length`: bytes.
    void request(const std::string& target, std::size_t first, std::size_t length);
    /// Waits for a part of the response, and returns true if that is the last one. A refusal ends the program.
    [[nodiscard]] bool receive();
    void receiveAll();

private:
    void requestWith(const std::string& target, const std::string& fields);
    void receiveHead();

    Socket m_socket;
    bool m_hasHead = false;
    /// Bytes of the body.
    std::size_t m_left = 0;
};
