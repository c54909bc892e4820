#include "support/tracks.h"

#include "tavo/tavokeys.h"
#include "tavo/tavomedia.h"
#include "tavo/tavoroles.h"

#include <algorithm>

namespace {

QVariant mediaOf(int track)
{
    TavoMetaData metaData;
    metaData.setServiceID(QStringLiteral("tracks"));
    metaData.setTitle(QStringLiteral("Track %1").arg(track));
    metaData.setArtist(QStringLiteral("The artist of the album"));
    metaData.setAlbum(QStringLiteral("Album %1").arg(track / 10));
    TavoResource resource;
    resource.setUri(QStringLiteral("file:///music/Album/%1.mp3").arg(track));
    resource.setMimeType(QStringLiteral("audio/mpeg"));
    resource.setDuration(200'000 + track);
    TavoList<TavoResource> resources;
    resources.append(resource);
    TavoMediaData media;
    media.setMetaData(metaData);
    media.setResources(resources);
    return media.__variant();
}

} // namespace

Tracks::Tracks(const QString& prefix, int count)
    : CMWorker({{TavoService_Id(), prefix}}, QStringLiteral("Tracks")), m_count(count)
{
}

QVariantList Tracks::row(int track, const QStringList& roles) const
{
    QVariantList values;
    for (const QString& role : roles) {
        if (role == TavoRoles::Path())
            values.append(addPrefix(QString::number(track)).toEncoded());
        else if (role == TavoRoles::Title())
            values.append(QStringLiteral("Track %1").arg(track));
        else if (role == TavoRoles::Type())
            values.append(TavoRolesType::toString(TavoRolesType::Enum::Audio));
        else if (role == TavoRoles::MediaData())
            values.append(mediaOf(track));
        else
            values.append(QVariant());
    }
    return values;
}

void Tracks::getRowsRequest(const CMGetRowsRequest& request)
{
    QVariantList rows;
    for (int track = request.first(); track <= std::min(request.last(), m_count - 1); ++track)
        rows.append(QVariant(row(track, request.roles())));
    TavoRowsRoles page;
    page.setRowsCount(m_count);
    page.setRows(rows);
    request.reply().setValue(page);
}

void Tracks::getDataRequest(const CMGetDataRequest& request)
{
    const QString& base = request.path().base();
    if (!base.isEmpty())
        return request.reply().setValue(row(base.toInt(), request.roles()));
    QVariantList values;
    for (const QString& role : request.roles()) {
        if (role == TavoRoles::Path())
            values.append(request.path().toEncoded());
        else if (role == TavoRoles::Type())
            values.append(TavoRolesType::Container());
        else
            values.append(QVariant());
    }
    request.reply().setValue(values);
}
