#include "mediaitem_p.h"

#include "model/cmpath.h"
#include "tavo/mimetypes.h"

#include <QFileInfo>

namespace {

template<typename Record>
void setText(Record& record, void (Record::*setter)(const QString&), const QString& text)
{
    if (!text.isEmpty())
        (record.*setter)(text);
}

template<typename Record, typename Number>
void setNumber(Record& record, void (Record::*setter)(Number), Number number)
{
    if (number > 0)
        (record.*setter)(number);
}

} // namespace

MediaItem::MediaItem(const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows)
{
    takeRows(rows);
    if (rows.isEmpty()) {
        m_roles.setField(TavoRoles::Path(), CMPath(serviceId, root.relativeFilePath(path)).toEncoded());
        m_roles.setField(TavoRoles::Title(), QFileInfo(path).fileName());
    }
    const QVariant media = m_roles.field(TavoRoles::MediaData());
    if (media.isValid())
        takeMedia(TavoMediaData(media.toHash()));
    else
        makeMedia(root.absoluteFilePath(path), serviceId);
}

void MediaItem::takeRows(const QVariantList& rows)
{
    const QStringList& roles = CMAllRoles();
    const int count = std::min(rows.size(), roles.size());
    for (int i = 0; i < count; ++i) {
        if (rows.at(i).isValid())
            m_roles.setField(roles.at(i), rows.at(i));
    }
}

void MediaItem::takeMedia(const TavoMediaData& media)
{
    m_media = media;
    m_metaData = media.metaData();
    const TavoList<TavoResource> resources = media.resources();
    if (resources.size() > 0)
        m_resource = resources.at(0);
    for (int i = 1; i < resources.size(); ++i)
        m_otherResources.append(resources.at(i));
}

void MediaItem::makeMedia(const QString& path, const QString& serviceId)
{
    m_metaData.setServiceID(serviceId);
    m_resource.setUri(QString::fromUtf8(TavoUrl::fromLocalFile(path).toEncoded()));
    m_resource.setMimeType(MimeTypes::extensionToMimeType(QFileInfo(path).suffix(), QString()));
}

void MediaItem::addPlayListFields(const FileTags& tags)
{
    if (!tags.title.isEmpty())
        m_roles.setField(TavoRoles::Title(), tags.title);
    setText(m_metaData, &TavoMetaData::setTitle, tags.title);
    setText(m_metaData, &TavoMetaData::setArtist, tags.artist);
    setText(m_metaData, &TavoMetaData::setAlbum, tags.album);
    setNumber(m_resource, &TavoResource::setDuration, tags.sound.milliseconds);
}

void MediaItem::addLibraryFields(const FileTags& tags)
{
    addPlayListFields(tags);
    setText(m_metaData, &TavoMetaData::setAlbumArtist, tags.albumArtist);
    setText(m_metaData, &TavoMetaData::setGenre, tags.genre);
    setNumber(m_metaData, &TavoMetaData::setTrackNumber, tags.trackNumber);
    setNumber(m_metaData, &TavoMetaData::setDiscNumber, tags.discNumber);
    setNumber(m_metaData, &TavoMetaData::setYear, tags.year);
    setNumber(m_resource, &TavoResource::setBitRate, tags.sound.bitsPerSecond);
    setNumber(m_resource, &TavoResource::setSampleRate, tags.sound.hertz);
    setNumber(m_resource, &TavoResource::setChannels, tags.sound.channels);
    addAlbumArt(tags.cover);
}

void MediaItem::addAlbumArt(const CoverArt& art)
{
    if (!art.data.isEmpty())
        m_metaData.setAlbumArt(art.mimeType, art.size.width(), art.size.height(), art.data);
}

QVariant MediaItem::toVariant() const
{
    TavoList<TavoResource> resources;
    resources.append(m_resource);
    for (int i = 0; i < m_otherResources.size(); ++i)
        resources.append(m_otherResources.at(i));
    TavoMediaData media = m_media;
    media.setMetaData(m_metaData);
    media.setResources(resources);
    TavoRoles roles = m_roles;
    roles.setField(TavoRoles::MediaData(), media.__variant());
    return roles.__variant();
}
