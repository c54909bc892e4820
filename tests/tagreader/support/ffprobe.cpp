#include "ffprobe.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

namespace {

QJsonObject ffprobe(const QString& file)
{
    QProcess process;
    process.start(
        QStringLiteral(TAVO_FFPROBE),
        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-show_format"), QStringLiteral("-show_streams"),
         QStringLiteral("-of"), QStringLiteral("json"), file});
    EXPECT_TRUE(process.waitForFinished()) << process.errorString().toStdString();
    return QJsonDocument::fromJson(process.readAllStandardOutput()).object();
}

QString commonName(const QString& key)
{
    static const QHash<QString, QString> names = {
        {QStringLiteral("album artist"), QStringLiteral("album_artist")},
        {QStringLiteral("year"), QStringLiteral("date")},
        {QStringLiteral("tpa"), QStringLiteral("disc")}};
    return names.value(key.toLower(), key.toLower());
}

void addTags(Probe& result, const QJsonObject& holder)
{
    const QJsonObject tags = holder.value(QLatin1String("tags")).toObject();
    for (auto tag = tags.begin(); tag != tags.end(); ++tag)
        result.tags.insert(commonName(tag.key()), tag.value().toString());
}

} // namespace

Probe probe(const QString& file)
{
    const QJsonObject report = ffprobe(file);
    const QJsonObject format = report.value(QLatin1String("format")).toObject();
    Probe result;
    result.seconds = format.value(QLatin1String("duration")).toString().toDouble();
    addTags(result, format);
    for (const QJsonValue& value : report.value(QLatin1String("streams")).toArray()) {
        const QJsonObject stream = value.toObject();
        if (stream.value(QLatin1String("codec_type")).toString() == QLatin1String("video")) {
            result.picture = {
                stream.value(QLatin1String("width")).toInt(), stream.value(QLatin1String("height")).toInt()};
            continue;
        }
        result.hertz = stream.value(QLatin1String("sample_rate")).toString().toInt();
        result.bitsPerSecond = stream.value(QLatin1String("bit_rate")).toString().toInt();
        result.channels = stream.value(QLatin1String("channels")).toInt();
        addTags(result, stream);
    }
    return result;
}
