#include "model/cmworker.h"

#include "log/dbglog.h"
#include "tavo/tavokeys.h"

#include <log4cplus/loggingmacros.h>

namespace {

constexpr int matchPageSize = 256;

QString prefixFrom(const QVariantHash& configuration, const QString& name)
{
    const QString serviceId = configuration.value(TavoService_Id()).toString();
    return serviceId.isEmpty() ? name : serviceId;
}

/// The index in the page of the row whose only value is `value`, or -1.
int indexInPage(const QVariantList& rows, const QVariant& value)
{
    for (int i = 0; i < rows.size(); ++i) {
        if (rows.at(i).toList().value(0) == value)
            return i;
    }
    return -1;
}

} // namespace

CMWorker::CMWorker(const QVariantHash& configuration, const QString& name)
    : m_name(name), m_prefix(prefixFrom(configuration, name)), m_subscribe(new CMSubscribe(this))
{
}

CMWorker::CMWorker(const QString& name) : m_name(name), m_subscribe(new CMSubscribe(this)) {}

CMWorker::~CMWorker() = default;

CMPath CMWorker::addPrefix(const QString& base) const
{
    return {m_prefix, base};
}

void CMWorker::ping(const CMPingRequest& request)
{
    request.reply().setValue(true);
}

void CMWorker::trace(const QString& text)
{
    constexpr DbgLogSite site{"src/api/core/model/cmworker", __LINE__, "virtual void CMWorker::trace(const QString&)"};
    const log4cplus::Logger logger = log4cplus::Logger::getInstance(m_name.toStdString());
    DBGLOG(logger, log4cplus::TRACE_LOG_LEVEL, site, text);
}

void CMWorker::getDataRequest(const CMGetDataRequest& request)
{
    CMReply<QVariantList> reply = request.reply();
    reply.setValue(getDataImpl(reply, request.path().base(), request.roles()));
}

void CMWorker::getRowsRequest(const CMGetRowsRequest& request)
{
    request.reply().setError(createErrorInvalidPath(request.path()));
}

void CMWorker::matchRowRequest(const CMMatchRowRequest& request)
{
    CMReply<QVariant> reply = request.reply();
    int version = 0;
    for (int first = 0;; first += matchPageSize) {
        const CMGetRowsRequest page(request.path(), first, first + matchPageSize - 1, version, {request.role()});
        getRowsRequest(page);
        static_cast<void>(page.reply().waitForFinished());
        if (page.reply().isError())
            return reply.setError(page.reply().error());
        const TavoRowsRoles rows = page.reply().value();
        const int index = indexInPage(rows.rows(), request.value());
        if (index >= 0)
            return reply.setValue(first + index);
        if (first >= rows.rowsCount() - matchPageSize)
            return reply.setValue(-1);
        version = rows.rowsVersion();
    }
}

void CMWorker::setDataRequest(const CMSetDataRequest& request)
{
    request.reply().setError(createErrorInvalidPath(request.path()));
}

bool CMWorker::connectChange(const CMPath& path, CMChangeReceiver* receiver)
{
    return m_subscribe->add(path, receiver);
}

void CMWorker::disconnectChange(const CMPath& path, CMChangeReceiver* receiver)
{
    m_subscribe->remove(path, receiver);
}

QVariantList CMWorker::getDataImpl(CMVoidReply& /*reply*/, const QString& /*path*/, const QStringList& roles)
{
    QVariantList values;
    for (int i = 0; i < roles.size(); ++i)
        values.append(QVariant());
    return values;
}
