#include "rpc/jsonrpc.h"

#include "rpc/jsonparser.h"

namespace {

QVariant null()
{
    return QVariant::fromValue(nullptr);
}

JsonRpc::Malformed invalidRequest(const QVariant& id, const QString& why)
{
    return {id, {JsonRpc::InvalidRequest, why}};
}

JsonRpc::Malformed malformedFrom(const JsonProblem& problem)
{
    switch (problem.kind) {
    case JsonProblem::Kind::Syntax:
        return {null(), {JsonRpc::ParseError, QStringLiteral("not JSON: ") + problem.message}};
    case JsonProblem::Kind::Size:
        return {null(), {JsonRpc::ParseError, QStringLiteral("the message is too large: ") + problem.message}};
    case JsonProblem::Kind::RepeatedName:
        break;
    }
    return invalidRequest(null(), problem.message);
}

bool isId(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QString:
    case QMetaType::LongLong:
    case QMetaType::Double:
    case QMetaType::Nullptr:
        return true;
    default:
        return false;
    }
}

bool isString(const QVariant& value)
{
    return value.userType() == QMetaType::QString;
}

bool isParameters(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantMap || value.userType() == QMetaType::QVariantList;
}

std::optional<QVariant> fieldOf(const QVariantMap& message, const QString& name)
{
    const auto field = message.constFind(name);
    return field == message.cend() ? std::nullopt : std::optional(*field);
}

std::variant<JsonRpc::Request, JsonRpc::Malformed> requestFrom(const QVariantMap& message)
{
    const std::optional<QVariant> id = fieldOf(message, QStringLiteral("id"));
    if (id && !isId(*id))
        return invalidRequest(null(), QStringLiteral("the id is neither string nor number"));
    const QVariant answerId = id.value_or(null());
    const QVariant version = message.value(QStringLiteral("jsonrpc"));
    if (!isString(version) || version.toString() != QLatin1String("2.0"))
        return invalidRequest(answerId, QStringLiteral("not a message of JSON-RPC 2.0"));
    const QVariant method = message.value(QStringLiteral("method"));
    if (!isString(method))
        return invalidRequest(answerId, QStringLiteral("the method is no string"));
    const std::optional<QVariant> parameters = fieldOf(message, QStringLiteral("params"));
    if (parameters && !isParameters(*parameters))
        return invalidRequest(answerId, QStringLiteral("the parameters are neither object nor array"));
    return JsonRpc::Request{id, method.toString(), parameters};
}

/// Up to the value of the member.
QByteArray answerStart(const QVariant& id, const char* member)
{
    return R"({"jsonrpc":"2.0","id":)" + TavoJson::write(id).value() + ",\"" + member + "\":";
}

} // namespace

std::variant<JsonRpc::Request, JsonRpc::Malformed> JsonRpc::parse(const QByteArray& message)
{
    const std::variant<QVariant, JsonProblem> parsed = parseJson(message);
    if (const auto* problem = std::get_if<JsonProblem>(&parsed))
        return malformedFrom(*problem);
    const auto& value = std::get<QVariant>(parsed);
    if (value.userType() == QMetaType::QVariantList)
        return invalidRequest(null(), QStringLiteral("batches are not served, send one message a line"));
    if (value.userType() != QMetaType::QVariantMap)
        return invalidRequest(null(), QStringLiteral("the message is no object"));
    return requestFrom(value.toMap());
}

Message JsonRpc::result(const QVariant& id, const QByteArray& json)
{
    return {answerStart(id, "result"), json, QByteArrayLiteral("}")};
}

QByteArray JsonRpc::error(const QVariant& id, const Error& error)
{
    QVariantHash fields{{QStringLiteral("code"), int(error.code)}, {QStringLiteral("message"), error.message}};
    if (!error.data.isEmpty())
        fields.insert(QStringLiteral("data"), error.data);
    return answerStart(id, "error") + TavoJson::write(fields).value() + '}';
}

QByteArray JsonRpc::notification(const QString& method, const QVariantHash& parameters)
{
    const QVariantHash message{
        {QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
        {QStringLiteral("method"), method},
        {QStringLiteral("params"), parameters}};
    return TavoJson::write(message).value();
}
