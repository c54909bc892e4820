#include "http/metrics.h"

#include <algorithm>

namespace {

constexpr std::array methods = {"GET", "HEAD", "POST", "other"};
constexpr std::array<std::chrono::milliseconds, 6> bounds = {
    std::chrono::milliseconds(1),   std::chrono::milliseconds(5),    std::chrono::milliseconds(25),
    std::chrono::milliseconds(100), std::chrono::milliseconds(1000), std::chrono::milliseconds(10'000)};
constexpr int firstDigitOf = 100;

std::size_t methodIndex(const QByteArray& method)
{
    const auto* const known = std::find(methods.cbegin(), methods.cend() - 1, method);
    return static_cast<std::size_t>(known - methods.cbegin());
}

QByteArray seconds(std::chrono::nanoseconds duration)
{
    constexpr int digits = 15;
    return QByteArray::number(std::chrono::duration<double>(duration).count(), 'g', digits);
}

void appendHeader(QByteArray& text, const QByteArray& name, const char* type, const char* help)
{
    text += "# HELP tavo_" + name + ' ' + help + "\n# TYPE tavo_" + name + ' ' + type + '\n';
}

void appendSample(QByteArray& text, const QByteArray& name, qint64 value)
{
    text += "tavo_" + name + ' ' + QByteArray::number(value) + '\n';
}

void appendGauge(QByteArray& text, const QByteArray& name, const char* help, qint64 value)
{
    appendHeader(text, name, "gauge", help);
    appendSample(text, name, value);
}

void appendCounter(QByteArray& text, const QByteArray& name, const char* help, qint64 value)
{
    appendHeader(text, name, "counter", help);
    appendSample(text, name, value);
}

} // namespace

void Metrics::requestAnswered(const QByteArray& method, int status, qint64 bytes, Duration duration)
{
    const int digit = std::clamp(status / firstDigitOf, 1, static_cast<int>(classCount));
    ++m_requests.at(methodIndex(method)).at(static_cast<std::size_t>(digit - 1));
    const auto* const bound =
        std::find_if(bounds.cbegin(), bounds.cend(), [duration](auto b) { return duration <= b; });
    ++m_durations.at(static_cast<std::size_t>(bound - bounds.cbegin()));
    m_nanoseconds += std::chrono::nanoseconds(duration).count();
    m_sentBytes += bytes;
}

void Metrics::messageReceived(qint64 bytes)
{
    ++m_receivedMessages;
    m_receivedBytes += bytes;
}

void Metrics::messageSent(qint64 bytes)
{
    ++m_sentMessages;
    m_sentBytes += bytes;
}

QByteArray Metrics::toText(const Content& content) const
{
    QByteArray text;
    appendGauge(text, "connections", "Open connections.", m_connections);
    appendCounter(text, "connections_refused_total", "Connections above the limits.", m_refusedConnections);
    appendGauge(text, "clients", "Connected WebSocket clients.", m_clients);
    appendCounter(text, "messages_received_total", "Messages from WebSocket clients.", m_receivedMessages);
    appendCounter(text, "messages_sent_total", "Messages to WebSocket clients.", m_sentMessages);
    appendCounter(text, "received_bytes_total", "Bytes of messages from WebSocket clients.", m_receivedBytes);
    appendCounter(text, "sent_bytes_total", "Bytes of bodies and messages that were sent.", m_sentBytes);
    appendCounter(text, "changes_total", "Notifications of changes, and of paths that were closed.", m_changes);
    appendCounter(text, "listings_total", "Listings of containers.", content.listings);
    appendCounter(text, "errors_total", "Errors in answer to messages and posted requests.", m_errors);
    appendGauge(text, "watches", "Directories and files that the kernel watches.", content.watches);
    appendGauge(text, "open_paths", "Paths that clients have open.", content.openPaths);
    appendRequests(text);
    appendDurations(text);
    return text;
}

void Metrics::appendRequests(QByteArray& text) const
{
    appendHeader(text, "requests_total", "counter", "Answered requests, errors included.");
    for (std::size_t method = 0; method < methodCount; ++method) {
        for (std::size_t digit = 0; digit < classCount; ++digit) {
            const QByteArray labels = QByteArray("{method=\"") + methods.at(method) + "\",status=\"" +
                                      QByteArray::number(static_cast<int>(digit + 1)) + "xx\"}";
            appendSample(text, "requests_total" + labels, m_requests.at(method).at(digit));
        }
    }
}

void Metrics::appendDurations(QByteArray& text) const
{
    const QByteArray name = "request_duration_seconds";
    appendHeader(text, name, "histogram", "From the request to the end of its response.");
    qint64 sum = 0;
    for (std::size_t bucket = 0; bucket < bucketCount; ++bucket) {
        sum += m_durations.at(bucket);
        const QByteArray bound = bucket < bounds.size() ? seconds(bounds.at(bucket)) : "+Inf";
        appendSample(text, name + "_bucket{le=\"" + bound + "\"}", sum);
    }
    text += "tavo_" + name + "_sum " + seconds(std::chrono::nanoseconds(m_nanoseconds)) + '\n';
    appendSample(text, name + "_count", sum);
}
