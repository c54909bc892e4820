#pragma once

#include <QHash>
#include <QSize>
#include <QString>

/// What ffprobe says of a file.
struct Probe
{
    /// Keys in lower case, several names for one thing brought together: "title", "artist", "album", "album_artist",
    /// "genre", "date", "track", "disc".
    QHash<QString, QString> tags;
    double seconds = 0;
    int hertz = 0;
    int channels = 0;
    int bitsPerSecond = 0;
    /// Of the picture; not valid if there is none.
    QSize picture;
};

[[nodiscard]] Probe probe(const QString& file);
