// The name matcher decides as QRegExp does, whatever the patterns and the name.

#include "check.h"
#include "textsource.h"

#include "tavo/tavonamematcher.h"

#include <QRegExp>

#include <algorithm>

namespace {

/// QRegExp takes exponential time for some patterns of many wildcards.
constexpr int longestPattern = 16;
constexpr int longestName = 64;

bool qRegExpMatches(const QStringList& patterns, const QString& name)
{
    return std::any_of(patterns.cbegin(), patterns.cend(), [&name](const QString& pattern) {
        return QRegExp(pattern, Qt::CaseInsensitive, QRegExp::Wildcard).exactMatch(name);
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    TextSource source(data, size);
    const QString name = source.next().left(longestName);
    QStringList patterns = source.rest();
    for (QString& pattern : patterns)
        pattern.truncate(longestPattern);
    FUZZ_CHECK(TavoNameMatcher(patterns).matches(name) == qRegExpMatches(patterns, name));
    FUZZ_CHECK(TavoNameMatcher::shared(patterns).matches(name) == TavoNameMatcher(patterns).matches(name));
    return 0;
}
