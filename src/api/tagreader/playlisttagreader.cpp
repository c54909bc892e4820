#include "playlisttagreader.h"

#include "mediaitem_p.h"
#include "readsafely_p.h"

QVariant PlayListTagReader::readItem(
    const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const
{
    MediaItem item(root, path, serviceId, rows);
    readSafely([&] {
        TagFile file(root.absoluteFilePath(path), TagFile::Pictures::Skipped);
        item.addPlayListFields(file);
    });
    return item.toVariant();
}
