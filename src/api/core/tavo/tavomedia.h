#pragma once

#include "tavo/tavovalue.h"

#include <QByteArray>

/// A URL whose encoded form is safe in any document: pure ASCII, reserved characters percent-encoded.
class TAVO_API_EXPORT TavoUrl
{
public:
    /// `path` is absolute; it is taken byte by byte as UTF-8, never as a host or a query.
    [[nodiscard]] static TavoUrl fromLocalFile(const QString& path);
    [[nodiscard]] const QByteArray& toEncoded() const { return m_encoded; }

private:
    QByteArray m_encoded;
};

/// One way to get at a medium: where it lies and what it is.
class TAVO_API_EXPORT TavoResource : public TavoHash
{
public:
    using TavoHash::TavoHash;

    void setMimeType(const QString& mimeType);
    [[nodiscard]] QString mimeType() const;
    /// Percent-encoded.
    void setUri(const QString& uri);
    [[nodiscard]] QString uri() const;
    void setDuration(qint64 milliseconds);
    void setBitRate(int bitsPerSecond);
    void setSampleRate(int hertz);
    void setChannels(int channels);
};

/// What is known about a medium, whichever resource it is played from. What is not known is absent.
class TAVO_API_EXPORT TavoMetaData : public TavoHash
{
public:
    using TavoHash::TavoHash;

    void setServiceID(const QString& id);
    [[nodiscard]] QString serviceID() const;
    void setTitle(const QString& title);
    void setArtist(const QString& artist);
    void setAlbum(const QString& album);
    void setAlbumArtist(const QString& artist);
    void setGenre(const QString& genre);
    void setTrackNumber(int number);
    void setDiscNumber(int number);
    void setYear(int year);
    /// Width and height in pixels; `data` is the picture file's bytes.
    void setAlbumArt(const QString& mimeType, int width, int height, const QByteArray& data);
};

/// A medium: its meta data and its resources.
class TAVO_API_EXPORT TavoMediaData : public TavoHash
{
public:
    using TavoHash::TavoHash;

    void setMetaData(const TavoMetaData& metaData);
    [[nodiscard]] TavoMetaData metaData() const;
    void setResources(const TavoList<TavoResource>& resources);
    [[nodiscard]] TavoList<TavoResource> resources() const;
};
