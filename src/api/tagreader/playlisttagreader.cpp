#include "playlisttagreader.h"

#include "mediaitem_p.h"

QVariant PlayListTagReader::readItem(
    const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const
{
    MediaItem item(root, path, serviceId, rows);
    readFileTags(root.absoluteFilePath(path), WantedTags::PlayList, [&item](const FileTags& tags) {
        item.addPlayListFields(tags);
    });
    return item.toVariant();
}
