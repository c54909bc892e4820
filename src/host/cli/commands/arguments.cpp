#include "cli/commands/arguments.h"

#include "rpc/json.h"

#include <QDir>

CMPath pathFrom(const Host& host, const QString& argument)
{
    const bool climbs = argument.split(QLatin1Char('/')).contains(QStringLiteral(".."));
    return host.worker().addPrefix(climbs ? argument : QDir::cleanPath(argument));
}

void addJsonOption(QCommandLineParser& parser)
{
    parser.addOption({QStringLiteral("json"), QStringLiteral("Print JSON instead of text for people.")});
}

bool wantsJson(const QCommandLineParser& parser)
{
    return parser.isSet(QStringLiteral("json"));
}

Result<QByteArray> jsonLine(const QVariant& value)
{
    QByteArray line;
    if (!appendJson(line, value))
        return Failure{Failure::Kind::Refused, QStringLiteral("the result is too long to be printed as JSON")};
    return line.append('\n');
}
