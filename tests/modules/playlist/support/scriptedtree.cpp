#include "scriptedtree.h"

#include "tavo/tavokeys.h"
#include "tavo/tavomedia.h"
#include "tavo/tavoroles.h"

#include <algorithm>

namespace {

QString joined(const QString& container, const QString& name)
{
    return container.isEmpty() ? name : container + QLatin1Char('/') + name;
}

QString nameOf(const QString& base)
{
    return base.mid(base.lastIndexOf(QLatin1Char('/')) + 1);
}

QVariant mediaOf(const QString& prefix, const QString& base)
{
    TavoMetaData metaData;
    metaData.setServiceID(prefix);
    TavoResource resource;
    resource.setUri(QStringLiteral("file:///scripted/") + base);
    TavoList<TavoResource> resources;
    resources.append(resource);
    TavoMediaData media;
    media.setMetaData(metaData);
    media.setResources(resources);
    return media.__variant();
}

} // namespace

ScriptedTree::ScriptedTree(const QString& prefix)
    : CMWorker({{TavoService_Id(), prefix}}, QStringLiteral("ScriptedTree"))
{
    m_rows.insert(QString(), {QString(), TavoRolesType::Container()});
}

ScriptedTree::~ScriptedTree() = default;

void ScriptedTree::addContainer(const QString& container, const QString& name)
{
    const Row row{joined(container, name), TavoRolesType::Container()};
    m_containers[container].append(row);
    m_rows.insert(row.base, row);
}

void ScriptedTree::addItem(const QString& container, const QString& name, const char* type)
{
    const Row row{joined(container, name), QString::fromUtf8(type)};
    m_containers[container].append(row);
    m_rows.insert(row.base, row);
}

void ScriptedTree::addLoop(const QString& container, int items)
{
    m_containers[container].append(m_rows.value(container));
    for (int i = 0; i < items; ++i)
        addItem(container, QString::number(i));
}

QVariantList ScriptedTree::values(const Row& row, const QStringList& roles) const
{
    QVariantList values;
    for (const QString& role : roles) {
        if (role == TavoRoles::Path())
            values.append(addPrefix(row.base).toEncoded());
        else if (role == TavoRoles::Title())
            values.append(nameOf(row.base));
        else if (role == TavoRoles::Type())
            values.append(row.type);
        else if (role == TavoRoles::MediaData())
            values.append(mediaOf(prefix(), row.base));
        else
            values.append(QVariant());
    }
    return values;
}

void ScriptedTree::getRowsRequest(const CMGetRowsRequest& request)
{
    if (served)
        served(request);
    const QList<Row> rows = m_containers.value(request.path().base());
    QVariantList page;
    for (int i = request.first(); i <= std::min(request.last(), rows.size() - 1); ++i)
        page.append(QVariant(values(rows.at(i), request.roles())));
    TavoRowsRoles answer;
    answer.setRowsCount(rows.size());
    answer.setRows(page);
    request.reply().setValue(answer);
}

void ScriptedTree::getDataRequest(const CMGetDataRequest& request)
{
    if (served)
        served(request);
    if (!m_rows.contains(request.path().base()))
        return request.reply().setError(createErrorInvalidPath(request.path()));
    request.reply().setValue(values(m_rows.value(request.path().base()), request.roles()));
}

void ScriptedTree::setDataRequest(const CMSetDataRequest& request)
{
    if (served)
        served(request);
    if (request.path().base() != TavoPlayListPrepareItems())
        return;
    ++preparations;
    QVariantList items;
    for (const QVariant& path : request.value().toList()) {
        const QString base = CMPath::fromEncoded(path.toString()).base();
        const QString title = QStringLiteral("Tagged ") + nameOf(base);
        TavoMediaData media(mediaOf(prefix(), base).toHash());
        TavoMetaData metaData = media.metaData();
        metaData.setTitle(title);
        media.setMetaData(metaData);
        items.append(QVariantHash{
            {TavoRoles::Path(), path}, {TavoRoles::Title(), title}, {TavoRoles::MediaData(), media.__variant()}});
    }
    request.reply().setValue(items);
}
