#include "process.h"

#include <QProcess>

Outcome runToEnd(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments, QIODevice::ReadOnly);
    // The test's own time limit ends a program that hangs.
    const bool ended = process.waitForStarted() && process.waitForFinished(-1);
    const bool byItself = ended && process.exitStatus() == QProcess::NormalExit;
    return {byItself ? process.exitCode() : -1, QString::fromLocal8Bit(process.readAll())};
}
