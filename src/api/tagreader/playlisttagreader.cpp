#include "playlisttagreader.h"

#include "itemrequest_p.h"
#include "mediaitem_p.h"

QVariant PlayListTagReader::readItem(
    const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const
{
    return itemWithinRequest([&] {
        MediaItem item(root, path, serviceId, rows);
        item.addPlayListFields(readFileTags(root.absoluteFilePath(path), WantedTags::PlayList, 0));
        return item.toVariant();
    });
}
