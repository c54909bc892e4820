#include "model/cmremovals_p.h"

#include "model/cmunderway_p.h"

#include <QSet>

namespace {

void insertAncestors(QSet<CMPath>& ancestors, const CMPath& path)
{
    const QString& base = path.base();
    for (int slash = base.indexOf(QLatin1Char('/')); slash >= 0; slash = base.indexOf(QLatin1Char('/'), slash + 1))
        ancestors.insert({path.prefix(), base.left(slash)});
    if (!base.isEmpty())
        ancestors.insert({path.prefix(), QString()});
}

} // namespace

bool CMRemovals::isSettled(const CMPath& path) const
{
    for (auto removal = m_pending.cbegin(); removal != m_pending.cend(); ++removal) {
        if (removal->reason != CMRemoval::Reason::Left && path.startsWith(removal.key()))
            return false;
    }
    return true;
}

void CMRemovals::add(const CMPath& path, const CMRemoval& removal)
{
    const auto pending = m_pending.find(path);
    if (pending == m_pending.end())
        m_pending.insert(path, removal);
    else
        pending->reason = removal.reason;
}

void CMRemovals::close(const CMPath& path)
{
    for (auto removal = m_pending.begin(); removal != m_pending.end(); ++removal) {
        if (removal->reason == CMRemoval::Reason::Left && removal.key().startsWith(path))
            removal->reason = CMRemoval::Reason::Closed;
    }
}

bool CMRemovals::drop(const CMPath& path)
{
    const auto removal = m_pending.find(path);
    if (removal == m_pending.end() || removal->reason != CMRemoval::Reason::Left)
        return false;
    m_pending.erase(removal);
    return true;
}

CMRemovalsByPath CMRemovals::takeDue(CMUnderWay& underWay)
{
    if (m_pending.isEmpty())
        return {};
    const QSet<CMPath> waiting = withDependents(underWay.seize(m_pending));
    CMRemovalsByPath due;
    for (auto removal = m_pending.begin(); removal != m_pending.end();) {
        if (waiting.contains(removal.key())) {
            ++removal;
        } else {
            due.insert(removal.key(), *removal);
            removal = m_pending.erase(removal);
        }
    }
    return due;
}

QSet<CMPath> CMRemovals::withDependents(const QSet<CMPath>& heldUp) const
{
    QSet<CMPath> waiting;
    // What waits for one path may hold up further ones.
    for (QSet<CMPath> added = heldUp; !added.isEmpty(); added = dependentsOf(waiting) - waiting)
        waiting += added;
    return waiting;
}

QSet<CMPath> CMRemovals::dependentsOf(const QSet<CMPath>& waiting) const
{
    QSet<CMPath> ancestors;
    QSet<int> renewals;
    for (const CMPath& path : waiting) {
        insertAncestors(ancestors, path);
        renewals.insert(m_pending.value(path).renewal);
    }
    QSet<CMPath> dependents;
    for (auto removal = m_pending.cbegin(); removal != m_pending.cend(); ++removal) {
        const bool isRenewed = removal->reason == CMRemoval::Reason::Renewed;
        if (ancestors.contains(removal.key()) || (isRenewed && renewals.contains(removal->renewal)))
            dependents.insert(removal.key());
    }
    return dependents;
}
