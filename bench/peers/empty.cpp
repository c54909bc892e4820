// Links Qt Core and log4cplus and does nothing: the floor for the start of the host.

#include <QCoreApplication>

#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>

int main(int argc, char** argv)
{
    const log4cplus::Initializer logging;
    log4cplus::Logger::getRoot().setLogLevel(log4cplus::WARN_LOG_LEVEL);
    const QCoreApplication application(argc, argv);
    return 0;
}
