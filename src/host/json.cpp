#include "json.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>

QByteArray toJson(const QVariant& value)
{
    // Documents hold arrays and objects only, so that a lone value is written as an array's one element.
    const QJsonDocument array(QJsonArray{QJsonValue::fromVariant(value)});
    const QByteArray text = array.toJson(QJsonDocument::Compact);
    return text.mid(1, text.size() - 2);
}
