#pragma once

#include <QtGlobal>

#include <cstddef>
#include <string_view>

/// A blocking TCP connection to a server of this machine.
class Socket
{
public:
    /// A port that nobody listens at. Another program can take it, but the system gives it away late.
    [[nodiscard]] static int freePort();
    [[nodiscard]] static bool canConnect(int port);

    explicit Socket(int port);
    ~Socket();
    Q_DISABLE_COPY_MOVE(Socket)

    [[nodiscard]] int descriptor() const { return m_descriptor; }

    void send(std::string_view bytes) const;
    /// Waits for at least one byte and returns how many have come. The end of the connection ends the program.
    [[nodiscard]] std::size_t receive(char* bytes, std::size_t size) const;
    /// As receive(), but drops the bytes without copying them.
    [[nodiscard]] std::size_t discard(std::size_t size) const;

private:
    Socket();
    /// Returns false if nobody listens there.
    [[nodiscard]] bool connectTo(int port) const;

    int m_descriptor;
};
