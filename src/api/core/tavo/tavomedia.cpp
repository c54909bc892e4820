#include "tavo/tavomedia.h"

#include "tavo/percentencoding_p.h"

TavoUrl TavoUrl::fromLocalFile(const QString& path)
{
    constexpr char scheme[] = "file://";
    PercentEncoding::Buffer buffer;
    buffer.append(scheme, sizeof(scheme) - 1);
    PercentEncoding::appendPath(buffer, path);
    TavoUrl url;
    url.m_encoded = QByteArray(buffer.constData(), buffer.size());
    return url;
}

void TavoResource::setMimeType(const QString& mimeType)
{
    setField(QStringLiteral("mimeType"), mimeType);
}

QString TavoResource::mimeType() const
{
    return field(QStringLiteral("mimeType")).toString();
}

void TavoResource::setUri(const QString& uri)
{
    setField(QStringLiteral("uri"), uri);
}

QString TavoResource::uri() const
{
    return field(QStringLiteral("uri")).toString();
}

void TavoResource::setDuration(qint64 milliseconds)
{
    setField(QStringLiteral("duration"), milliseconds);
}

void TavoResource::setBitRate(int bitsPerSecond)
{
    setField(QStringLiteral("bitRate"), bitsPerSecond);
}

void TavoResource::setSampleRate(int hertz)
{
    setField(QStringLiteral("sampleRate"), hertz);
}

void TavoResource::setChannels(int channels)
{
    setField(QStringLiteral("channels"), channels);
}

void TavoMetaData::setServiceID(const QString& id)
{
    setField(QStringLiteral("serviceID"), id);
}

QString TavoMetaData::serviceID() const
{
    return field(QStringLiteral("serviceID")).toString();
}

void TavoMetaData::setTitle(const QString& title)
{
    setField(QStringLiteral("title"), title);
}

void TavoMetaData::setArtist(const QString& artist)
{
    setField(QStringLiteral("artist"), artist);
}

void TavoMetaData::setAlbum(const QString& album)
{
    setField(QStringLiteral("album"), album);
}

void TavoMetaData::setAlbumArtist(const QString& artist)
{
    setField(QStringLiteral("albumArtist"), artist);
}

void TavoMetaData::setGenre(const QString& genre)
{
    setField(QStringLiteral("genre"), genre);
}

void TavoMetaData::setTrackNumber(int number)
{
    setField(QStringLiteral("trackNumber"), number);
}

void TavoMetaData::setDiscNumber(int number)
{
    setField(QStringLiteral("discNumber"), number);
}

void TavoMetaData::setYear(int year)
{
    setField(QStringLiteral("year"), year);
}

void TavoMetaData::setAlbumArt(const QString& mimeType, int width, int height, const QByteArray& data)
{
    TavoHash art;
    art.setField(QStringLiteral("mimeType"), mimeType);
    art.setField(QStringLiteral("width"), width);
    art.setField(QStringLiteral("height"), height);
    art.setField(QStringLiteral("data"), QVariant::fromValue(TavoBytes{data}));
    setField(QStringLiteral("albumArt"), art.__variant());
}

void TavoMediaData::setMetaData(const TavoMetaData& metaData)
{
    setField(QStringLiteral("metaData"), metaData.__variant());
}

TavoMetaData TavoMediaData::metaData() const
{
    return TavoMetaData(field(QStringLiteral("metaData")).toHash());
}

void TavoMediaData::setResources(const TavoList<TavoResource>& resources)
{
    setField(QStringLiteral("resources"), resources.__variant());
}

TavoList<TavoResource> TavoMediaData::resources() const
{
    TavoList<TavoResource> resources;
    for (const QVariant& resource : field(QStringLiteral("resources")).toList())
        resources.append(TavoResource(resource.toHash()));
    return resources;
}
