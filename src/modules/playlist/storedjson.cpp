#include "storedjson.h"

#include "tavo/tavojson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <cmath>

namespace {

QVariant toVariant(const QJsonValue& json);

QVariantHash toHash(const QJsonObject& object)
{
    QVariantHash hash;
    for (auto member = object.begin(); member != object.end(); ++member)
        hash.insert(member.key(), toVariant(member.value()));
    return hash;
}

QVariantList toList(const QJsonArray& array)
{
    QVariantList list;
    for (const QJsonValue& element : array)
        list.append(toVariant(element));
    return list;
}

QVariant toNumber(double number)
{
    constexpr double exact = 9007199254740992.0;
    const bool isWhole = std::abs(number) <= exact && std::trunc(number) == number;
    return isWhole ? QVariant(static_cast<qlonglong>(number)) : QVariant(number);
}

QVariant toVariant(const QJsonValue& json)
{
    switch (json.type()) {
    case QJsonValue::Object:
        return toHash(json.toObject());
    case QJsonValue::Array:
        return toList(json.toArray());
    case QJsonValue::Double:
        return toNumber(json.toDouble());
    default:
        return json.toVariant();
    }
}

} // namespace

QByteArray StoredJson::fromValue(const QVariant& value)
{
    if (!value.isValid())
        return {};
    QByteArray json = TavoJson::write(value.toHash()).value_or(QByteArray());
    json.squeeze();
    return json;
}

QVariant StoredJson::toValue(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    return document.isObject() ? QVariant(toHash(document.object())) : QVariant();
}
