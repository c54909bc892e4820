#include "model/cmroot.h"

#include "model/cmunderway_p.h"
#include "model/cmversion.h"
#include "tavo/tavokeys.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int defaultAlbumArtWidth = 300;

QString settingsPrefix()
{
    return TavoMusicLibraryAlbumArtWidth().prefix();
}

bool isOwnPrefix(const QString& prefix)
{
    return prefix.isEmpty() || prefix == settingsPrefix();
}

QVariantList rowOf(const QString& prefix, const TrString& title, const QStringList& roles)
{
    QVariantList row;
    for (const QString& role : roles) {
        if (role == TavoRoles::Path())
            row.append(CMPath(prefix, QString()).toEncoded());
        else if (role == TavoRoles::Title())
            row.append(title.toString());
        else if (role == TavoRoles::Type())
            row.append(TavoRolesType::Container());
        else
            row.append(QVariant());
    }
    return row;
}

} // namespace

CMRootWorker::CMRootWorker() : CMWorker(QStringLiteral("CMRootWorker"))
{
    setSetting(TavoMusicLibraryAlbumArtWidth(), TavoValue::fromI32(defaultAlbumArtWidth));
}

CMRootWorker& CMRootWorker::instance()
{
    static CMRootWorker root;
    return root;
}

CMAbstractWorker* CMRoot()
{
    return &CMRootWorker::instance();
}

bool CMRootWorker::mount(CMWorker* worker, const TrString& title, int position)
{
    const QMutexLocker lock(&m_mutex);
    const QString& prefix = worker->prefix();
    const auto hasPrefix = [&prefix](const Mount& mount) { return mount.prefix == prefix; };
    if (isOwnPrefix(prefix) || std::any_of(m_mounts.cbegin(), m_mounts.cend(), hasPrefix))
        return false;
    CMSubscribe* const subscribe = worker->subscribe();
    insertLocked(
        {worker, subscribe, prefix, title.isEmpty() ? TrString(prefix) : title, position, subscribe->m_underWay});
    subscribe->m_underWay->mount();
    // The worker may have taken the largest version.
    CMVersion::raise(0);
    connect(
        worker, &QObject::destroyed, this, [this](const QObject* destroyed) { forget(destroyed, {}); },
        Qt::DirectConnection);
    resetRowsLocked();
    return true;
}

void CMRootWorker::insertLocked(const Mount& mount)
{
    const auto isBehind = [&mount](const Mount& other) { return other.position > mount.position; };
    m_mounts.insert(std::find_if(m_mounts.begin(), m_mounts.end(), isBehind), mount);
}

void CMRootWorker::setPosition(CMWorker* worker, int position)
{
    const QMutexLocker lock(&m_mutex);
    const auto mounted =
        std::find_if(m_mounts.begin(), m_mounts.end(), [worker](const Mount& mount) { return mount.worker == worker; });
    if (mounted == m_mounts.end() || mounted->position == position)
        return;
    Mount moved = *mounted;
    moved.position = position;
    m_mounts.erase(mounted);
    insertLocked(moved);
    resetRowsLocked();
}

void CMRootWorker::unmount(CMWorker* worker, std::function<void()> whenUnused)
{
    disconnect(worker, &QObject::destroyed, this, nullptr);
    forget(worker, std::move(whenUnused));
}

CMRootWorker::Mount CMRootWorker::takeMount(const QObject* worker)
{
    const QMutexLocker lock(&m_mutex);
    const auto isOfWorker = [worker](const Mount& mount) { return mount.worker == worker; };
    const auto mounted = std::find_if(m_mounts.begin(), m_mounts.end(), isOfWorker);
    if (mounted == m_mounts.end())
        return {};
    Mount taken = *mounted;
    m_mounts.erase(mounted);
    resetRowsLocked();
    return taken;
}

// Of a worker that is being destroyed only the subscriptions, its child, are still there.
void CMRootWorker::forget(const QObject* worker, std::function<void()> whenUnused)
{
    const Mount mount = takeMount(worker);
    if (!mount.worker)
        return;
    mount.underWay->unmount(std::move(whenUnused));
    mount.subscribe->rowsChanged(CMPath(mount.prefix, QString()), {CMSubscribe::RowsChangeClose()}, 0, -1);
    mount.underWay->raiseLastVersion();
}

void CMRootWorker::opened()
{
    const QMutexLocker lock(&m_mutex);
    m_rowsVersion = CMVersion::next();
}

void CMRootWorker::closed()
{
    const QMutexLocker lock(&m_mutex);
    m_rowsVersion = 0;
}

void CMRootWorker::resetRowsLocked()
{
    if (m_rowsVersion == 0)
        return;
    m_rowsVersion = CMVersion::next();
    subscribe()->rowsChanged(CMPath(), {CMSubscribe::RowsChangeReset()}, m_rowsVersion, -1);
}

void CMRootWorker::setSetting(const CMPath& path, const TavoValue& value)
{
    const QMutexLocker lock(&m_mutex);
    m_settings.insert(path, value);
}

QVariant CMRootWorker::setting(const CMPath& path) const
{
    const QMutexLocker lock(&m_mutex);
    return m_settings.value(path).__variant();
}

void CMRootWorker::setVisibility(Visibility visibility)
{
    const QMutexLocker lock(&m_mutex);
    m_visibility = std::move(visibility);
}

bool CMRootWorker::isVisible(const CMPath& path) const
{
    QMutexLocker lock(&m_mutex);
    const Visibility visibility = m_visibility;
    lock.unlock();
    return !visibility || visibility(path);
}

CMRootWorker::Mount CMRootWorker::mountedAt(const QString& prefix) const
{
    const QMutexLocker lock(&m_mutex);
    for (const Mount& mount : m_mounts) {
        if (mount.prefix == prefix)
            return mount;
    }
    return {};
}

void CMRootWorker::request(const CMRequest& request)
{
    const QString& prefix = request.path().prefix();
    if (isOwnPrefix(prefix))
        return CMWorker::request(request);
    if (const Mount mount = mountedAt(prefix); mount.worker) {
        const CMUnderWay::Call call(mount.underWay, &request);
        if (call.isAdmitted())
            return mount.worker->request(request);
    }
    request.voidReply().setError(createErrorInvalidPath(request.path()));
}

void CMRootWorker::getDataRequest(const CMGetDataRequest& request)
{
    const QVariant value = setting(request.path());
    if (!value.isValid())
        return request.reply().setError(createErrorInvalidPath(request.path()));
    QVariantList values;
    for (const QString& role : request.roles())
        values.append(role == TavoRoles::Value() ? value : QVariant());
    request.reply().setValue(values);
}

void CMRootWorker::setDataRequest(const CMSetDataRequest& request)
{
    if (!setting(request.path()).isValid())
        return request.reply().setError(createErrorInvalidPath(request.path()));
    setSetting(request.path(), TavoValue(request.value()));
    request.reply().setValue(request.value());
}

void CMRootWorker::getRowsRequest(const CMGetRowsRequest& request)
{
    if (request.path() != CMPath())
        return CMWorker::getRowsRequest(request);
    QMutexLocker lock(&m_mutex);
    const int version = m_rowsVersion;
    const std::vector<Mount> mounts = m_mounts;
    lock.unlock();
    if (version > 0 && request.rowsVersion() > 0 && request.rowsVersion() != version)
        return request.reply().setError(createErrorInvalidRowsVersion(request.path(), request.rowsVersion(), version));
    QVariantList rows;
    const int count = static_cast<int>(mounts.size());
    const int last = std::min(request.last(), count - 1);
    for (int i = std::max(request.first(), 0); i <= last; ++i) {
        const Mount& mount = mounts[static_cast<std::size_t>(i)];
        rows.append(QVariant(rowOf(mount.prefix, mount.title, request.roles())));
    }
    TavoRowsRoles page;
    page.setRowsCount(count);
    page.setRowsVersion(version);
    page.setRows(rows);
    request.reply().setValue(page);
}

bool CMRootWorker::connectChange(const CMPath& path, CMChangeReceiver* receiver)
{
    if (path == CMPath()) {
        const auto once = static_cast<Qt::ConnectionType>(Qt::DirectConnection | Qt::UniqueConnection);
        connect(subscribe(), &CMSubscribe::rowsPathAdded, this, &CMRootWorker::opened, once);
        connect(subscribe(), &CMSubscribe::rowsPathRemoved, this, &CMRootWorker::closed, once);
        return CMWorker::connectChange(path, receiver);
    }
    const Mount mount = mountedAt(path.prefix());
    if (!mount.worker)
        return false;
    const CMUnderWay::Call call(mount.underWay);
    if (!call.isAdmitted() || !mount.worker->connectChange(path, receiver))
        return false;
    // Unmounting may have closed everything just before this was opened.
    if (mount.underWay->isMounted())
        return true;
    mount.worker->disconnectChange(path, receiver);
    return false;
}

void CMRootWorker::disconnectChange(const CMPath& path, CMChangeReceiver* receiver)
{
    if (path == CMPath())
        return CMWorker::disconnectChange(path, receiver);
    const Mount mount = mountedAt(path.prefix());
    if (!mount.worker)
        return;
    const CMUnderWay::Call call(mount.underWay);
    if (call.isAdmitted())
        mount.worker->disconnectChange(path, receiver);
}
