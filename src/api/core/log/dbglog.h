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

/// The text that stands for a function in its entry line: its qualified name. `signature` is the full signature.
[[nodiscard]] TAVO_API_EXPORT std::string
dbglog_scopedFunction(const std::string& signature, const std::string& logger);

/// Where a line comes from.
struct DbgLogSite
{
    const char* file;
    int line;
    const char* function;
};

/// Writes one line, UTF-8, if the logger is enabled for the level; its pieces (`a << b << ...`) are only evaluated
/// then.
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

/// UTF-8, nothing added.
TAVO_API_EXPORT std::ostream& operator<<(std::ostream& out, const QString& text);
/// "(" + elements separated by ", " + ")".
TAVO_API_EXPORT std::ostream& operator<<(std::ostream& out, const QStringList& list);
TAVO_API_EXPORT std::ostream& operator<<(std::ostream& out, const QList<QVariant>& list);
/// Text as it is, everything else as compact JSON.
TAVO_API_EXPORT std::ostream& operator<<(std::ostream& out, const QVariant& value);
