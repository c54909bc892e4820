#include "support/httpclient.h"

#include <QList>

#include <algorithm>

QByteArray HttpResponse::field(const QByteArray& name) const
{
    for (const QByteArray& line : head.split('\n')) {
        const int colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).toLower() == name.toLower())
            return line.mid(colon + 1).trimmed();
    }
    return {};
}

HttpResponse HttpClient::get(const QByteArray& target, const std::vector<QByteArray>& fields)
{
    send(requestText("GET", target, fields));
    return receive();
}

HttpResponse HttpClient::head(const QByteArray& target, const std::vector<QByteArray>& fields)
{
    send(requestText("HEAD", target, fields));
    return receive(true);
}

HttpResponse HttpClient::post(const QByteArray& target, const QByteArray& body, const std::vector<QByteArray>& fields)
{
    std::vector<QByteArray> all = fields;
    all.push_back("Content-Length: " + QByteArray::number(body.size()));
    send(requestText("POST", target, all) + body);
    return receive();
}

HttpResponse HttpClient::rpc(const QByteArray& message)
{
    return post("/rpc", message, {"Content-Type: application/json"});
}

HttpResponse HttpClient::receive(bool isHead)
{
    HttpResponse response;
    response.head = m_connection.receiveUntil("\r\n\r\n");
    response.status = response.head.startsWith("HTTP/1.1 ") ? response.head.mid(9, 3).toInt() : 0;
    if (!isHead)
        response.body = m_connection.receive(response.field("Content-Length").toInt());
    return response;
}

QByteArray requestText(const QByteArray& method, const QByteArray& target, const std::vector<QByteArray>& fields)
{
    QByteArray text = method + ' ' + target + " HTTP/1.1\r\n";
    const bool hasHost = std::any_of(
        fields.cbegin(), fields.cend(), [](const QByteArray& field) { return field.toLower().startsWith("host:"); });
    if (!hasHost)
        text += "Host: localhost\r\n";
    for (const QByteArray& field : fields)
        text += field + "\r\n";
    return text + "\r\n";
}

HttpResponse exchange(quint16 port, const QByteArray& bytes)
{
    HttpClient client(port);
    client.send(bytes);
    return client.receive();
}
