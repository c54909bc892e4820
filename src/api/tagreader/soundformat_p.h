#pragma once

#include <QtGlobal>

#include <tiostream.h>

/// What is known of a file's sound; 0 for what is not.
struct SoundFormat
{
    qint64 milliseconds = 0;
    int bitsPerSecond = 0;
    int hertz = 0;
    int channels = 0;
};

/// The format of a stream of ADTS frames (raw AAC), which TagLib does not know, that starts at `offset`. The duration
/// is counted for the first minute and a half and estimated from that for the rest.
[[nodiscard]] SoundFormat adtsFormat(TagLib::IOStream& stream, long offset);
