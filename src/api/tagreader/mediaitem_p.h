#pragma once

#include "filetags_p.h"

#include "tavo/tavomedia.h"
#include "tavo/tavoroles.h"

#include <QDir>

/// Builds an item: holds the roles of one file, with the media record split into its parts so that tags can complete
/// it.
class MediaItem
{
public:
    /// Parameters as for TagReader::readItem().
    MediaItem(const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows);

    /// Fields that the tags do not have stay as they are.
    void addPlayListFields(const FileTags& tags);
    void addLibraryFields(const FileTags& tags);

    [[nodiscard]] QVariant toVariant() const;

private:
    void addAlbumArt(const CoverArt& art);
    void takeRows(const QVariantList& rows);
    void takeMedia(const TavoMediaData& media);
    void makeMedia(const QString& path, const QString& serviceId);

    TavoRoles m_roles;
    TavoMediaData m_media;
    TavoMetaData m_metaData;
    TavoResource m_resource;
    TavoList<TavoResource> m_otherResources;
};
