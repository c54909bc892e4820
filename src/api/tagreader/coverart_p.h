#pragma once

#include "filetags_p.h"

/// Makes art of `picture`, the bytes of a picture file: scaled down to `width` pixels if it is wider, ratio kept.
/// Empty if the bytes are no picture, a truncated one, or one that would take too much memory or time to decode.
[[nodiscard]] CoverArt makeCoverArt(const QByteArray& picture, int width);
