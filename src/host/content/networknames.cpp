#include "content/networknames.h"

#include <QFile>
#include <QUrl>

namespace {

const QLatin1String uriKey("uri");
const QLatin1String resourcesKey("resources");
const QLatin1String metaDataKey("metaData");
const QLatin1String albumArtKey("albumArt");
const QLatin1String dataKey("data");

/// The encoded path of the file below the mount's root that the URI names; empty if it names none.
QString encodedPath(const Mount& mount, const QString& uri)
{
    const QUrl url = QUrl::fromEncoded(uri.toLatin1());
    const QString root = mount.rootDirectory.endsWith(u'/') ? mount.rootDirectory : mount.rootDirectory + u'/';
    const QString file = url.isLocalFile() ? url.toLocalFile() : QString();
    return file.startsWith(root) ? mount.path(file.mid(root.size())).toEncoded() : QString();
}

QVariant withoutPicture(const QVariant& metaData, const QString& path)
{
    auto fields = metaData.value<QVariantHash>();
    const auto albumArt = fields.find(albumArtKey);
    if (albumArt == fields.end())
        return fields;
    auto art = albumArt->value<QVariantHash>();
    art.remove(dataKey);
    if (!path.isEmpty())
        art.insert(uriKey, QString(QStringLiteral("cover") + path));
    *albumArt = art;
    return fields;
}

/// Of a hash or a map.
bool hasFields(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantHash || value.userType() == QMetaType::QVariantMap;
}

QVariantHash networkResource(const Mount& mount, QVariantHash resource)
{
    const QString path = encodedPath(mount, resource.value(uriKey).toString());
    if (path.isEmpty())
        resource.remove(uriKey);
    else
        resource.insert(uriKey, QString(QStringLiteral("media") + path));
    return resource;
}

QVariant networkMedia(const Mount& mount, QVariantHash media)
{
    const QVariantList resources = media.value(resourcesKey).toList();
    const QString path = encodedPath(mount, resources.value(0).value<QVariantHash>().value(uriKey).toString());
    QVariantList shown;
    for (const QVariant& resource : resources)
        shown.append(networkResource(mount, resource.value<QVariantHash>()));
    media.insert(resourcesKey, shown);
    if (media.contains(metaDataKey))
        media.insert(metaDataKey, withoutPicture(media.value(metaDataKey), path));
    return media;
}

QVariant networkFields(const Mount& mount, QVariantHash fields)
{
    for (QVariant& field : fields)
        field = withNetworkNames(mount, field);
    return fields;
}

} // namespace

QVariant withNetworkNames(const Mount& mount, const QVariant& value)
{
    if (value.userType() == QMetaType::QVariantList) {
        QVariantList elements = value.toList();
        for (QVariant& element : elements)
            element = withNetworkNames(mount, element);
        return elements;
    }
    if (!hasFields(value))
        return value;
    const auto fields = value.value<QVariantHash>();
    return fields.contains(resourcesKey) ? networkMedia(mount, fields) : networkFields(mount, fields);
}
