#pragma once

#include "model/cmworker.h"
#include "tavo/tavovalue.h"

#include <QHash>
#include <QMap>
#include <QMutex>

/// The worker at the top of the content tree: it holds the settings and the mounted workers, and routes every request
/// to the worker whose prefix the path carries. Its own rows, at the path without prefix and base, are the mounted
/// workers, by prefix. Thread-safe, but for a worker that goes while requests to it are under way.
class TAVO_API_EXPORT CMRootWorker : public CMWorker
{
    Q_OBJECT
public:
    /// Lives as long as the process.
    [[nodiscard]] static CMRootWorker& instance();

    /// The worker stays the caller's; its destruction unmounts it. False if its prefix is taken.
    [[nodiscard]] bool mount(CMWorker* worker);
    /// Does nothing to a worker that is not mounted.
    void unmount(const CMWorker* worker);

    /// Settings are the paths under the prefix "settings". Set-data requests change them too.
    void setSetting(const CMPath& path, const TavoValue& value);

    void request(const CMRequest& request) override;
    void getDataRequest(const CMGetDataRequest& request) override;
    void getRowsRequest(const CMGetRowsRequest& request) override;
    void setDataRequest(const CMSetDataRequest& request) override;
    [[nodiscard]] bool connectChange(const CMPath& path, CMChangeReceiver* receiver) override;
    void disconnectChange(const CMPath& path, CMChangeReceiver* receiver) override;

private:
    CMRootWorker();

    /// Invalid if there is no such setting.
    [[nodiscard]] QVariant setting(const CMPath& path) const;
    [[nodiscard]] CMWorker* mountedAt(const QString& prefix) const;
    [[nodiscard]] QVariantList rowOf(const QString& prefix, const QStringList& roles) const;
    void forget(const QObject* worker);

    mutable QMutex m_mutex;
    QMap<QString, CMWorker*> m_workers;
    QHash<CMPath, TavoValue> m_settings;
};

/// The root worker; never null.
[[nodiscard]] TAVO_API_EXPORT CMAbstractWorker* CMRoot();
