#pragma once

#include "rpc/message.h"

#include <tavo/tavojson.h>

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <optional>
#include <variant>

/// The messages of JSON-RPC 2.0, each one line without its end. Values are as parseJson() gives them.
namespace JsonRpc {

enum ErrorCode {
    ParseError = -32700,
    InvalidRequest = -32600,
    MethodNotFound = -32601,
    InvalidParameters = -32602,
    /// The first of those that are an application's own.
    WorkerRefused = -32000,
    WorkerUnanswered = -32001,
    /// The request was cancelled, or the host is stopping.
    Cancelled = -32002,
    /// The answer would be longer than the limit.
    AnswerTooLarge = -32003,
    /// The host has too many requests under way.
    Overloaded = -32004
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
    /// String, number or null. Nothing: the client wants no answer.
    std::optional<QVariant> id;
    QString method;
    /// QVariantMap or QVariantList. Nothing: the message has none.
    std::optional<QVariant> parameters;
};

/// A message that is no request, and the id to answer under: null if it is not known.
struct Malformed
{
    QVariant id;
    Error error;
};

[[nodiscard]] std::variant<Request, Malformed> parse(const QByteArray& message);

/// `json`: the result as TavoJson::write() makes it; it becomes the body.
[[nodiscard]] Message result(const QVariant& id, const QByteArray& json);
/// Without a limit: errors and notifications are short. `id` null: it is not known.
[[nodiscard]] QByteArray error(const QVariant& id, const Error& error);
[[nodiscard]] QByteArray notification(const QString& method, const QVariantHash& parameters);

} // namespace JsonRpc
