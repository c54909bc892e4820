#pragma once

#include "filetags_p.h"

#include <tiostream.h>

/// The format of a stream of ADTS frames (raw AAC), which TagLib does not know, that starts at `offset`. The duration
/// is counted for the first minute and a half and estimated from that for the rest.
[[nodiscard]] SoundFormat adtsFormat(TagLib::IOStream& stream, long offset);
