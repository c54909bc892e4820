#pragma once

// Included before a source, turns its log lines off: they are compiled, but never executed.
#include "log/dbglog.h"

#undef DBGLOG
#define DBGLOG(logger, level, site, ...)                                                                               \
    do {                                                                                                               \
        if (false) {                                                                                                   \
            std::ostringstream dbglogLine;                                                                             \
            dbglogLine << __VA_ARGS__;                                                                                 \
            const DbgLogSite& dbglogSite = (site);                                                                     \
            (logger).forcedLog(level, dbglogLine.str(), dbglogSite.file, dbglogSite.line, dbglogSite.function);        \
        }                                                                                                              \
    } while (false)
