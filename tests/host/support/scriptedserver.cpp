#include "support/scriptedserver.h"

#include <QRegularExpression>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

quint16 listenAnywhere(int socket)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    const bool listens = bind(socket, name, size) == 0 && listen(socket, SOMAXCONN) == 0;
    const bool isNamed = listens && getsockname(socket, name, &size) == 0;
    Q_ASSERT(isNamed);
    return ntohs(address.sin_port);
}

QByteArray receiveRequest(RawConnection& connection)
{
    static const QRegularExpression length(QStringLiteral("\r\nContent-Length: (\\d+)\r\n"));
    const QByteArray head = connection.receiveUntil("\r\n\r\n");
    return head + connection.receive(length.match(QString::fromLatin1(head)).captured(1).toInt());
}

} // namespace

ScriptedServer::ScriptedServer(Answer answer)
    : m_answer(std::move(answer)), m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)),
      m_port(listenAnywhere(m_socket)), m_thread([this] { run(); })
{
}

ScriptedServer::~ScriptedServer()
{
    shutdown(m_socket, SHUT_RDWR);
    m_thread.join();
    close(m_socket);
}

QString ScriptedServer::url() const
{
    return QStringLiteral("http://127.0.0.1:%1/").arg(m_port);
}

void ScriptedServer::run() const
{
    for (int accepted = 0; (accepted = accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
        RawConnection connection = RawConnection::adopt(accepted);
        connection.send(m_answer(receiveRequest(connection)));
    }
}

QByteArray httpResponse(const QByteArray& body, const QByteArray& status, const QByteArray& fields)
{
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" + fields + "\r\n" +
           body;
}
