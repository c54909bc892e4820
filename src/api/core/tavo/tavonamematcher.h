#pragma once

#include "tavo/tavoexport.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

/// Matches whole file names against shell-style wildcard patterns, ignoring case.
///
/// Decides as QRegExp does (Wildcard, CaseInsensitive, exactMatch) for any name and any pattern. An invalid pattern
/// matches nothing. A value; copies share the compiled patterns. Thread-safe.
class TAVO_API_EXPORT TavoNameMatcher
{
public:
    /// Compiles the patterns. A name has to match one of them; without patterns none matches.
    explicit TavoNameMatcher(const QStringList& patterns);

    /// The matcher for `patterns`, which is compiled again only if the thread's last call had another list. Lists are
    /// equal if they share their data.
    ///
    /// The reference is valid until the same thread calls with another list. Do not change a list that was passed
    /// through references or iterators taken before the call.
    [[nodiscard]] static const TavoNameMatcher& shared(const QStringList& patterns);

    /// True if one of the patterns matches all of `name`.
    [[nodiscard]] bool matches(const QString& name) const;
    /// matches() for a NUL-terminated name in UTF-8; nothing if the name has to be decoded for the decision.
    [[nodiscard]] std::optional<bool> matchesUndecoded(const char* name) const;

private:
    class Private;
    std::shared_ptr<const Private> m_p;
};
