#pragma once

#include <model/cmpath.h>
#include <model/cmsubscribe.h>

#include <QHash>
#include <QSet>
#include <QVector>

#include <functional>

class CMWorker;

/// The path and its ancestors, from the root down.
[[nodiscard]] QVector<CMPath> lineage(const CMPath& path);

/// The paths that one client has open at a worker.
///
/// While a path is open its ancestors are held open too, since a worker may take no path that it already knows as the
/// changed parent of an opened one. The client hears of changes of the paths that it opened itself only.
/// Belongs to the worker's thread; the worker must outlive it.
class OpenPaths : public CMChangeReceiver
{
    Q_OBJECT
public:
    using ChangeHandler = std::function<void(const CMPath& path, const QStringList& changes, int version)>;

    OpenPaths(CMWorker& worker, ChangeHandler handler);
    /// Closes everything, children first.
    ~OpenPaths() override;

    /// False if the worker does not take the path. A path that is open already stays open once.
    [[nodiscard]] bool open(const CMPath& path);
    /// False if the path is not open.
    [[nodiscard]] bool close(const CMPath& path);

    void rowsChanged(const CMPath& path, const QStringList& changes, int version) override;

private:
    /// Makes this a client of the paths, in their order; false as soon as the worker does not take one.
    [[nodiscard]] bool hold(const QVector<CMPath>& paths);
    [[nodiscard]] bool isHeld(const CMPath& path) const;
    void forget(const CMPath& path);

    CMWorker& m_worker;
    const ChangeHandler m_handler;
    QSet<CMPath> m_opened;
    /// By held path: how many of the opened ones are this one or lie below.
    QHash<CMPath, int> m_users;
};
