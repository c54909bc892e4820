#include "greetingworker.h"

#include <playlist/playlisthelper.h>

GreetingWorker::GreetingWorker(const QVariantHash& configuration) : CMWorker(configuration, "GreetingWorker") {}

void GreetingWorker::getRowsRequest(const CMGetRowsRequest& request)
{
    CMReply<TavoRowsRoles> reply = request.reply();
    QVariantList rows = PlayListHelper::playListRows(request);
    if (rows.isEmpty())
        rows.append(QVariant(getDataImpl(reply, request.path().base(), request.roles())));
    TavoRowsRoles page;
    page.setRowsCount(rows.size());
    page.setRows(rows);
    reply.setValue(page);
}

QVariantList GreetingWorker::getDataImpl(CMVoidReply& /*reply*/, const QString& path, const QStringList& roles)
{
    QVariantList values;
    for (const QString& role : roles)
        values.append(role == TavoRoles::Title() ? "Hello, " + path : QVariant());
    return values;
}

extern "C" Q_DECL_EXPORT CMWorker* worker_create(void* /*host*/, const QVariantHash& configuration)
{
    return new GreetingWorker(configuration);
}
