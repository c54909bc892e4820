#include "rpc/jsonrpc.h"

#include "rpc/json.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <vector>

namespace {

JsonRpc::Malformed invalidRequest(const QJsonValue& id, const QString& why)
{
    return {id, {JsonRpc::InvalidRequest, why}};
}

bool isId(const QJsonValue& id)
{
    return id.isString() || id.isDouble() || id.isNull();
}

bool isParameters(const QJsonValue& parameters)
{
    return parameters.isObject() || parameters.isArray() || parameters.isUndefined();
}

std::variant<JsonRpc::Request, JsonRpc::Malformed> requestFrom(const QJsonObject& message)
{
    const QJsonValue id = message.value(QLatin1String("id"));
    if (!id.isUndefined() && !isId(id))
        return invalidRequest(QJsonValue::Null, QStringLiteral("the id is neither string nor number"));
    const QJsonValue answerId = id.isUndefined() ? QJsonValue(QJsonValue::Null) : id;
    if (message.value(QLatin1String("jsonrpc")).toString() != QLatin1String("2.0"))
        return invalidRequest(answerId, QStringLiteral("not a message of JSON-RPC 2.0"));
    const QJsonValue method = message.value(QLatin1String("method"));
    if (!method.isString())
        return invalidRequest(answerId, QStringLiteral("the method is no string"));
    const QJsonValue parameters = message.value(QLatin1String("params"));
    if (!isParameters(parameters))
        return invalidRequest(answerId, QStringLiteral("the parameters are neither object nor array"));
    return JsonRpc::Request{id, method.toString(), parameters};
}

/// JSON knows no largest number, QJsonDocument does: what is beyond becomes the largest, so that a message is not lost
/// for one parameter that is out of range.
QByteArray withNumbersInRange(const QByteArray& json)
{
    static const QRegularExpression stringOrNumber(
        QStringLiteral(R"("(?:[^"\\]++|\\.)*+"|-?[0-9]++(?:\.[0-9]++)?(?:[eE][-+]?[0-9]++)?)"));
    const QString text = QString::fromLatin1(json);
    QByteArray result;
    int end = 0;
    for (auto tokens = stringOrNumber.globalMatch(text); tokens.hasNext();) {
        const QRegularExpressionMatch token = tokens.next();
        bool isInRange = token.capturedView().startsWith(QLatin1Char('"'));
        if (!isInRange)
            static_cast<void>(token.captured().toDouble(&isInRange));
        result += json.mid(end, token.capturedStart() - end);
        result += isInRange ? token.captured().toLatin1() : QByteArrayLiteral("1e308");
        end = token.capturedEnd();
    }
    return result + json.mid(end);
}

/// Where the string ends that starts at `start`: behind its quote.
int endOfString(const QByteArray& json, int start)
{
    int end = start + 1;
    while (end < json.size() && json.at(end) != '"')
        end += json.at(end) == '\\' ? 2 : 1;
    return std::min(end + 1, json.size());
}

/// A string is a field's name if a colon follows.
bool endsName(const QByteArray& json, int end)
{
    const auto isSpace = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    const auto* const next = std::find_if_not(json.cbegin() + end, json.cend(), isSpace);
    return next != json.cend() && *next == ':';
}

QString textOf(const QByteArray& string)
{
    if (!string.contains('\\'))
        return QString::fromUtf8(string.mid(1, string.size() - 2));
    return QJsonDocument::fromJson('[' + string + ']').array().at(0).toString();
}

/// Takes the name in.
bool isNew(const QString& name, QSet<QString>& names)
{
    const int count = names.size();
    names.insert(name);
    return names.size() > count;
}

/// Whether an object has two fields of one name. Nobody can tell which of them counts, and QJsonDocument never frees
/// what is in the first.
bool repeatsAName(const QByteArray& json)
{
    std::vector<QSet<QString>> namesByDepth;
    for (int start = 0, end = 0; start < json.size(); start = end) {
        const char c = json.at(start);
        end = c == '"' ? endOfString(json, start) : start + 1;
        if (c == '{' || c == '[')
            namesByDepth.emplace_back();
        if (namesByDepth.empty())
            continue;
        if (c == '}' || c == ']')
            namesByDepth.pop_back();
        else if (c == '"' && endsName(json, end) && !isNew(textOf(json.mid(start, end - start)), namesByDepth.back()))
            return true;
    }
    return false;
}

QJsonDocument documentFrom(const QByteArray& json, QJsonParseError& problem)
{
    QJsonDocument document = QJsonDocument::fromJson(json, &problem);
    if (problem.error != QJsonParseError::IllegalNumber)
        return document;
    return QJsonDocument::fromJson(withNumbersInRange(json), &problem);
}

QByteArray answer(const QJsonValue& id, const char* member, const QVariant& value)
{
    const QByteArray json = toJson(value);
    QByteArray text = R"({"jsonrpc":"2.0","id":)" + toJson(id.toVariant()) + ",\"" + member + "\":";
    // A page of rows is long enough to be worth copying just once; a newline will follow.
    text.reserve(text.size() + json.size() + 2);
    return text.append(json).append('}');
}

} // namespace

std::variant<JsonRpc::Request, JsonRpc::Malformed> JsonRpc::parse(const QByteArray& message)
{
    if (repeatsAName(message))
        return invalidRequest(QJsonValue::Null, QStringLiteral("an object has two fields of one name"));
    // Documents hold arrays and objects only, but a message can be any value; so it is read as an array's one element.
    QJsonParseError problem{};
    const QJsonArray values = documentFrom('[' + message + ']', problem).array();
    if (problem.error != QJsonParseError::NoError)
        return Malformed{QJsonValue::Null, {ParseError, QStringLiteral("not JSON: ") + problem.errorString()}};
    if (values.size() != 1)
        return Malformed{QJsonValue::Null, {ParseError, QStringLiteral("not JSON: more or less than one value")}};
    if (values.first().isArray())
        return invalidRequest(QJsonValue::Null, QStringLiteral("batches are not served, send one message a line"));
    if (!values.first().isObject())
        return invalidRequest(QJsonValue::Null, QStringLiteral("the message is no object"));
    return requestFrom(values.first().toObject());
}

QByteArray JsonRpc::result(const QJsonValue& id, const QVariant& value)
{
    return answer(id, "result", value);
}

QByteArray JsonRpc::error(const QJsonValue& id, const Error& error)
{
    QVariantHash fields{{QStringLiteral("code"), int(error.code)}, {QStringLiteral("message"), error.message}};
    if (!error.data.isEmpty())
        fields.insert(QStringLiteral("data"), error.data);
    return answer(id, "error", fields);
}

QByteArray JsonRpc::notification(const QString& method, const QVariantHash& parameters)
{
    return R"({"jsonrpc":"2.0","method":)" + toJson(method) + R"(,"params":)" + toJson(parameters) + '}';
}
