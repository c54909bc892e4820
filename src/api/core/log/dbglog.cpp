#include "log/dbglog.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <QVariant>

namespace {

template<typename List>
std::ostream& writeList(std::ostream& out, const List& list)
{
    const char* separator = "";
    out << '(';
    for (const auto& element : list) {
        out << separator << element;
        separator = ", ";
    }
    return out << ')';
}

/// QJsonDocument writes only arrays and objects, so a single value is written inside an array.
QByteArray jsonText(const QVariant& value)
{
    const QByteArray array = QJsonDocument(QJsonArray{QJsonValue::fromVariant(value)}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

} // namespace

std::string dbglog_scopedFunction(const std::string& signature, const std::string& /*logger*/)
{
    const size_t nameEnd = signature.find('(');
    const size_t space = signature.rfind(' ', nameEnd);
    const size_t nameBegin = space == std::string::npos ? 0 : space + 1;
    return signature.substr(nameBegin, nameEnd - nameBegin);
}

std::ostream& operator<<(std::ostream& out, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    return out.write(utf8.constData(), utf8.size());
}

std::ostream& operator<<(std::ostream& out, const QStringList& list)
{
    return writeList(out, list);
}

std::ostream& operator<<(std::ostream& out, const QList<QVariant>& list)
{
    return writeList(out, list);
}

std::ostream& operator<<(std::ostream& out, const QVariant& value)
{
    if (value.userType() == QMetaType::QString)
        return out << value.toString();
    const QByteArray json = jsonText(value);
    return out.write(json.constData(), json.size());
}
