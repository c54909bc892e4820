#pragma once

#include "filetags_p.h"

#include <tiostream.h>

/// The format of a stream of ADTS frames (raw AAC) that starts at `offset`; TagLib cannot read it. The first minute and
/// a half is measured, the rest of the duration is estimated from it.
[[nodiscard]] SoundFormat adtsFormat(TagLib::IOStream& stream, long offset);
