#pragma once

#include <QByteArray>

#include <chrono>

/// A TCP connection to this machine, without any protocol. Every wait has a limit; what takes longer counts as the end.
class RawConnection
{
public:
    /// A failed attempt ends the test program.
    explicit RawConnection(quint16 port, const char* address = "127.0.0.1");
    /// Takes a connected socket.
    [[nodiscard]] static RawConnection adopt(int socket) { return RawConnection(Adopted{socket}); }
    ~RawConnection();
    RawConnection(RawConnection&& other) noexcept;
    RawConnection& operator=(RawConnection&&) = delete;
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    /// False if the other end takes no more.
    bool send(const QByteArray& bytes);
    /// The other end sees the end of the input.
    void finishSending();

    /// Exactly so many bytes; fewer at the end.
    [[nodiscard]] QByteArray receive(int count);
    /// Through the first occurrence of the text; all there is if it does not come.
    [[nodiscard]] QByteArray receiveUntil(const QByteArray& text);
    /// Everything until the other end closes or resets the connection.
    [[nodiscard]] QByteArray receiveAll();
    /// Whether input or the end arrives within this time.
    [[nodiscard]] bool isReadable(std::chrono::milliseconds limit) const;
    /// True if the other end closes or resets the connection; drops what it sends before.
    [[nodiscard]] bool isClosedByPeer();

private:
    struct Adopted
    {
        int socket;
    };
    explicit RawConnection(Adopted adopted) : m_socket(adopted.socket) {}

    /// Waits for more input; false at the end.
    [[nodiscard]] bool fill();
    [[nodiscard]] QByteArray take(int count);

    int m_socket;
    QByteArray m_buffer;
    bool m_hasEnded = false;
};
