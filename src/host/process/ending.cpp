#include "process/ending.h"

#include "process/output.h"

#include <QCoreApplication>

#include <cerrno>

void Ending::exitLater(ExitStatus status)
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [status] { QCoreApplication::exit(status); }, Qt::QueuedConnection);
}

void Ending::exitAfterFailedOutput(int errorNumber)
{
    if (errorNumber == EPIPE)
        return exitLater(Success);
    report(QStringLiteral("cannot write: %1").arg(qt_error_string(errorNumber)));
    exitLater(Refused);
}
