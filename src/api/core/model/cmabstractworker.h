#pragma once

#include "model/cmerror.h"
#include "model/cmrequest.h"
#include "tavo/tavoexport.h"

#include <QObject>

class CMChangeReceiver;

/// Whatever answers requests about a part of the content tree.
///
/// Requests may come from any thread and are answered on their own reply, at once or later; nothing is thrown.
class TAVO_API_EXPORT CMAbstractWorker : public QObject
{
    Q_OBJECT
public:
    /// Hands the request to the operation of its kind.
    virtual void request(const CMRequest& request);

    virtual void ping(const CMPingRequest& request) = 0;
    /// Writes the text to the worker's log.
    virtual void trace(const QString& text) = 0;
    virtual void getDataRequest(const CMGetDataRequest& request) = 0;
    virtual void getRowsRequest(const CMGetRowsRequest& request) = 0;
    virtual void matchRowRequest(const CMMatchRowRequest& request) = 0;
    virtual void setDataRequest(const CMSetDataRequest& request) = 0;
    /// The receiver is told of changes of the path's rows until it disconnects or the path is closed; false if the
    /// worker does not track such a path. The receiver stays the caller's.
    [[nodiscard]] virtual bool connectChange(const CMPath& path, CMChangeReceiver* receiver) = 0;
    virtual void disconnectChange(const CMPath& path, CMChangeReceiver* receiver) = 0;

    /// The value role of one row; invalid if it is refused. Waits for the answer.
    [[nodiscard]] QVariant getValue(const CMPath& path);

    [[nodiscard]] static CMError createErrorInvalidPath(const CMPath& path);
    [[nodiscard]] static CMError createErrorInvalidRowsVersion(const CMPath& path, int requested, int current);

protected:
    using QObject::QObject;
};
