#include "storedjson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

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

/// Alone, a surrogate is no character that a file can have.
bool isEscaped(QChar unit)
{
    return unit < u' ' || unit == u'"' || unit == u'\\' || unit.isSurrogate();
}

void appendText(QString& json, const QString& text)
{
    json += u'"';
    const auto* begin = text.cbegin();
    for (;;) {
        const auto* const end = std::find_if(begin, text.cend(), isEscaped);
        json.append(begin, static_cast<int>(end - begin));
        if (end == text.cend())
            break;
        json += QStringLiteral("\\u%1").arg(end->unicode(), 4, 16, QLatin1Char('0'));
        begin = std::next(end);
    }
    json += u'"';
}

void appendOther(QString& json, const QVariant& value)
{
    const QJsonDocument document(QJsonArray{QJsonValue::fromVariant(value)});
    const QByteArray array = document.toJson(QJsonDocument::Compact);
    json += QString::fromUtf8(array.mid(1, array.size() - 2));
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as the value
void appendValue(QString& json, const QVariant& value);

// NOLINTNEXTLINE(misc-no-recursion): as deep as the value
void appendHash(QString& json, const QVariantHash& hash)
{
    QChar separator = u'{';
    for (auto member = hash.cbegin(); member != hash.cend(); ++member) {
        json += std::exchange(separator, u',');
        appendText(json, member.key());
        json += u':';
        appendValue(json, member.value());
    }
    json += hash.isEmpty() ? QStringLiteral("{}") : QStringLiteral("}");
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as the value
void appendList(QString& json, const QVariantList& list)
{
    QChar separator = u'[';
    for (const QVariant& element : list) {
        json += std::exchange(separator, u',');
        appendValue(json, element);
    }
    json += list.isEmpty() ? QStringLiteral("[]") : QStringLiteral("]");
}

void appendValue(QString& json, const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QVariantHash:
        return appendHash(json, value.toHash());
    case QMetaType::QVariantList:
        return appendList(json, value.toList());
    case QMetaType::QString:
        return appendText(json, value.toString());
    case QMetaType::Int:
    case QMetaType::LongLong:
        json += QString::number(value.toLongLong());
        return;
    default:
        appendOther(json, value);
    }
}

} // namespace

QString StoredJson::fromValue(const QVariant& value)
{
    if (!value.isValid())
        return {};
    // An entry is written in a fraction of the time that QJsonDocument takes.
    QString json;
    appendHash(json, value.toHash());
    return json;
}

QVariant StoredJson::toValue(const QString& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8());
    return document.isObject() ? QVariant(toHash(document.object())) : QVariant();
}
