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

/// A handle on one request: what is asked, and the reply that takes the answer. Made once, never changed, shared by
/// copies; may be read from any thread.
///
/// A default-constructed handle has no record; asking it for anything ends the process.
class TAVO_API_EXPORT CMRequest
{
public:
    enum class Kind { Ping, GetRows, GetData, SetData, MatchRow };

    CMRequest();
    CMRequest(const CMRequest& other);
    CMRequest(CMRequest&& other) noexcept;
    CMRequest& operator=(const CMRequest& other);
    CMRequest& operator=(CMRequest&& other) noexcept;
    ~CMRequest();

    [[nodiscard]] Kind kind() const;
    [[nodiscard]] const CMPath& path() const;
    [[nodiscard]] CMVoidReply voidReply() const;

protected:
    explicit CMRequest(CMRequestData* data);
    /// `other` must be of the given kind.
    CMRequest(const CMRequest& other, Kind kind);

    template<typename Data>
    [[nodiscard]] const Data& d() const
    {
        Q_ASSERT(m_d);
        return static_cast<const Data&>(*m_d);
    }

    QExplicitlySharedDataPointer<CMRequestData> m_d;
};

/// Asks a worker whether it answers; the value is true.
class TAVO_API_EXPORT CMPingRequest : public CMRequest
{
public:
    CMPingRequest() = default;
    explicit CMPingRequest(const CMPath& path);
    explicit CMPingRequest(const CMRequest& request) : CMRequest(request, Kind::Ping) {}

    [[nodiscard]] CMReply<QVariant> reply() const;
};

/// Asks for one page of a container's rows.
class TAVO_API_EXPORT CMGetRowsRequest : public CMRequest
{
public:
    CMGetRowsRequest() = default;
    /// Rows `first` to `last`, inclusive, from 0; the page is empty if last < first.
    /// `rowsVersion`: the version that the client's rows have; 0 or less: it has none.
    CMGetRowsRequest(const CMPath& path, int first, int last, int rowsVersion, const QStringList& roles);
    explicit CMGetRowsRequest(const CMRequest& request) : CMRequest(request, Kind::GetRows) {}

    [[nodiscard]] CMReply<TavoRowsRoles> reply() const;
    [[nodiscard]] int first() const;
    [[nodiscard]] int last() const;
    [[nodiscard]] int rowsVersion() const;
    [[nodiscard]] const QStringList& roles() const;
};

/// Asks for the values of one row, in the order of the roles.
class TAVO_API_EXPORT CMGetDataRequest : public CMRequest
{
public:
    CMGetDataRequest() = default;
    CMGetDataRequest(const CMPath& path, const QStringList& roles);
    explicit CMGetDataRequest(const CMRequest& request) : CMRequest(request, Kind::GetData) {}

    [[nodiscard]] CMReply<QVariantList> reply() const;
    [[nodiscard]] const QStringList& roles() const;
};

/// Hands a value to what the path names; the answer is that service's.
class TAVO_API_EXPORT CMSetDataRequest : public CMRequest
{
public:
    CMSetDataRequest() = default;
    CMSetDataRequest(const CMPath& path, const QVariant& value);
    explicit CMSetDataRequest(const CMRequest& request) : CMRequest(request, Kind::SetData) {}

    [[nodiscard]] CMReply<QVariant> reply() const;
    [[nodiscard]] const QVariant& value() const;
};

/// Asks for the index of the first row whose `role` has the given value; the answer is an int, -1 if there is none.
class TAVO_API_EXPORT CMMatchRowRequest : public CMRequest
{
public:
    CMMatchRowRequest() = default;
    CMMatchRowRequest(const CMPath& path, const QString& role, const QVariant& value);
    explicit CMMatchRowRequest(const CMRequest& request) : CMRequest(request, Kind::MatchRow) {}

    [[nodiscard]] CMReply<QVariant> reply() const;
    [[nodiscard]] const QString& role() const;
    [[nodiscard]] const QVariant& value() const;
};
