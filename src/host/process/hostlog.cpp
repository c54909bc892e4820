#include "process/hostlog.h"

const log4cplus::Logger& hostLogger()
{
    static const log4cplus::Logger instance = log4cplus::Logger::getInstance("tavo");
    return instance;
}

const log4cplus::Logger& httpLogger()
{
    static const log4cplus::Logger instance = log4cplus::Logger::getInstance("tavo.http");
    return instance;
}
