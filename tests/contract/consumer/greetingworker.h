#pragma once

#include <tavo.h>

/// Has one row at every path: a greeting of the path.
class GreetingWorker : public CMWorker
{
    Q_OBJECT
public:
    explicit GreetingWorker(const QVariantHash& configuration);

    void getRowsRequest(const CMGetRowsRequest& request) override;
    QVariantList getDataImpl(CMVoidReply& reply, const QString& path, const QStringList& roles) override;
};
