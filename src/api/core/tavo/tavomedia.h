#pragma once

#include "tavo/tavovalue.h"

#include <QByteArray>

/// A URL in its encoded form: ASCII, reserved characters percent-encoded. A value.
class TAVO_API_EXPORT TavoUrl
{
public:
    /// The `file:` URL of a local file. `path` is absolute; no character in it begins a host, query or fragment.
    [[nodiscard]] static TavoUrl fromLocalFile(const QString& path);
    /// Empty for a default-constructed URL.
    [[nodiscard]] const QByteArray& toEncoded() const { return m_encoded; }

private:
    QByteArray m_encoded;
};

/// One location from which a medium can be played, and the format found there. Unknown properties are absent.
class TAVO_API_EXPORT TavoResource : public TavoHash
{
public:
    /// From the fields of another record.
    using TavoHash::TavoHash;

    /// For example "audio/mpeg".
    void setMimeType(const QString& mimeType);
    /// Empty if absent.
    [[nodiscard]] QString mimeType() const;
    /// `uri` is percent-encoded (see TavoUrl).
    void setUri(const QString& uri);
    /// Percent-encoded; empty if absent.
    [[nodiscard]] QString uri() const;
    /// In milliseconds.
    void setDuration(qint64 milliseconds);
    /// In bits per second.
    void setBitRate(int bitsPerSecond);
    /// In hertz.
    void setSampleRate(int hertz);
    /// 1 is mono, 2 stereo.
    void setChannels(int channels);
};

/// The description of a medium, whichever resource it is played from. Unknown properties are absent.
class TAVO_API_EXPORT TavoMetaData : public TavoHash
{
public:
    /// From the fields of another record.
    using TavoHash::TavoHash;

    /// The service id of the worker that serves the medium.
    void setServiceID(const QString& id);
    /// Empty if absent.
    [[nodiscard]] QString serviceID() const;
    /// The title of the track, or the file name if its tags have none.
    void setTitle(const QString& title);
    /// The artist of the track.
    void setArtist(const QString& artist);
    /// The title of the album.
    void setAlbum(const QString& album);
    /// The artist of the whole album.
    void setAlbumArtist(const QString& artist);
    /// As free text.
    void setGenre(const QString& genre);
    /// Position on the disc, from 1.
    void setTrackNumber(int number);
    /// Position in a set of discs, from 1.
    void setDiscNumber(int number);
    /// Year of release.
    void setYear(int year);
    /// The front cover: width and height in pixels, `data` the content of a picture file of type `mimeType`.
    void setAlbumArt(const QString& mimeType, int width, int height, const QByteArray& data);
};

/// A medium: its description and its resources.
class TAVO_API_EXPORT TavoMediaData : public TavoHash
{
public:
    /// From the fields of another record.
    using TavoHash::TavoHash;

    /// Replaces the description.
    void setMetaData(const TavoMetaData& metaData);
    /// Without fields if absent.
    [[nodiscard]] TavoMetaData metaData() const;
    /// Locations of the same medium; it can be played from any of them.
    void setResources(const TavoList<TavoResource>& resources);
    /// Empty if absent.
    [[nodiscard]] TavoList<TavoResource> resources() const;
};
