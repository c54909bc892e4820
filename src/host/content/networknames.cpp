#include "content/networknames.h"

#include <tavo/tavomedia.h>

#include <QFile>
#include <QUrl>

namespace {

const QLatin1String uriKey("uri");
const QLatin1String resourcesKey("resources");
const QLatin1String metaDataKey("metaData");
const QLatin1String albumArtKey("albumArt");
const QLatin1String dataKey("data");

/// The encoded path of the file below the mount's root that the URI names; empty if it names none.
QString encodedPath(const Mount* mount, const QString& uri)
{
    if (!mount || !mount->isTree())
        return {};
    const QUrl url = QUrl::fromEncoded(uri.toLatin1());
    const QString& directory = mount->rootDirectory;
    const QString root = directory.endsWith(u'/') ? directory : directory + u'/';
    const QString file = url.isLocalFile() ? url.toLocalFile() : QString();
    return file.startsWith(root) ? mount->path(file.mid(root.size())).toEncoded() : QString();
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

QVariantHash networkResource(const Mount* mount, QVariantHash resource)
{
    const QString path = encodedPath(mount, resource.value(uriKey).toString());
    if (path.isEmpty())
        resource.remove(uriKey);
    else
        resource.insert(uriKey, QString(QStringLiteral("media") + path));
    return resource;
}

QVariant networkMedia(QVariantHash media, const MountOfMedium& mountOf)
{
    const QVariant metaData = media.value(metaDataKey);
    const std::shared_ptr<const Mount> mount = mountOf(TavoMetaData(metaData.value<QVariantHash>()).serviceID());
    const QVariantList resources = media.value(resourcesKey).toList();
    const QString path = encodedPath(mount.get(), resources.value(0).value<QVariantHash>().value(uriKey).toString());
    QVariantList shown;
    for (const QVariant& resource : resources)
        shown.append(networkResource(mount.get(), resource.value<QVariantHash>()));
    media.insert(resourcesKey, shown);
    if (metaData.isValid())
        media.insert(metaDataKey, withoutPicture(metaData, path));
    return media;
}

QVariant networkFields(QVariantHash fields, const MountOfMedium& mountOf)
{
    for (QVariant& field : fields)
        field = withNetworkNames(field, mountOf);
    return fields;
}

} // namespace

QVariant withNetworkNames(const QVariant& value, const MountOfMedium& mountOf)
{
    if (value.userType() == QMetaType::QVariantList) {
        QVariantList elements = value.toList();
        for (QVariant& element : elements)
            element = withNetworkNames(element, mountOf);
        return elements;
    }
    if (!hasFields(value))
        return value;
    const auto fields = value.value<QVariantHash>();
    return fields.contains(resourcesKey) ? networkMedia(fields, mountOf) : networkFields(fields, mountOf);
}
