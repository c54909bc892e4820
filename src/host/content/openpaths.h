#pragma once

#include "content/limits.h"
#include "content/result.h"

#include <model/cmpath.h>
#include <model/cmsubscribe.h>

#include <QHash>
#include <QSet>
#include <QVector>

#include <deque>
#include <functional>

class ContentHost;

/// The paths that one client has open. Lives in the worker thread.
///
/// While a directory of a tree is open its ancestors are held open too, because a worker refuses a path that it has
/// recorded already as the changed parent of an opened one. The client hears only of changes of the paths that it
/// opened itself.
class OpenPaths : public CMChangeReceiver
{
    Q_OBJECT
public:
    using ChangeHandler = std::function<void(const CMPath& path, const QStringList& changes, int version)>;
    using Completion = std::function<void(const Result<void>& result)>;

    OpenPaths(ContentHost& host, Reach reach, int limit, ChangeHandler handler);
    /// Closes everything, children first. Paths that wait to be opened are dropped.
    ~OpenPaths() override;

    /// Opens and closes run in the order of the calls. Opening an open path changes nothing. The completion is called
    /// before the handler gets the first change of the path.
    void open(const CMPath& path, Completion completion);
    void close(const CMPath& path, Completion completion);

    void rowsChanged(const CMPath& path, const QStringList& changes, int version) override;

private:
    using Operation = std::function<void()>;

    void enqueue(Operation operation);
    void runNext();
    void finish(const CMPath& path, const Completion& completion, const Result<void>& result);

    void openNow(const CMPath& path, const Completion& completion);
    [[nodiscard]] Result<CMSubscribe*> findSubscribe(const CMPath& path) const;
    /// Opens a path when no removal of it is pending.
    [[nodiscard]] Result<void> openSettled(const CMPath& path);
    void count(const CMPath& path, const QVector<CMPath>& users);
    [[nodiscard]] Result<void> closeNow(const CMPath& path);

    [[nodiscard]] Result<void> checkOpenable(const CMPath& path) const;
    /// Whether the path belongs to a directory tree, even to a missing one.
    [[nodiscard]] bool hasAncestors(const CMPath& path) const;
    /// The paths that are held for this one: its ancestors, from the root down, and itself.
    [[nodiscard]] QVector<CMPath> lineage(const CMPath& path) const;
    /// Makes this a client of the paths, in their order. Fails if one of them does not stay open.
    [[nodiscard]] Result<void> hold(const CMPath& opened, const QVector<CMPath>& paths);
    [[nodiscard]] bool isHeld(const CMPath& path) const;
    void release(const CMPath& path);

    ContentHost& m_host;
    const Reach m_reach;
    const int m_limit;
    const ChangeHandler m_handler;
    std::deque<Operation> m_operations;
    bool m_isBusy = false;
    bool m_isEnding = false;
    QSet<CMPath> m_opened;
    /// By held path: how many opened paths are this one or below it.
    QHash<CMPath, int> m_users;
};
