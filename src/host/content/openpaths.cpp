#include "content/openpaths.h"

#include <model/cmworker.h>

#include <algorithm>

QVector<CMPath> lineage(const CMPath& path)
{
    QVector<CMPath> paths{CMPath(path.prefix(), QString())};
    const QString& base = path.base();
    for (int slash = base.indexOf(QLatin1Char('/')); slash >= 0; slash = base.indexOf(QLatin1Char('/'), slash + 1))
        paths.append(CMPath(path.prefix(), base.left(slash)));
    if (!base.isEmpty())
        paths.append(path);
    return paths;
}

OpenPaths::OpenPaths(CMWorker& worker, ChangeHandler handler) : m_worker(worker), m_handler(std::move(handler)) {}

OpenPaths::~OpenPaths()
{
    QList<CMPath> held = m_users.keys();
    std::sort(held.begin(), held.end(), [](const CMPath& a, const CMPath& b) { return b < a; });
    for (const CMPath& path : qAsConst(held))
        m_worker.disconnectChange(path, this);
}

bool OpenPaths::open(const CMPath& path)
{
    const QVector<CMPath> paths = lineage(path);
    const bool wasOpen = m_opened.contains(path);
    if (!wasOpen) {
        m_opened.insert(path);
        for (const CMPath& user : paths)
            ++m_users[user];
    }
    if (hold(paths))
        return true;
    forget(path);
    if (wasOpen)
        m_handler(path, {CMSubscribe::RowsChangeClose()}, 0);
    return false;
}

bool OpenPaths::close(const CMPath& path)
{
    if (!m_opened.contains(path))
        return false;
    forget(path);
    return true;
}

void OpenPaths::rowsChanged(const CMPath& path, const QStringList& changes, int version)
{
    if (!m_opened.contains(path))
        return;
    if (changes.contains(CMSubscribe::RowsChangeClose()))
        forget(path);
    m_handler(path, changes, version);
}

bool OpenPaths::hold(const QVector<CMPath>& paths)
{
    for (const CMPath& path : paths) {
        if (!isHeld(path) && !m_worker.connectChange(path, this))
            return false;
    }
    // The worker may have closed one while it took another.
    return std::all_of(paths.cbegin(), paths.cend(), [this](const CMPath& path) { return isHeld(path); });
}

bool OpenPaths::isHeld(const CMPath& path) const
{
    return m_worker.subscribe()->isClient(path, this);
}

void OpenPaths::forget(const CMPath& path)
{
    m_opened.remove(path);
    QVector<CMPath> paths = lineage(path);
    std::reverse(paths.begin(), paths.end());
    for (const CMPath& user : qAsConst(paths)) {
        if (--m_users[user] > 0)
            continue;
        m_users.remove(user);
        m_worker.disconnectChange(user, this);
    }
}
