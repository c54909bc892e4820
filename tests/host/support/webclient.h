#pragma once

#include "support/httpclient.h"

#include <QJsonObject>
#include <QList>

/// A client of the session's protocol over a WebSocket. It can break the rules, too.
class WebClient
{
public:
    enum Opcode { Continuation = 0, Text = 1, Binary = 2, Close = 8, Ping = 9, Pong = 10 };

    struct Frame
    {
        /// Negative: the connection has ended.
        int opcode = -1;
        QByteArray payload;

        /// Of a close frame.
        [[nodiscard]] int closeCode() const;
    };

    /// Asks for a WebSocket; `fields` as for HttpClient.
    explicit WebClient(quint16 port, const std::vector<QByteArray>& fields = {});

    /// To the request for a WebSocket: 101 if it is open.
    [[nodiscard]] const HttpResponse& response() const { return m_response; }
    [[nodiscard]] RawConnection& connection() { return m_http.connection(); }

    /// Sends a masked frame; false if the server takes no more.
    bool send(Opcode opcode, const QByteArray& payload, bool isFinal = true);
    /// The next frame of any kind.
    [[nodiscard]] Frame nextFrame();

    /// Sends a request and returns its id.
    int request(const char* method, const QJsonObject& parameters = {});
    /// The answer to a request. Other messages that arrive before it are kept for later; pings are answered.
    [[nodiscard]] QJsonObject answerTo(int id);
    [[nodiscard]] QJsonObject call(const char* method, const QJsonObject& parameters = {});
    /// The parameters of the next rowsChanged.
    [[nodiscard]] QJsonObject nextChange();
    /// The code with which the server closes the WebSocket; 0 if the connection just ends.
    [[nodiscard]] int closeCode();

private:
    [[nodiscard]] QJsonObject nextMessage();
    template<typename Condition>
    [[nodiscard]] QJsonObject take(const Condition& isWanted);

    HttpClient m_http;
    HttpResponse m_response;
    int m_lastId = 0;
    QList<QJsonObject> m_kept;
};

/// The parameter that most methods have.
[[nodiscard]] QJsonObject pathParameter(const char* encoded);
