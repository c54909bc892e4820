#include "app/application.h"
#include "process/descriptors.h"
#include "process/exitstatus.h"
#include "process/output.h"

#include <QCoreApplication>
#include <QTextCodec>

#include <csignal>

int main(int argc, char** argv)
{
    if (const Result<Done> claimed = claimDescriptors(); !claimed) {
        report(claimed.failure().message);
        return exitStatus(claimed.failure());
    }
    const int output = claimStandardOutput();
    // A reader that goes away is noticed where it is written to.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TAVO_VERSION));
    // File names are UTF-8 for the worker, whatever the locale says.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    return runApplication(QCoreApplication::arguments(), output);
}
