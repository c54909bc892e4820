#pragma once

#include "http/answer.h"
#include "http/requesthead.h"
#include "media/medialibrary.h"

#include <optional>

/// The answer to a GET or HEAD of a file: 200, 206 for one range, 304, 416, or 404 if there is no file. May wait for
/// the disk.
[[nodiscard]] Answer mediaAnswer(const RequestHead& head, std::optional<MediaFile> file);
