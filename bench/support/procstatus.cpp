#include "support/procstatus.h"

#include "support/race.h"

#include <QFile>
#include <QRegularExpression>

double kilobytesOf(const char* name, pid_t process)
{
    QFile file(QStringLiteral("/proc/%1/status").arg(process));
    require(file.open(QIODevice::ReadOnly), "cannot read a process' status");
    const QRegularExpression line(
        QStringLiteral("^%1:\\s+(\\d+) kB").arg(QLatin1String(name)), QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = line.match(QString::fromLatin1(file.readAll()));
    require(match.hasMatch(), "a process' status has another form");
    return match.captured(1).toDouble();
}
