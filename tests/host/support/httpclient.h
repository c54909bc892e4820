#pragma once

#include "support/rawconnection.h"

#include <QByteArray>

#include <vector>

/// A response as it came.
struct HttpResponse
{
    /// 0: there was none.
    int status = 0;
    /// The status line and the fields.
    QByteArray head;
    QByteArray body;

    /// The value of the field, whose name may be in any case; null if there is none.
    [[nodiscard]] QByteArray field(const QByteArray& name) const;
};

/// Speaks HTTP/1.1 over one connection that stays open.
class HttpClient
{
public:
    explicit HttpClient(quint16 port, const char* address = "127.0.0.1") : m_connection(port, address) {}

    /// `fields`: whole lines, as in "Range: bytes=0-1". Without a Host among them it is "localhost".
    [[nodiscard]] HttpResponse get(const QByteArray& target, const std::vector<QByteArray>& fields = {});
    [[nodiscard]] HttpResponse head(const QByteArray& target, const std::vector<QByteArray>& fields = {});
    [[nodiscard]] HttpResponse
    post(const QByteArray& target, const QByteArray& body, const std::vector<QByteArray>& fields);
    /// Posts a message of JSON-RPC.
    [[nodiscard]] HttpResponse rpc(const QByteArray& message);

    /// False if the server takes no more.
    bool send(const QByteArray& bytes) { return m_connection.send(bytes); }
    /// The next response. In answer to HEAD it has no body.
    [[nodiscard]] HttpResponse receive(bool isHead = false);
    [[nodiscard]] RawConnection& connection() { return m_connection; }

private:
    RawConnection m_connection;
};

/// The text of a request, through the empty line. `fields` as for HttpClient.
[[nodiscard]] QByteArray
requestText(const QByteArray& method, const QByteArray& target, const std::vector<QByteArray>& fields = {});

/// The one response to these bytes on a connection of their own.
[[nodiscard]] HttpResponse exchange(quint16 port, const QByteArray& bytes);
