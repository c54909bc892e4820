#pragma once

#include "model/cmpath.h"

#include <QMap>
#include <QSet>
#include <QString>

class CMUnderWay;

/// A removal that the worker has not heard of yet.
struct CMRemoval
{
    enum class Reason {
        /// The last client has left; the worker still serves the path.
        Left,
        /// A change code has closed the path.
        Closed,
        /// The path has clients and is added again at once.
        Renewed
    };

    Reason reason;
    /// Calls with a lower number began before the path was left, closed or chosen for renewal.
    quint64 firstLater;
    /// Paths that are renewed together have a number in common.
    int renewal;
};

using CMRemovalsByPath = QMap<CMPath, CMRemoval>;

/// The pending removals of one worker's paths. Not thread-safe: the owner's mutex guards it.
class CMRemovals
{
public:
    [[nodiscard]] bool isEmpty() const { return m_pending.isEmpty(); }
    [[nodiscard]] bool contains(const CMPath& path) const { return m_pending.contains(path); }
    /// True unless the path, or one above it, is closed or renewed.
    [[nodiscard]] bool isSettled(const CMPath& path) const;

    /// Of a path that has a pending removal only the reason changes.
    void add(const CMPath& path, const CMRemoval& removal);
    /// The paths at and below `path` are closed now, if nobody has opened them again.
    void close(const CMPath& path);
    /// Forgets the removal of a path that its last client has left; false if there is none.
    [[nodiscard]] bool drop(const CMPath& path);

    /// Takes out what no call holds up. A path waits for the paths below it, and paths that are renewed together wait
    /// for each other. Rows requests for the paths wait until CMUnderWay::release().
    [[nodiscard]] CMRemovalsByPath takeDue(CMUnderWay& underWay);

private:
    /// The pending removals that wait if those wait that are held up, and these themselves.
    [[nodiscard]] QSet<CMPath> withDependents(const QSet<CMPath>& heldUp) const;
    [[nodiscard]] QSet<CMPath> dependentsOf(const QSet<CMPath>& waiting) const;

    CMRemovalsByPath m_pending;
};
