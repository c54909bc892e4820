#include "sessionclient.h"

#include "support/keptmessages.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

void SessionClient::start(const QStringList& arguments, const QStringList& options)
{
    m_program.start(arguments + QStringList{QStringLiteral("session")} + options);
}

int SessionClient::request(const QString& method, const QJsonValue& parameters)
{
    QJsonObject message{
        {QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
        {QStringLiteral("id"), ++m_lastId},
        {QStringLiteral("method"), method}};
    if (!parameters.isUndefined())
        message.insert(QStringLiteral("params"), parameters);
    send(QJsonDocument(message).toJson(QJsonDocument::Compact));
    return m_lastId;
}

QJsonObject SessionClient::next()
{
    const QByteArray line = m_program.readLine();
    if (line.isNull())
        return {};
    const QJsonDocument message = QJsonDocument::fromJson(line);
    EXPECT_TRUE(message.isObject()) << line.toStdString();
    EXPECT_EQ(message.object().value(QLatin1String("jsonrpc")).toString(), QStringLiteral("2.0")) << line.toStdString();
    return message.object();
}

template<typename Condition>
QJsonObject SessionClient::take(const Condition& isWanted)
{
    return takeMessage(
        m_kept, [this] { return next(); }, isWanted);
}

QJsonObject SessionClient::answerTo(int id)
{
    return take([id](const QJsonObject& message) { return message.value(QLatin1String("id")).toInt() == id; });
}

QJsonObject SessionClient::call(const QString& method, const QJsonValue& parameters)
{
    return answerTo(request(method, parameters));
}

QJsonObject SessionClient::nextChange()
{
    const QJsonObject message = take([](const QJsonObject& candidate) {
        return candidate.value(QLatin1String("method")).toString() == QStringLiteral("rowsChanged");
    });
    return message.value(QLatin1String("params")).toObject();
}

int errorCode(const QJsonObject& answer)
{
    return answer.value(QLatin1String("error")).toObject().value(QLatin1String("code")).toInt();
}
