#pragma once

#include "tavo/tavoexport.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

/// Tells whether a whole file name matches any of a list of shell-style wildcard patterns, without regard to case:
/// the decision of QRegExp (Wildcard, CaseInsensitive, exactMatch) for every name and every pattern.
///
/// A value; copies share the compiled patterns. It may be asked from several threads at once.
class TAVO_API_EXPORT TavoNameMatcher
{
public:
    explicit TavoNameMatcher(const QStringList& patterns);

    /// The matcher for `patterns`, compiled once as long as a thread keeps asking with the same (shared) list.
    /// The reference is valid until the same thread asks for another list. A list that was asked for must not be
    /// changed through a reference or an iterator from before.
    [[nodiscard]] static const TavoNameMatcher& shared(const QStringList& patterns);

    [[nodiscard]] bool matches(const QString& name) const;
    /// matches() for a name in UTF-8, told from its last bytes; nothing if these do not tell.
    [[nodiscard]] std::optional<bool> matchesUndecoded(const char* name) const;

private:
    class Private;
    std::shared_ptr<const Private> m_p;
};
