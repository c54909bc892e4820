#include "model/cmabstractworker.h"

#include "tavo/tavokeys.h"
#include "tavo/tavoroles.h"

void CMAbstractWorker::request(const CMRequest& request)
{
    switch (request.kind()) {
    case CMRequest::Kind::Ping:
        return ping(CMPingRequest(request));
    case CMRequest::Kind::GetRows:
        return getRowsRequest(CMGetRowsRequest(request));
    case CMRequest::Kind::GetData:
        return getDataRequest(CMGetDataRequest(request));
    case CMRequest::Kind::SetData:
        return setDataRequest(CMSetDataRequest(request));
    case CMRequest::Kind::MatchRow:
        return matchRowRequest(CMMatchRowRequest(request));
    }
}

QVariant CMAbstractWorker::getValue(const CMPath& path)
{
    const CMGetDataRequest valueRequest(path, {TavoRoles::Value()});
    request(valueRequest);
    static_cast<void>(valueRequest.reply().waitForFinished());
    return valueRequest.reply().value().value(0);
}

CMError CMAbstractWorker::createErrorInvalidPath(const CMPath& path)
{
    static const TrCharData text{"CMAbstractWorker", QT_TRANSLATE_NOOP("CMAbstractWorker", "Invalid path '%1'")};
    return {TavoErrorInvalidPath(), TrString(text, path.toEncoded())};
}

CMError CMAbstractWorker::createErrorInvalidRowsVersion(const CMPath& path, int requested, int current)
{
    static const TrCharData text{
        "CMAbstractWorker",
        QT_TRANSLATE_NOOP("CMAbstractWorker", "Rows version %2 of '%1' is not current, the current one is %3")};
    const QList<TrArg> arguments = {path.toEncoded(), QString::number(requested), QString::number(current)};
    return {TavoErrorInvalidRowsVersion(), TrString(text, arguments)};
}
