#include "support/silentoutput.h"

#include "support/sessionclient.h"

#include <gtest/gtest.h>

namespace {

const QLatin1String serialKey("serial");

QByteArray outputPath(const QString& name)
{
    return "/playlist/outputs/" + name.toUtf8();
}

} // namespace

QJsonValue setOver(WebClient& client, const char* path, const QJsonValue& value)
{
    const QJsonObject parameters{{QStringLiteral("path"), QString::fromUtf8(path)}, {QStringLiteral("value"), value}};
    const QJsonObject answer = client.call("set", parameters);
    EXPECT_EQ(errorCode(answer), 0) << path;
    return answer.value(QLatin1String("result"));
}

SilentOutput::SilentOutput(quint16 port, const QString& name) : m_client(port), m_name(name)
{
    EXPECT_EQ(errorCode(m_client.call("open", pathParameter("/playlist/player"))), 0);
    EXPECT_EQ(errorCode(m_client.call("open", pathParameter(outputPath(name).constData()))), 0);
}

void SilentOutput::readPlayer()
{
    const QJsonObject parameters{
        {QStringLiteral("path"), QStringLiteral("/playlist/player")},
        {QStringLiteral("roles"), QJsonArray{QStringLiteral("value")}}};
    const QJsonObject answer = m_client.call("data", parameters);
    m_player = answer.value(QLatin1String("result")).toArray().at(0).toObject();
}

void SilentOutput::report(qint64 id, const char* state)
{
    const QJsonObject value{
        {QStringLiteral("id"), id},
        {QStringLiteral("state"), QString::fromUtf8(state)},
        {QStringLiteral("position"), 0},
        {QStringLiteral("duration"), 60'000},
        {serialKey, m_player.value(serialKey)}};
    static_cast<void>(setOver(m_client, (outputPath(m_name) + "/report").constData(), value));
}

qint64 SilentOutput::obey()
{
    const auto isNew = [this] {
        return m_player.value(QLatin1String("output")).toString() == m_name &&
               m_player.value(serialKey).toDouble() > m_obeyed;
    };
    for (readPlayer(); !isNew(); readPlayer()) {
        if (m_client.nextChange().isEmpty())
            return 0;
    }
    m_obeyed = m_player.value(serialKey).toDouble();
    const auto id = static_cast<qint64>(m_player.value(QLatin1String("current")).toDouble());
    const bool plays = m_player.value(QLatin1String("state")).toString() == QLatin1String("playing");
    if (plays)
        report(id, "playing");
    return plays ? id : 0;
}

qint64 SilentOutput::finish()
{
    report(static_cast<qint64>(m_player.value(QLatin1String("current")).toDouble()), "ended");
    return obey();
}

void SilentOutput::passOn()
{
    report(static_cast<qint64>(m_player.value(QLatin1String("next")).toDouble()), "playing");
    readPlayer();
}

qint64 SilentOutput::fail()
{
    report(static_cast<qint64>(m_player.value(QLatin1String("current")).toDouble()), "error");
    return obey();
}
