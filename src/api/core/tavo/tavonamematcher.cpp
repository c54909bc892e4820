#include "tavo/tavonamematcher.h"

#include <QRegExp>
#include <QVector>

#include <algorithm>

class TavoNameMatcher::Private
{
public:
    QVector<QRegExp> expressions;
};

TavoNameMatcher::TavoNameMatcher(const QStringList& patterns)
{
    auto compiled = std::make_shared<Private>();
    for (const QString& pattern : patterns)
        compiled->expressions.append(QRegExp(pattern, Qt::CaseInsensitive, QRegExp::Wildcard));
    m_p = std::move(compiled);
}

const TavoNameMatcher& TavoNameMatcher::shared(const QStringList& patterns)
{
    thread_local QStringList compiledFrom;
    thread_local TavoNameMatcher matcher(compiledFrom);
    if (!compiledFrom.isSharedWith(patterns)) {
        matcher = TavoNameMatcher(patterns);
        compiledFrom = patterns;
    }
    return matcher;
}

bool TavoNameMatcher::matches(const QString& name) const
{
    return std::any_of(m_p->expressions.cbegin(), m_p->expressions.cend(), [&name](const QRegExp& expression) {
        return QRegExp(expression).exactMatch(name);
    });
}
