#include "model/cmremovals_p.h"

#include "model/cmunderway_p.h"

#include <QSet>

#include <algorithm>

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
    const QSet<CMPath> heldUp = underWay.seize(m_pending);
    QSet<int> waitingRenewals;
    for (const CMPath& path : heldUp)
        waitingRenewals.insert(m_pending.value(path).renewal);
    CMRemovalsByPath due;
    QSet<CMPath> waitingAncestors;
    // In the order of paths what is below comes later.
    for (auto removal = m_pending.end(); removal != m_pending.begin();) {
        --removal;
        const bool isRenewed = removal->reason == CMRemoval::Reason::Renewed;
        const bool waitsForOthers =
            isRenewed ? waitingRenewals.contains(removal->renewal) : waitingAncestors.contains(removal.key());
        if (heldUp.contains(removal.key()) || waitsForOthers) {
            insertAncestors(waitingAncestors, removal.key());
        } else {
            due.insert(removal.key(), *removal);
            removal = m_pending.erase(removal);
        }
    }
    return due;
}
