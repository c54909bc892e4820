#include "support/processmemory.h"

#include "support/race.h"

#include <QFile>
#include <QRegularExpression>

QString procFile(pid_t process, const char* name)
{
    return QStringLiteral("/proc/%1/%2").arg(process).arg(QLatin1String(name));
}

double memoryOf(pid_t process, const char* name)
{
    QFile file(procFile(process, "status"));
    require(file.open(QIODevice::ReadOnly), "cannot read a process' status");
    const QRegularExpression line(
        QStringLiteral("^%1:\\s+(\\d+) kB").arg(QLatin1String(name)), QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = line.match(QString::fromLatin1(file.readAll()));
    require(match.hasMatch(), "a process' status has another form");
    return match.captured(1).toDouble();
}
