// A program with Qt Core and log4cplus that does nothing: what the host's start is measured by.

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
