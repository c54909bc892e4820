#include "process/shutdown.h"

#include "language/translatable.h"
#include "process/output.h"

#include <QCoreApplication>

#include <cerrno>

void Shutdown::exitLater(ExitStatus status)
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [status] { QCoreApplication::exit(status); }, Qt::QueuedConnection);
}

void Shutdown::exitAfterFailedOutput(int errorNumber)
{
    if (errorNumber == EPIPE)
        return exitLater(Success);
    const auto reportAndExit = [errorNumber] {
        report(translated(QT_TRANSLATE_NOOP("Host", "cannot write: %1"), {qt_error_string(errorNumber)}));
        QCoreApplication::exit(Refused);
    };
    QMetaObject::invokeMethod(QCoreApplication::instance(), reportAndExit, Qt::QueuedConnection);
}
