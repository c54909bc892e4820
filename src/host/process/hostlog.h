#pragma once

#include <log/dbglog.h>

/// The program's logger, "tavo". May be called from any thread.
[[nodiscard]] const log4cplus::Logger& hostLogger();
/// The server's logger, "tavo.http". May be called from any thread.
[[nodiscard]] const log4cplus::Logger& httpLogger();

/// Writes a line as DBGLOG() does, from the calling line of a source file. `level`: ERROR, WARN or INFO. `file`: the
/// path of the source file, without extension.
#define HOST_LOG(logger, level, file, ...)                                                                             \
    DBGLOG(logger, log4cplus::level##_LOG_LEVEL, (DbgLogSite{file, __LINE__, __func__}), __VA_ARGS__)
