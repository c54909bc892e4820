#include "support/rpcrequest.h"

#include <QJsonDocument>

QByteArray rpcRequest(int id, const char* method, const QJsonObject& parameters)
{
    const QJsonObject message{
        {QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
        {QStringLiteral("id"), id},
        {QStringLiteral("method"), QString::fromLatin1(method)},
        {QStringLiteral("params"), parameters}};
    return QJsonDocument(message).toJson(QJsonDocument::Compact);
}
