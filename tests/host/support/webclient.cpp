#include "support/webclient.h"

#include "support/keptmessages.h"
#include "support/rpcrequest.h"

#include <QJsonDocument>

namespace {

std::vector<QByteArray> openingFields(const std::vector<QByteArray>& more)
{
    std::vector<QByteArray> fields = {
        "Connection: Upgrade", "Upgrade: websocket", "Sec-WebSocket-Version: 13",
        "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ=="};
    fields.insert(fields.end(), more.cbegin(), more.cend());
    return fields;
}

QByteArray bigEndian(quint64 number, int bytes)
{
    QByteArray text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text.append(static_cast<char>(number >> shift));
    return text;
}

quint64 fromBigEndian(const QByteArray& bytes)
{
    quint64 number = 0;
    for (const char byte : bytes)
        number = number << 8 | static_cast<unsigned char>(byte);
    return number;
}

QByteArray frameLength(int size)
{
    constexpr char masked = '\x80';
    if (size < 126)
        return QByteArray(1, static_cast<char>(masked | size));
    if (size < 65536)
        return QByteArray(1, masked | 126) + bigEndian(static_cast<quint64>(size), 2);
    return QByteArray(1, masked | 127) + bigEndian(static_cast<quint64>(size), 8);
}

} // namespace

int WebClient::Frame::closeCode() const
{
    return opcode == Close ? static_cast<int>(fromBigEndian(payload.left(2))) : 0;
}

WebClient::WebClient(quint16 port, const std::vector<QByteArray>& fields)
    : m_http(port), m_response(m_http.get("/session", openingFields(fields)))
{
}

bool WebClient::send(Opcode opcode, const QByteArray& payload, bool isFinal)
{
    const QByteArray mask = "\x12\x34\x56\x78";
    QByteArray frame(1, static_cast<char>((isFinal ? 0x80 : 0) | opcode));
    frame += frameLength(payload.size()) + mask;
    for (int i = 0; i < payload.size(); ++i)
        frame.append(static_cast<char>(payload.at(i) ^ mask.at(i % 4)));
    return m_http.send(frame);
}

WebClient::Frame WebClient::nextFrame()
{
    const QByteArray start = connection().receive(2);
    if (start.size() < 2)
        return {};
    quint64 size = start.at(1) & 0x7f;
    if (size >= 126)
        size = fromBigEndian(connection().receive(size == 126 ? 2 : 8));
    return {start.at(0) & 0x0f, connection().receive(static_cast<int>(size))};
}

QJsonObject WebClient::nextMessage()
{
    Frame frame = nextFrame();
    for (; frame.opcode == Ping; frame = nextFrame())
        send(Pong, frame.payload);
    return frame.opcode == Text ? QJsonDocument::fromJson(frame.payload).object() : QJsonObject();
}

int WebClient::request(const char* method, const QJsonObject& parameters)
{
    send(Text, rpcRequest(++m_lastId, method, parameters));
    return m_lastId;
}

template<typename Condition>
QJsonObject WebClient::take(const Condition& isWanted)
{
    return takeMessage(
        m_kept, [this] { return nextMessage(); }, isWanted);
}

QJsonObject WebClient::answerTo(int id)
{
    return take([id](const QJsonObject& message) { return message.value(QLatin1String("id")).toInt() == id; });
}

QJsonObject WebClient::call(const char* method, const QJsonObject& parameters)
{
    return answerTo(request(method, parameters));
}

QJsonObject WebClient::nextChange()
{
    const QJsonObject message =
        take([](const QJsonObject& candidate) { return candidate.contains(QLatin1String("method")); });
    return message.value(QLatin1String("params")).toObject();
}

int WebClient::closeCode()
{
    Frame frame = nextFrame();
    while (frame.opcode >= 0 && frame.opcode != Close)
        frame = nextFrame();
    return frame.closeCode();
}

QJsonObject pathParameter(const char* encoded)
{
    return {{QStringLiteral("path"), QString::fromUtf8(encoded)}};
}
