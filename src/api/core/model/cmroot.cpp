#include "model/cmroot.h"

#include "tavo/tavokeys.h"

#include <algorithm>

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

} // namespace

CMRootWorker::CMRootWorker() : CMWorker({}, QStringLiteral("CMRootWorker"))
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

bool CMRootWorker::mount(CMWorker* worker)
{
    const QMutexLocker lock(&m_mutex);
    if (isOwnPrefix(worker->prefix()) || m_workers.contains(worker->prefix()))
        return false;
    m_workers.insert(worker->prefix(), worker);
    connect(worker, &QObject::destroyed, this, &CMRootWorker::forget, Qt::DirectConnection);
    return true;
}

void CMRootWorker::unmount(const CMWorker* worker)
{
    disconnect(worker, &QObject::destroyed, this, &CMRootWorker::forget);
    forget(worker);
}

void CMRootWorker::forget(const QObject* worker)
{
    const QMutexLocker lock(&m_mutex);
    const auto mounted = std::find(m_workers.begin(), m_workers.end(), worker);
    if (mounted != m_workers.end())
        m_workers.erase(mounted);
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

CMWorker* CMRootWorker::mountedAt(const QString& prefix) const
{
    const QMutexLocker lock(&m_mutex);
    return m_workers.value(prefix);
}

void CMRootWorker::request(const CMRequest& request)
{
    const QString& prefix = request.path().prefix();
    if (isOwnPrefix(prefix))
        CMWorker::request(request);
    else if (CMWorker* worker = mountedAt(prefix))
        worker->request(request);
    else
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

QVariantList CMRootWorker::rowOf(const QString& prefix, const QStringList& roles) const
{
    QVariantList row;
    for (const QString& role : roles) {
        if (role == TavoRoles::Path())
            row.append(CMPath(prefix, QString()).toEncoded());
        else if (role == TavoRoles::Title())
            row.append(prefix);
        else if (role == TavoRoles::Type())
            row.append(TavoRolesType::Container());
        else
            row.append(QVariant());
    }
    return row;
}

void CMRootWorker::getRowsRequest(const CMGetRowsRequest& request)
{
    if (request.path() != CMPath())
        return CMWorker::getRowsRequest(request);
    QStringList prefixes;
    {
        const QMutexLocker lock(&m_mutex);
        prefixes = m_workers.keys();
    }
    QVariantList rows;
    const int last = std::min(request.last(), prefixes.size() - 1);
    for (int i = std::max(request.first(), 0); i <= last; ++i)
        rows.append(QVariant(rowOf(prefixes.at(i), request.roles())));
    TavoRowsRoles page;
    page.setRowsCount(prefixes.size());
    page.setRowsVersion(0);
    page.setRows(rows);
    request.reply().setValue(page);
}

bool CMRootWorker::connectChange(const CMPath& path, CMChangeReceiver* receiver)
{
    CMWorker* worker = mountedAt(path.prefix());
    return worker && worker->connectChange(path, receiver);
}

void CMRootWorker::disconnectChange(const CMPath& path, CMChangeReceiver* receiver)
{
    if (CMWorker* worker = mountedAt(path.prefix()))
        worker->disconnectChange(path, receiver);
}
