#include "ending.h"

#include "output.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstring>

void Ending::exitLater(ExitStatus status)
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [status] { QCoreApplication::exit(status); }, Qt::QueuedConnection);
}

void Ending::exitAfterFailedOutput(int errorNumber)
{
    if (errorNumber == EPIPE)
        return exitLater(Success);
    report(QStringLiteral("cannot write: %1").arg(QString::fromLocal8Bit(std::strerror(errorNumber))));
    exitLater(Refused);
}
