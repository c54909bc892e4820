#include "content/openpaths.h"

#include "content/confinement.h"
#include "content/contenthost.h"
#include "content/failures.h"

#include <model/cmroot.h>

#include <QFileInfo>
#include <QPointer>

#include <algorithm>
#include <climits>

#include <sys/stat.h>
#include <unistd.h>

namespace {

/// The worker stores a record under the joined path and looks it up under the cleaned one, so both must be equal.
bool isNormal(const QString& base)
{
    if (base.isEmpty())
        return true;
    const auto segments = base.splitRef(u'/');
    return !base.contains(QChar::Null) && std::none_of(segments.cbegin(), segments.cend(), [](const QStringRef& name) {
        return name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..");
    });
}

bool isDirectory(const QByteArray& path)
{
    struct stat status = {};
    return stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isReadable(const QByteArray& path)
{
    return eaccess(path.constData(), R_OK) == 0;
}

/// Fails unless all paths, those that are held for the opened one, are directories that the client may read.
Result<void> checkDirectories(const Mount& mount, const CMPath& opened, const QVector<CMPath>& paths, Reach reach)
{
    if (reach == Reach::Network && !isPublic(mount, opened.base()))
        return Failures::accessViolation(opened.base(), mount.rootDirectory);
    for (const CMPath& path : paths) {
        const QByteArray directory = mount.localPath(path.base());
        if (!isDirectory(directory))
            return Failures::invalidPath(opened);
        if (!isReadable(directory))
            return Failures::noReadPermission(path.base());
    }
    return {};
}

} // namespace

OpenPaths::OpenPaths(ContentHost& host, Reach reach, int limit, ChangeHandler handler)
    : m_host(host), m_reach(reach), m_limit(limit), m_handler(std::move(handler))
{
}

OpenPaths::~OpenPaths()
{
    // Closing may settle the path that an opening waits for.
    m_isEnding = true;
    QList<CMPath> held = m_users.keys();
    std::sort(held.begin(), held.end(), [](const CMPath& a, const CMPath& b) { return b < a; });
    for (const CMPath& path : qAsConst(held))
        CMRoot()->disconnectChange(path, this);
    m_host.countOpenPaths(-m_opened.size());
}

void OpenPaths::open(const CMPath& path, Completion completion)
{
    enqueue([this, path, completion = std::move(completion)] { openNow(path, completion); });
}

void OpenPaths::close(const CMPath& path, Completion completion)
{
    enqueue([this, path, completion = std::move(completion)] {
        finish(path, completion, Failures::guarded([&] { return closeNow(path); }));
    });
}

void OpenPaths::enqueue(Operation operation)
{
    m_operations.push_back(std::move(operation));
    if (!m_isBusy)
        runNext();
}

void OpenPaths::runNext()
{
    while (!m_isBusy && !m_operations.empty()) {
        const Operation operation = std::move(m_operations.front());
        m_operations.pop_front();
        m_isBusy = true;
        operation();
    }
}

void OpenPaths::finish(const CMPath& path, const Completion& completion, const Result<void>& result)
{
    completion(result ? result : Failures::shownTo(m_reach, result.failure(), path));
    m_isBusy = false;
}

void OpenPaths::openNow(const CMPath& path, const Completion& completion)
{
    const Result<CMSubscribe*> subscribe = Failures::guarded([&] { return findSubscribe(path); });
    if (!subscribe)
        return finish(path, completion, subscribe.failure());
    subscribe.value()->whenSettled(path, [self = QPointer<OpenPaths>(this), path, completion] {
        if (!self || self->m_isEnding)
            return;
        self->finish(path, completion, Failures::guarded([&] { return self->openSettled(path); }));
        self->runNext();
    });
}

Result<CMSubscribe*> OpenPaths::findSubscribe(const CMPath& path) const
{
    // A missing root may be back.
    static_cast<void>(m_host.findMount(path.prefix()));
    if (CMSubscribe* const subscribe = m_host.subscribeOf(path.prefix()))
        return subscribe;
    return m_host.answers(path.prefix()) ? Failures::invalidPath(path) : Failures::unanswered(path);
}

Result<void> OpenPaths::openSettled(const CMPath& path)
{
    if (Result<void> openable = checkOpenable(path); !openable)
        return openable;
    const QVector<CMPath> paths = lineage(path);
    const bool wasOpen = m_opened.contains(path);
    if (!wasOpen)
        count(path, paths);
    Result<void> held = Failures::guarded([&] { return hold(path, paths); });
    if (held)
        return {};
    release(path);
    if (wasOpen)
        m_handler(path, {CMSubscribe::RowsChangeClose()}, 0);
    return held;
}

/// Allocates all memory first, so that either all are counted or none.
void OpenPaths::count(const CMPath& path, const QVector<CMPath>& users)
{
    for (const CMPath& user : users)
        m_users[user] += 0;
    m_opened.insert(path);
    m_host.countOpenPaths(1);
    for (const CMPath& user : users)
        ++m_users[user];
}

Result<void> OpenPaths::closeNow(const CMPath& path)
{
    if (!m_opened.contains(path))
        return Failures::notOpen(path);
    release(path);
    return {};
}

void OpenPaths::rowsChanged(const CMPath& path, const QStringList& changes, int version)
{
    if (!m_opened.contains(path))
        return;
    if (changes.contains(CMSubscribe::RowsChangeClose()))
        release(path);
    m_handler(path, changes, version);
}

Result<void> OpenPaths::checkOpenable(const CMPath& path) const
{
    if (!m_opened.contains(path) && m_opened.size() >= m_limit)
        return Failures::tooManyOpen(m_limit);
    if (path == CMPath())
        return {};
    const ContentHost::SharedMount mount = m_host.mountAt(path.prefix());
    // The worker itself decides, in connectChange().
    if (mount && !mount->isTree())
        return {};
    if (!mount || !isNormal(path.base()) || path.startsWith(mount->contextMenu()))
        return Failures::invalidPath(path);
    // All the ancestors of such a path would take more memory than there is.
    if (mount->localPath(path.base()).size() >= PATH_MAX)
        return Failures::invalidPath(path);
    const auto look = [mount, path, paths = lineage(path), reach = m_reach] {
        return checkDirectories(*mount, path, paths, reach);
    };
    const std::optional<Result<void>> checked = m_host.inspect(path.prefix(), look);
    return checked ? *checked : Failures::unanswered(path);
}

bool OpenPaths::hasAncestors(const CMPath& path) const
{
    return m_host.isRoot(path.prefix());
}

QVector<CMPath> OpenPaths::lineage(const CMPath& path) const
{
    if (!hasAncestors(path))
        return {path};
    QVector<CMPath> paths{CMPath(path.prefix(), QString())};
    const QString& base = path.base();
    for (int slash = base.indexOf(u'/'); slash >= 0; slash = base.indexOf(u'/', slash + 1))
        paths.append(CMPath(path.prefix(), base.left(slash)));
    if (!base.isEmpty())
        paths.append(path);
    return paths;
}

Result<void> OpenPaths::hold(const CMPath& opened, const QVector<CMPath>& paths)
{
    for (const CMPath& path : paths) {
        if (!isHeld(path) && !CMRoot()->connectChange(path, this))
            return Failures::invalidPath(opened);
    }
    // The worker may have closed one of them while it opened another.
    if (std::all_of(paths.cbegin(), paths.cend(), [this](const CMPath& path) { return isHeld(path); }))
        return {};
    return Failures::invalidPath(opened);
}

bool OpenPaths::isHeld(const CMPath& path) const
{
    const CMSubscribe* const subscribe = m_host.subscribeOf(path.prefix());
    return subscribe && subscribe->isClient(path, this);
}

void OpenPaths::release(const CMPath& path)
{
    m_host.countOpenPaths(m_opened.remove(path) ? -1 : 0);
    QVector<CMPath> paths = lineage(path);
    std::reverse(paths.begin(), paths.end());
    for (const CMPath& user : qAsConst(paths)) {
        if (--m_users[user] > 0)
            continue;
        m_users.remove(user);
        CMRoot()->disconnectChange(user, this);
    }
}
