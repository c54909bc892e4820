#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

// Audio files of any content, byte by byte: also of such that no encoder makes.

/// A second of silence as MPEG audio, untagged.
[[nodiscard]] QByteArray mpegSound();

/// A frame of ID3v2.4; `flags` as in the format's description.
[[nodiscard]] QByteArray id3Frame(const char* id, const QByteArray& content, quint16 flags = 0);
/// The content of a frame of text.
[[nodiscard]] QByteArray utf8Content(const QString& text);
/// The content of a picture's frame; purpose 3 is a front cover.
[[nodiscard]] QByteArray pictureContent(const QByteArray& picture, char purpose = 3);
/// `claimedSize` is what the tag says of its size: that of its frames if it is below 0.
[[nodiscard]] QByteArray id3Tag(const QByteArray& frames, qint64 claimedSize = -1);

/// A FLAC file of meta data alone: two seconds' stream information and the blocks (type and content).
[[nodiscard]] QByteArray flacFile(const QList<QPair<int, QByteArray>>& blocks);
/// The content of a FLAC picture block; `claimedSize` is what it says of the picture's size: the truth if it is below
/// 0.
[[nodiscard]] QByteArray flacPicture(const QByteArray& picture, qint64 claimedSize = -1);
/// A Vorbis comment, as FLAC has it.
[[nodiscard]] QByteArray vorbisComment(const QByteArrayList& fields);

/// `claimedSize` is what the atom says of its size, its header included: the truth if it is below 0.
[[nodiscard]] QByteArray mp4Atom(const char* name, const QByteArray& content, qint64 claimedSize = -1);
/// A chunk of a RIFF file.
[[nodiscard]] QByteArray riffChunk(const char* name, const QByteArray& content);
/// A WAV file of a tenth of a second of silence and the chunks.
[[nodiscard]] QByteArray wavFile(const QByteArray& chunks);
/// An MP4 file without sound: the entries of its list of tags.
[[nodiscard]] QByteArray mp4File(const QByteArray& entries);
/// An object of an ASF file; `name` in hexadecimal digits.
[[nodiscard]] QByteArray asfObject(const char* name, const QByteArray& content);
/// An ASF file without sound: the objects of its header beside those that it must have.
[[nodiscard]] QByteArray asfFile(const QByteArrayList& objects);
/// An ASF object of one attribute of text, and the number of attributes that it claims to have.
[[nodiscard]] QByteArray asfAttribute(const QString& name, const QString& text, quint16 claimedCount);
/// An Ogg Vorbis file without sound.
[[nodiscard]] QByteArray oggFile(const QByteArray& comment);

using KeysAndValues = QList<QPair<QByteArray, QByteArray>>;
/// Items of text, then items of bytes.
[[nodiscard]] QByteArray apeTag(const KeysAndValues& texts, const KeysAndValues& bytes = {});

void writeFile(const QString& path, const QByteArray& content);

/// 4 bytes each.
[[nodiscard]] QByteArray bigEndian(quint32 number);
[[nodiscard]] QByteArray littleEndian(quint32 number);
