#pragma once

#include "tagreader/coverreader.h"

#include <QString>

/// The format of a file's sound; 0 where it is unknown.
struct SoundFormat
{
    qint64 milliseconds = 0;
    int bitsPerSecond = 0;
    int hertz = 0;
    int channels = 0;
};

/// The tags of an audio file; null, empty or 0 where the file has none, or where they were not wanted.
struct FileTags
{
    QString title;
    QString artist;
    QString album;
    QString albumArtist;
    QString genre;
    int trackNumber = 0;
    int discNumber = 0;
    int year = 0;
    SoundFormat sound;
    CoverArt cover;
};

enum class WantedTags {
    /// Title, artist, album and sound.
    PlayList,
    /// All but the cover, which has a parameter of its own.
    Library
};

/// Reads the audio file at this absolute path. `coverWidth`: the pixels that a cover is scaled down to if it is wider;
/// 0 or less: no cover is read.
///
/// Thread-safe. Returns empty tags if the file cannot be read or memory runs out.
[[nodiscard]] FileTags readFileTags(const QString& path, WantedTags wanted, int coverWidth);

/// The functions behind readFileTags() and CoverReader, in a library that is loaded with the first file, and the name
/// that it exports them by. They may throw; their last parameter is unchanged then.
struct TagFunctions
{
    void (*readFileTags)(const QString& path, WantedTags wanted, int coverWidth, FileTags& tags);
    void (*readAudioCover)(int descriptor, const QString& extension, int width, CoverArt& cover);
    void (*readPicture)(int descriptor, int width, CoverArt& cover);
};
constexpr char tagFunctions[] = "tavo_tag_functions";
