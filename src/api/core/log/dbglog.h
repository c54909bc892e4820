#pragma once

#include "tavo/tavoexport.h"

#include <log4cplus/logger.h>

#include <ostream>
#include <sstream>
#include <string>

class CMPath;
class QString;
class QStringList;
class QVariant;
template<typename T>
class QList;

/// The qualified name of a function, for the log line that it writes on entry. Thread-safe.
///
/// `signature` is its full signature; `logger`, the name of the logger, has no influence.
[[nodiscard]] TAVO_API_EXPORT std::string
dbglog_scopedFunction(const std::string& signature, const std::string& logger);

/// The source location that a log line names. The texts have to outlive the call that writes the line.
struct DbgLogSite
{
    /// Path of the source file, without extension.
    const char* file;
    /// From 1.
    int line;
    /// Full signature.
    const char* function;
};

/// Writes a line to a log4cplus logger if that is enabled for the level. Thread-safe.
///
/// The last arguments are the pieces of the line, as `a << b << ...`; they are evaluated only if the line is written.
/// `site` is a DbgLogSite.
// NOLINTBEGIN(bugprone-macro-parentheses): parentheses would part the chain of <<
#define DBGLOG(logger, level, site, ...)                                                                               \
    do {                                                                                                               \
        if ((logger).isEnabledFor(level)) {                                                                            \
            std::ostringstream dbglogLine;                                                                             \
            dbglogLine << __VA_ARGS__;                                                                                 \
            const DbgLogSite& dbglogSite = (site);                                                                     \
            (logger).forcedLog(level, dbglogLine.str(), dbglogSite.file, dbglogSite.line, dbglogSite.function);        \
        }                                                                                                              \
    } while (false)
// NOLINTEND(bugprone-macro-parentheses)

/// Writes the text as UTF-8.
TAVO_API_EXPORT std::ostream& operator<<(std::ostream& out, const QString& text);
/// Writes "(", the elements separated by ", ", and ")".
TAVO_API_EXPORT std::ostream& operator<<(std::ostream& out, const QStringList& list);
/// Writes "(", the elements separated by ", ", and ")".
TAVO_API_EXPORT std::ostream& operator<<(std::ostream& out, const QList<QVariant>& list);
/// Writes a QString as UTF-8, any other value as compact JSON.
TAVO_API_EXPORT std::ostream& operator<<(std::ostream& out, const QVariant& value);
