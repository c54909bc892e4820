#pragma once

#include <QByteArray>

#include <array>
#include <atomic>
#include <chrono>

/// Counts the work of the server since its start. Thread-safe; counting takes a few nanoseconds.
class Metrics
{
public:
    using Duration = std::chrono::steady_clock::duration;

    /// Counts that are kept elsewhere.
    struct Content
    {
        qint64 listings = 0;
        qint64 openPaths = 0;
        qint64 watches = 0;
    };

    void connectionOpened() { ++m_connections; }
    void connectionClosed() { --m_connections; }
    /// A connection that is closed at once, because there are too many.
    void connectionRefused() { ++m_refusedConnections; }
    /// A client is a WebSocket.
    void clientConnected() { ++m_clients; }
    void clientDisconnected() { --m_clients; }

    /// `bytes`: of the body, as sent. `duration`: from the end of the request's head to the end of the response.
    void requestAnswered(const QByteArray& method, int status, qint64 bytes, Duration duration);
    void messageReceived(qint64 bytes);
    void messageSent(qint64 bytes);
    /// A request of the session's protocol that was answered with an error, over a WebSocket or posted.
    void messageRefused() { ++m_errors; }
    /// A notification of one client: of a change, or that a path was closed.
    void changeSent() { ++m_changes; }

    /// The text of a scrape, in the format of Prometheus.
    [[nodiscard]] QByteArray toText(const Content& content) const;

private:
    using Counter = std::atomic<qint64>;
    static constexpr std::size_t methodCount = 4;
    static constexpr std::size_t classCount = 5;
    static constexpr std::size_t bucketCount = 7;

    void appendRequests(QByteArray& text) const;
    void appendDurations(QByteArray& text) const;

    Counter m_connections = 0;
    Counter m_refusedConnections = 0;
    Counter m_clients = 0;
    Counter m_changes = 0;
    Counter m_errors = 0;
    Counter m_receivedMessages = 0;
    Counter m_sentMessages = 0;
    Counter m_receivedBytes = 0;
    Counter m_sentBytes = 0;
    /// By method and the status's first digit.
    std::array<std::array<Counter, classCount>, methodCount> m_requests = {};
    /// By the bucket's longest duration; the last bucket has no limit.
    std::array<Counter, bucketCount> m_durations = {};
    Counter m_nanoseconds = 0;
};
