#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QString>
#include <QVariant>

#include <variant>

/// The messages of JSON-RPC 2.0, each one line without its end.
namespace JsonRpc {

enum ErrorCode {
    ParseError = -32700,
    InvalidRequest = -32600,
    MethodNotFound = -32601,
    InvalidParameters = -32602,
    /// The first of those that are an application's own.
    WorkerRefused = -32000,
    WorkerUnanswered = -32001
};

struct Error
{
    ErrorCode code;
    QString message;
    /// Empty: none.
    QVariantHash data = {};
};

struct Request
{
    /// Undefined if no answer is wanted.
    QJsonValue id;
    QString method;
    /// Object, array or undefined.
    QJsonValue parameters;
};

/// A message that is no request, and the id under which to say so.
struct Malformed
{
    QJsonValue id;
    Error error;
};

[[nodiscard]] std::variant<Request, Malformed> parse(const QByteArray& message);

[[nodiscard]] QByteArray result(const QJsonValue& id, const QVariant& value);
[[nodiscard]] QByteArray error(const QJsonValue& id, const Error& error);
[[nodiscard]] QByteArray notification(const QString& method, const QVariantHash& parameters);

} // namespace JsonRpc
