#include "follower.h"

#include <QJsonArray>

namespace {

bool isClose(const QJsonObject& change)
{
    return change[QStringLiteral("changes")].toArray().contains(QStringLiteral("close"));
}

} // namespace

bool Follower::open(const QString& base)
{
    if (errorCode(call(QStringLiteral("open"), QJsonArray{path(base)})) != 0)
        return false;
    static_cast<void>(titles(base));
    return true;
}

QStringList Follower::titles(const QString& base)
{
    const QJsonObject answer = rows(base);
    QStringList found;
    for (const QJsonValue row : answer[QStringLiteral("result")][QStringLiteral("rows")].toArray())
        found.append(row[0].toString());
    return found;
}

QString Follower::refusal(const QString& base)
{
    const QJsonObject answer = rows(base);
    return answer[QStringLiteral("error")][QStringLiteral("message")].toString();
}

bool Follower::comesToHold(const QString& base, const QStringList& expected)
{
    for (QStringList held; held != expected; held = titles(base)) {
        const QJsonObject change = nextChangeOf(base);
        if (change.isEmpty())
            return false;
        if (isClose(change))
            static_cast<void>(open(base));
    }
    return true;
}

bool Follower::isClosed(const QString& base)
{
    QJsonObject change = nextChangeOf(base);
    while (!change.isEmpty() && !isClose(change))
        change = nextChangeOf(base);
    return !change.isEmpty();
}

QJsonObject Follower::nextChangeOf(const QString& base)
{
    QJsonObject change = nextChange();
    while (!change.isEmpty() && change[QStringLiteral("path")].toString() != path(base))
        change = nextChange();
    return change;
}

QJsonObject Follower::rows(const QString& base)
{
    const QJsonObject parameters{
        {QStringLiteral("path"), path(base)}, {QStringLiteral("roles"), QJsonArray{QStringLiteral("title")}}};
    return call(QStringLiteral("rows"), parameters);
}
