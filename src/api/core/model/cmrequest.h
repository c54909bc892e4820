#pragma once

#include "model/cmpath.h"
#include "model/cmreply.h"
#include "tavo/tavoexport.h"
#include "tavo/tavoroles.h"

#include <QExplicitlySharedDataPointer>
#include <QSharedData>
#include <QStringList>
#include <QVariant>

class CMRequestData;

/// A handle of a request: a path, parameters, and the reply that takes the answer.
///
/// Copies share the request and own it together; it never changes. Several threads may use copies, each its own. A
/// default-constructed handle has no request: it may only be copied, assigned and destroyed, any other call ends the
/// process.
class TAVO_API_EXPORT CMRequest
{
public:
    /// The class of the request, and so the operation of CMAbstractWorker that answers it.
    enum class Kind { Ping, GetRows, GetData, SetData, MatchRow };

    /// A handle without a request.
    CMRequest();
    ///@{
    /// Shares the request of `other`.
    CMRequest(const CMRequest& other);
    CMRequest& operator=(const CMRequest& other);
    ///@}
    ///@{
    /// Takes the request of `other`, which has none afterwards.
    CMRequest(CMRequest&& other) noexcept;
    CMRequest& operator=(CMRequest&& other) noexcept;
    ///@}
    ~CMRequest();

    /// Tells which derived class may be constructed from this handle.
    [[nodiscard]] Kind kind() const;
    /// The row or service that the request is about. The reference is valid while a handle of the request exists.
    [[nodiscard]] const CMPath& path() const;
    /// The reply, without the type of its value: enough to set an error and to wait.
    [[nodiscard]] CMVoidReply voidReply() const;

protected:
    /// A handle of `data`, which all its handles own together.
    explicit CMRequest(CMRequestData* data);
    /// A handle of the request of `other`, which must be of this kind: any other ends the process.
    CMRequest(const CMRequest& other, Kind kind);

    /// The request as its own class of data. Requires a request.
    template<typename Data>
    [[nodiscard]] const Data& d() const
    {
        Q_ASSERT(m_d);
        return static_cast<const Data&>(*m_d);
    }

    /// Null without a request.
    QExplicitlySharedDataPointer<CMRequestData> m_d;
};

/// Asks whether the worker of a path answers; the value of the reply is true.
class TAVO_API_EXPORT CMPingRequest : public CMRequest
{
public:
    /// A handle without a request.
    CMPingRequest() = default;
    /// A new request to the worker with the path's prefix.
    explicit CMPingRequest(const CMPath& path);
    /// A handle of the same request, which must be of kind Ping.
    explicit CMPingRequest(const CMRequest& request) : CMRequest(request, Kind::Ping) {}

    /// A handle of the reply.
    [[nodiscard]] CMReply<QVariant> reply() const;
};

/// Asks for one page of the rows of a container.
class TAVO_API_EXPORT CMGetRowsRequest : public CMRequest
{
public:
    /// A handle without a request.
    CMGetRowsRequest() = default;
    /// A new request for the rows `first` to `last`, counted from 0, both included; none if last < first.
    ///
    /// `rowsVersion` is the version that the rows must have; 0 or less accepts any. `roles` are the keys of the values
    /// that each row is to have (see TavoRoles).
    CMGetRowsRequest(const CMPath& path, int first, int last, int rowsVersion, const QStringList& roles);
    /// A handle of the same request, which must be of kind GetRows.
    explicit CMGetRowsRequest(const CMRequest& request) : CMRequest(request, Kind::GetRows) {}

    /// A handle of the reply.
    [[nodiscard]] CMReply<TavoRowsRoles> reply() const;
    /// Index of the first row of the page.
    [[nodiscard]] int first() const;
    /// Index of the last row of the page.
    [[nodiscard]] int last() const;
    /// The version that the rows must have; 0 or less accepts any.
    [[nodiscard]] int rowsVersion() const;
    /// Keys of the values, in their order. The reference is valid while a handle of the request exists.
    [[nodiscard]] const QStringList& roles() const;
};

/// Asks for values of one row.
class TAVO_API_EXPORT CMGetDataRequest : public CMRequest
{
public:
    /// A handle without a request.
    CMGetDataRequest() = default;
    /// A new request. The reply has one value for each of `roles`, in their order (see TavoRoles).
    CMGetDataRequest(const CMPath& path, const QStringList& roles);
    /// A handle of the same request, which must be of kind GetData.
    explicit CMGetDataRequest(const CMRequest& request) : CMRequest(request, Kind::GetData) {}

    /// A handle of the reply.
    [[nodiscard]] CMReply<QVariantList> reply() const;
    /// Keys of the values, in their order. The reference is valid while a handle of the request exists.
    [[nodiscard]] const QStringList& roles() const;
};

/// Passes a value to a service of a worker, or to a setting; the service determines the value of the reply.
class TAVO_API_EXPORT CMSetDataRequest : public CMRequest
{
public:
    /// A handle without a request.
    CMSetDataRequest() = default;
    /// A new request. `path` names the service; a worker does not answer if it has none under this path.
    CMSetDataRequest(const CMPath& path, const QVariant& value);
    /// A handle of the same request, which must be of kind SetData.
    explicit CMSetDataRequest(const CMRequest& request) : CMRequest(request, Kind::SetData) {}

    /// A handle of the reply.
    [[nodiscard]] CMReply<QVariant> reply() const;
    /// The value for the service. The reference is valid while a handle of the request exists.
    [[nodiscard]] const QVariant& value() const;
};

/// Asks for the index of the first row that has a given value; the value of the reply is an int, -1 if none has.
class TAVO_API_EXPORT CMMatchRowRequest : public CMRequest
{
public:
    /// A handle without a request.
    CMMatchRowRequest() = default;
    /// A new request for the rows of `path`: the value of `role` is compared with `value`.
    CMMatchRowRequest(const CMPath& path, const QString& role, const QVariant& value);
    /// A handle of the same request, which must be of kind MatchRow.
    explicit CMMatchRowRequest(const CMRequest& request) : CMRequest(request, Kind::MatchRow) {}

    /// A handle of the reply.
    [[nodiscard]] CMReply<QVariant> reply() const;
    /// Key of the values that are compared. The reference is valid while a handle of the request exists.
    [[nodiscard]] const QString& role() const;
    /// The value to find. The reference is valid while a handle of the request exists.
    [[nodiscard]] const QVariant& value() const;
};
