#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// What is known of a file's sound; 0 for what is not.
struct SoundFormat
{
    qint64 milliseconds = 0;
    int bitsPerSecond = 0;
    int hertz = 0;
    int channels = 0;
};

/// What a file says of itself; null, empty or 0 for what it does not say, or what was not wanted.
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
    /// A picture file's bytes; they go when the file is closed.
    QByteArray frontCover;
};

/// What is read: title, artist, album and sound; all but the front cover; all.
enum class WantedTags { PlayList, Library, LibraryAndCover };

using FileTagsUser = std::function<void(const FileTags& tags)>;

/// Gives `use` the tags of the audio file at this absolute path while the file is open, which it no longer is when this
/// returns. What is thrown meanwhile, by `use` too, such as for lack of memory, ends the reading of that file and
/// nothing else.
void readFileTags(const QString& path, WantedTags wanted, const FileTagsUser& use);

/// What reads them, in a library of its own that the first file loads; its exported name. May throw.
using FileTagsReader = void(const QString& path, WantedTags wanted, const FileTagsUser& use);
constexpr char fileTagsReader[] = "tavo_read_file_tags";
