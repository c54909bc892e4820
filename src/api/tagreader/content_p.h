#pragma once

#include <QString>

#include <tiostream.h>

/// The format of an audio file, which decides the TagLib class that reads it.
enum class ContentKind {
    Unknown,
    Mpeg,
    Adts,
    Flac,
    OggVorbis,
    OggOpus,
    OggFlac,
    OggSpeex,
    Mp4,
    Wav,
    Aiff,
    Asf,
    Ape,
    WavPack,
    Musepack,
    TrueAudio
};

struct Content
{
    ContentKind kind = ContentKind::Unknown;
    /// The offset of the content in the file, behind an ID3v2 tag if there is one.
    long start = 0;
};

/// Recognises the format by the file's bytes, or, if they are inconclusive, by the name's `extension` (lower case, no
/// dot).
[[nodiscard]] Content findContent(TagLib::IOStream& stream, const QString& extension);
