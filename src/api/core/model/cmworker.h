#pragma once

#include "model/cmabstractworker.h"
#include "model/cmsubscribe.h"

/// A worker that serves one prefix of the content tree: its service id.
///
/// Lives in the thread that made it, or that it is moved to; that thread's event loop brings it its notifications.
class TAVO_API_EXPORT CMWorker : public CMAbstractWorker
{
    Q_OBJECT
public:
    /// `configuration`: the key TavoService_Id() gives the prefix; without one it is `name`.
    CMWorker(const QVariantHash& configuration, const QString& name);
    ~CMWorker() override;

    /// The name of the worker's class, which is its logger's name. The reference is valid while the worker is.
    [[nodiscard]] const QString& name() const { return m_name; }
    /// The prefix of all paths of the worker, not encoded. The reference is valid while the worker is. Thread-safe.
    [[nodiscard]] const QString& prefix() const { return m_prefix; }
    /// The path of this worker that has the given base.
    [[nodiscard]] CMPath addPrefix(const QString& base) const;
    /// The worker's subscriptions; owned by the worker.
    [[nodiscard]] CMSubscribe* subscribe() const { return m_subscribe; }

    void ping(const CMPingRequest& request) override;
    void trace(const QString& text) override;
    /// Answers with what getDataImpl() gives.
    void getDataRequest(const CMGetDataRequest& request) override;
    /// A plain worker has no rows: the answer is an invalid-path error.
    void getRowsRequest(const CMGetRowsRequest& request) override;
    /// Reads the rows page by page, all of one version, and waits for each.
    void matchRowRequest(const CMMatchRowRequest& request) override;
    /// A plain worker takes no values: the answer is an invalid-path error.
    void setDataRequest(const CMSetDataRequest& request) override;
    [[nodiscard]] bool connectChange(const CMPath& path, CMChangeReceiver* receiver) override;
    void disconnectChange(const CMPath& path, CMChangeReceiver* receiver) override;

    /// The values of one row's roles, in their order, invalid for a role that the row does not have. `path` is a base.
    /// On refusal the list is empty and the reply has the error.
    [[nodiscard]] virtual QVariantList getDataImpl(CMVoidReply& reply, const QString& path, const QStringList& roles);

protected:
    /// A worker without a prefix, for the top of the tree.
    explicit CMWorker(const QString& name);

private:
    const QString m_name;
    const QString m_prefix;
    CMSubscribe* const m_subscribe;
};

/// What a worker module exports under the name "worker_create".
///
/// The first argument is the host's and opaque to the module; the second is the worker's configuration. The caller
/// owns the worker and deletes it. Exceptions of the worker's construction pass through.
using CMWorkerCreate = CMWorker* (*)(void* host, const QVariantHash& configuration);
