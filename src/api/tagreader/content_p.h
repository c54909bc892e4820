#pragma once

#include <QString>

#include <tiostream.h>

/// What an audio file is made of, and so which of TagLib's classes reads it.
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
    /// Where the content starts, behind an ID3v2 tag that precedes it.
    long start = 0;
};

/// Judges by the content; only where that is not conclusive by the name's `extension` (lower case, no dot).
[[nodiscard]] Content findContent(TagLib::IOStream& stream, const QString& extension);
