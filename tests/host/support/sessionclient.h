#pragma once

#include "support/tavo.h"

#include <QJsonObject>
#include <QList>

/// A client of "tavo session".
class SessionClient
{
public:
    SessionClient() = default;
    explicit SessionClient(const QStringList& arguments) { start(arguments); }

    /// `arguments` come before the command, `options` behind it.
    void start(const QStringList& arguments, const QStringList& options = {});

    [[nodiscard]] Tavo& program() { return m_program; }

    void send(const QByteArray& line) { m_program.write(line + '\n'); }
    /// Sends a request and returns its id.
    int request(const QString& method, const QJsonValue& parameters);
    /// The next message of any kind; empty at the end.
    [[nodiscard]] QJsonObject next();
    /// The answer to a request. Other messages that arrive before it are kept for later.
    [[nodiscard]] QJsonObject answerTo(int id);
    /// How many messages are kept.
    [[nodiscard]] int kept() const { return m_kept.size(); }
    /// The answer of a new request.
    [[nodiscard]] QJsonObject call(const QString& method, const QJsonValue& parameters = QJsonValue::Undefined);
    /// The parameters of the next rowsChanged.
    [[nodiscard]] QJsonObject nextChange();

private:
    template<typename Condition>
    [[nodiscard]] QJsonObject take(const Condition& isWanted);

    Tavo m_program;
    int m_lastId = 0;
    QList<QJsonObject> m_kept;
};

/// 0 if the answer is a result.
[[nodiscard]] int errorCode(const QJsonObject& answer);
