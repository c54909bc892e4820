#include "terminal/itemtext.h"

#include "language/translatable.h"
#include "terminal/roletext.h"

#include <tavo/tavomedia.h>
#include <tavo/tavoroles.h>

QStringList itemHeadings()
{
    return {
        translated(QT_TRANSLATE_NOOP("Host", "TITLE")), translated(QT_TRANSLATE_NOOP("Host", "ARTIST")),
        translated(QT_TRANSLATE_NOOP("Host", "ALBUM")), translated(QT_TRANSLATE_NOOP("Host", "DURATION"))};
}

QStringList itemCells(const QVariant& title, const QVariant& mediaData)
{
    const TavoMetaData tags = TavoMediaData(mediaData.toHash()).metaData();
    const auto tagText = [&tags](const QString& tag) { return roleText(tag, tags.field(tag)); };
    return {
        roleText(TavoRoles::Title(), title), tagText(QStringLiteral("artist")), tagText(QStringLiteral("album")),
        durationText(itemDuration(mediaData))};
}

QVariant itemDuration(const QVariant& mediaData)
{
    const TavoList<TavoResource> resources = TavoMediaData(mediaData.toHash()).resources();
    return resources.size() > 0 ? resources.at(0).field(QStringLiteral("duration")) : QVariant();
}
