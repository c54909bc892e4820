#pragma once

#include "support/rawconnection.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <thread>

/// A server of HTTP, each of whose answers is the test's.
class ScriptedServer
{
public:
    /// Gets a whole request, and gives the whole response; an empty one closes the connection. Called in a thread of
    /// its own, once for each connection.
    using Answer = std::function<QByteArray(const QByteArray& request)>;

    explicit ScriptedServer(Answer answer);
    /// Waits for the answer that is being made.
    ~ScriptedServer();
    Q_DISABLE_COPY_MOVE(ScriptedServer)

    [[nodiscard]] quint16 port() const { return m_port; }
    [[nodiscard]] QString url() const;

private:
    void run() const;

    const Answer m_answer;
    const int m_socket;
    quint16 m_port = 0;
    std::thread m_thread;
};

/// `fields`: whole lines, each with its end.
[[nodiscard]] QByteArray
httpResponse(const QByteArray& body, const QByteArray& status = "200 OK", const QByteArray& fields = {});
