#include "http/requesthead.h"

#include <QByteArrayList>

#include <algorithm>

namespace {

bool hasName(const HeaderField& field, const char* name)
{
    return field.name.compare(name, Qt::CaseInsensitive) == 0;
}

} // namespace

int RequestHead::count(const char* name) const
{
    const auto isNamed = [name](const HeaderField& field) { return hasName(field, name); };
    return static_cast<int>(std::count_if(fields.cbegin(), fields.cend(), isNamed));
}

QByteArray RequestHead::value(const char* name) const
{
    QByteArray values;
    for (const HeaderField& field : fields) {
        if (hasName(field, name))
            values = values.isNull() ? "" + field.value : values + ", " + field.value;
    }
    return values;
}

bool hasJsonBody(const RequestHead& head)
{
    const QByteArray type = head.value("Content-Type").split(';').first();
    return type.trimmed().toLower() == "application/json";
}
