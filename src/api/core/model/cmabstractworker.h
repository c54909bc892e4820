#pragma once

#include "model/cmerror.h"
#include "model/cmrequest.h"
#include "tavo/tavoexport.h"

#include <QObject>

class CMChangeReceiver;

/// Serves a part of the content tree by answering requests.
///
/// Every request has a reply of its own, which the worker finishes with a value or an error, in the call or later.
/// Requests may be made in any thread; they throw nothing.
class TAVO_API_EXPORT CMAbstractWorker : public QObject
{
    Q_OBJECT
public:
    /// Passes the request to the operation for its kind: one of the five below.
    virtual void request(const CMRequest& request);

    /// Finishes the reply with `true`, at once.
    virtual void ping(const CMPingRequest& request) = 0;
    /// Writes the text to the worker's log.
    virtual void trace(const QString& text) = 0;
    /// Answers with the values of one row, or with an error if the path names none.
    virtual void getDataRequest(const CMGetDataRequest& request) = 0;
    /// Answers with a page of the rows of a container.
    virtual void getRowsRequest(const CMGetRowsRequest& request) = 0;
    /// Answers with the index of the first row that has a given value, -1 if none has.
    virtual void matchRowRequest(const CMMatchRowRequest& request) = 0;
    /// Calls the service that the path names. The reply stays unfinished if it names none.
    virtual void setDataRequest(const CMSetDataRequest& request) = 0;
    /// Subscribes `receiver` to changes of the rows of `path`, until it disconnects or the path is closed.
    ///
    /// False if the subscription did not begin. The caller keeps the receiver; destroying it disconnects it. From any
    /// thread, in which the call may wait; see CMSubscribe::add().
    [[nodiscard]] virtual bool connectChange(const CMPath& path, CMChangeReceiver* receiver) = 0;
    /// Ends a subscription; does nothing without one. From any thread; see CMSubscribe::remove().
    virtual void disconnectChange(const CMPath& path, CMChangeReceiver* receiver) = 0;

    /// The value of the role TavoRoles::Value() of one row; invalid if the request ends in an error.
    ///
    /// Blocks until the reply is finished.
    [[nodiscard]] QVariant getValue(const CMPath& path);

    /// The error of a request for a path that names nothing. Thread-safe.
    [[nodiscard]] static CMError createErrorInvalidPath(const CMPath& path);
    /// The error of a request for rows of version `requested`, while they have version `current`. Thread-safe.
    [[nodiscard]] static CMError createErrorInvalidRowsVersion(const CMPath& path, int requested, int current);

protected:
    /// A worker without a parent, or owned by one.
    using QObject::QObject;
};
