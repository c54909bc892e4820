// The name matcher decides as QRegExp does, for any patterns and any name.

#include "check.h"
#include "textsource.h"

#include "tavo/tavonamematcher.h"

#include <QRegExp>

#include <algorithm>

namespace {

/// QRegExp takes exponential time for some patterns with many wildcards.
constexpr int longestPattern = 16;
constexpr int longestName = 64;

bool qRegExpMatches(const QStringList& patterns, const QString& name)
{
    return std::any_of(patterns.cbegin(), patterns.cend(), [&name](const QString& pattern) {
        return QRegExp(pattern, Qt::CaseInsensitive, QRegExp::Wildcard).exactMatch(name);
    });
}

/// True if the matcher decides alike for the bytes of a directory entry and for the name decoded from them.
bool agreesUndecoded(const QStringList& patterns, const QByteArray& text)
{
    const QByteArray name(text.constData());
    QString decoded = QString::fromUtf8(name);
    if (name.startsWith("\xEF\xBB\xBF"))
        decoded.prepend(QChar(QChar::ByteOrderMark));
    const bool expected = qRegExpMatches(patterns, decoded);
    return TavoNameMatcher(patterns).matchesUndecoded(name).value_or(expected) == expected;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    TextSource source(data, size);
    const QString name = source.next().left(longestName);
    QStringList patterns = source.rest();
    for (QString& pattern : patterns)
        pattern.truncate(longestPattern);
    const bool expected = qRegExpMatches(patterns, name);
    FUZZ_CHECK(TavoNameMatcher(patterns).matches(name) == expected);
    FUZZ_CHECK(TavoNameMatcher::shared(patterns).matches(name) == TavoNameMatcher(patterns).matches(name));
    FUZZ_CHECK(agreesUndecoded(patterns, name.toUtf8()));
    FUZZ_CHECK(agreesUndecoded(patterns, name.toLatin1()));
    return 0;
}
