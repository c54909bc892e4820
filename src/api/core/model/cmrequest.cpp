#include "model/cmrequest.h"

class CMRequestData : public QSharedData
{
public:
    CMRequestData(CMRequest::Kind requestKind, const CMPath& requestPath, CMReplyAbstractData* replyData)
        : kind(requestKind), path(requestPath), reply(replyData)
    {
    }
    virtual ~CMRequestData() = default;
    Q_DISABLE_COPY_MOVE(CMRequestData)

    template<typename T>
    [[nodiscard]] CMReply<T> typedReply() const
    {
        return CMReply<T>(static_cast<CMReplyData<T>*>(reply.data()));
    }

    const CMRequest::Kind kind;
    const CMPath path;
    const QExplicitlySharedDataPointer<CMReplyAbstractData> reply;
};

namespace {

class GetRowsData : public CMRequestData
{
public:
    GetRowsData(const CMPath& requestPath, int firstRow, int lastRow, int version, const QStringList& wanted)
        : CMRequestData(CMRequest::Kind::GetRows, requestPath, new CMReplyData<TavoRowsRoles>), first(firstRow),
          last(lastRow), rowsVersion(version), roles(wanted)
    {
    }

    const int first;
    const int last;
    const int rowsVersion;
    const QStringList roles;
};

class GetDataData : public CMRequestData
{
public:
    GetDataData(const CMPath& requestPath, const QStringList& wanted)
        : CMRequestData(CMRequest::Kind::GetData, requestPath, new CMReplyData<QVariantList>), roles(wanted)
    {
    }

    const QStringList roles;
};

class SetDataData : public CMRequestData
{
public:
    SetDataData(const CMPath& requestPath, const QVariant& newValue)
        : CMRequestData(CMRequest::Kind::SetData, requestPath, new CMReplyData<QVariant>), value(newValue)
    {
    }

    const QVariant value;
};

class MatchRowData : public CMRequestData
{
public:
    MatchRowData(const CMPath& requestPath, const QString& roleKey, const QVariant& wanted)
        : CMRequestData(CMRequest::Kind::MatchRow, requestPath, new CMReplyData<QVariant>), role(roleKey), value(wanted)
    {
    }

    const QString role;
    const QVariant value;
};

} // namespace

CMRequest::CMRequest() = default;
CMRequest::CMRequest(const CMRequest& other) = default;
CMRequest::CMRequest(CMRequest&& other) noexcept = default;
CMRequest& CMRequest::operator=(const CMRequest& other) = default;
CMRequest& CMRequest::operator=(CMRequest&& other) noexcept = default;
CMRequest::~CMRequest() = default;

CMRequest::CMRequest(CMRequestData* data) : m_d(data) {}

CMRequest::CMRequest(const CMRequest& other, Kind kind) : m_d(other.m_d)
{
    Q_ASSERT(other.kind() == kind);
}

CMRequest::Kind CMRequest::kind() const
{
    return d<CMRequestData>().kind;
}

const CMPath& CMRequest::path() const
{
    return d<CMRequestData>().path;
}

CMVoidReply CMRequest::voidReply() const
{
    return CMVoidReply(d<CMRequestData>().reply.data());
}

CMPingRequest::CMPingRequest(const CMPath& path)
    : CMRequest(new CMRequestData(Kind::Ping, path, new CMReplyData<QVariant>))
{
}

CMReply<QVariant> CMPingRequest::reply() const
{
    return d<CMRequestData>().typedReply<QVariant>();
}

CMGetRowsRequest::CMGetRowsRequest(const CMPath& path, int first, int last, int rowsVersion, const QStringList& roles)
    : CMRequest(new GetRowsData(path, first, last, rowsVersion, roles))
{
}

CMReply<TavoRowsRoles> CMGetRowsRequest::reply() const
{
    return d<CMRequestData>().typedReply<TavoRowsRoles>();
}

int CMGetRowsRequest::first() const
{
    return d<GetRowsData>().first;
}

int CMGetRowsRequest::last() const
{
    return d<GetRowsData>().last;
}

int CMGetRowsRequest::rowsVersion() const
{
    return d<GetRowsData>().rowsVersion;
}

const QStringList& CMGetRowsRequest::roles() const
{
    return d<GetRowsData>().roles;
}

CMGetDataRequest::CMGetDataRequest(const CMPath& path, const QStringList& roles)
    : CMRequest(new GetDataData(path, roles))
{
}

CMReply<QVariantList> CMGetDataRequest::reply() const
{
    return d<CMRequestData>().typedReply<QVariantList>();
}

const QStringList& CMGetDataRequest::roles() const
{
    return d<GetDataData>().roles;
}

CMSetDataRequest::CMSetDataRequest(const CMPath& path, const QVariant& value) : CMRequest(new SetDataData(path, value))
{
}

CMReply<QVariant> CMSetDataRequest::reply() const
{
    return d<CMRequestData>().typedReply<QVariant>();
}

const QVariant& CMSetDataRequest::value() const
{
    return d<SetDataData>().value;
}

CMMatchRowRequest::CMMatchRowRequest(const CMPath& path, const QString& role, const QVariant& value)
    : CMRequest(new MatchRowData(path, role, value))
{
}

CMReply<QVariant> CMMatchRowRequest::reply() const
{
    return d<CMRequestData>().typedReply<QVariant>();
}

const QString& CMMatchRowRequest::role() const
{
    return d<MatchRowData>().role;
}

const QVariant& CMMatchRowRequest::value() const
{
    return d<MatchRowData>().value;
}
