#include "remote/rpcclient.h"

#include "language/translatable.h"
#include "remote/httppost.h"
#include "rpc/jsonparser.h"
#include "rpc/jsonrpc.h"

#include <tavo/tavojson.h>

namespace {

Failure refused(const char* message, const QList<TrArg>& arguments, const QString& name = {})
{
    return {Failure::Kind::Refused, translatable(message, arguments), name};
}

Failure unauthorized(const HttpPost& post)
{
    const char* const message = post.token.isEmpty()
                                    ? QT_TRANSLATE_NOOP("Host", "the server at %1 needs a token: --token-file FILE")
                                    : QT_TRANSLATE_NOOP("Host", "the server at %1 does not accept the token");
    return refused(message, {post.server.toUrl()}, QLatin1String(RpcClient::unauthorized));
}

Failure failureOf(const HttpPost& post, const HttpPost::Reply& reply)
{
    const QString url = post.server.toUrl();
    const QString status = QStringLiteral("%1 %2").arg(reply.status).arg(QString::fromUtf8(reply.reason));
    switch (reply.status) {
    case 401:
        return unauthorized(post);
    case 404:
    case 405:
        return refused(QT_TRANSLATE_NOOP("Host", "no tavo server answers at %1 (status %2)"), {url, status});
    case 421:
        return refused(
            QT_TRANSLATE_NOOP("Host", "the server at %1 does not serve that name: 'tavo serve --host NAME' allows it"),
            {url});
    case 429:
        return refused(
            QT_TRANSLATE_NOOP("Host", "the server at %1 was sent too many wrong tokens: wait for a minute"), {url});
    default:
        return refused(QT_TRANSLATE_NOOP("Host", "the server at %1 refuses with status %2"), {url, status});
    }
}

Failure::Kind kindOf(int code)
{
    switch (code) {
    case JsonRpc::WorkerUnanswered:
        return Failure::Kind::Unanswered;
    case JsonRpc::Cancelled:
        return Failure::Kind::Cancelled;
    case JsonRpc::AnswerTooLarge:
        return Failure::Kind::TooLarge;
    case JsonRpc::Overloaded:
        return Failure::Kind::Busy;
    default:
        return Failure::Kind::Refused;
    }
}

Failure failureFrom(const QVariantMap& error)
{
    const QVariantMap data = error.value(QStringLiteral("data")).toMap();
    return {
        kindOf(error.value(QStringLiteral("code")).toInt()), error.value(QStringLiteral("message")).toString(),
        data.value(QStringLiteral("name")).toString(), data.value(QStringLiteral("title")).toString()};
}

Result<QVariant> resultIn(const QByteArray& message, const ServerAddress& server)
{
    const std::variant<QVariant, JsonProblem> parsed = parseJson(message);
    const auto* const value = std::get_if<QVariant>(&parsed);
    const QVariantMap answer = value ? value->toMap() : QVariantMap();
    if (answer.contains(QStringLiteral("error")))
        return failureFrom(answer.value(QStringLiteral("error")).toMap());
    if (!answer.contains(QStringLiteral("result")))
        return refused(QT_TRANSLATE_NOOP("Host", "what answers at %1 is no tavo server"), {server.toUrl()});
    return answer.value(QStringLiteral("result"));
}

QByteArray requestText(const QString& method, const QVariantHash& parameters)
{
    const QVariantHash request{
        {QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
        {QStringLiteral("id"), 1},
        {QStringLiteral("method"), method},
        {QStringLiteral("params"), parameters}};
    return TavoJson::write(request).value();
}

} // namespace

Result<QVariant> RpcClient::call(const QString& method, const QVariantHash& parameters) const
{
    const HttpPost post{m_server, "/rpc", m_token, requestText(method, parameters)};
    const Result<HttpPost::Reply> reply = post.send(m_patience);
    if (!reply)
        return reply.failure();
    constexpr int success = 200;
    if (reply.value().status != success)
        return failureOf(post, reply.value());
    return resultIn(reply.value().body, m_server);
}
