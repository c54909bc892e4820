#pragma once

#include "http/answer.h"
#include "http/requesthead.h"
#include "media/medialibrary.h"

#include <memory>

using SharedMediaFile = std::shared_ptr<const MediaFile>;

/// The answer to a GET or HEAD of a file: 200, 206 for one range, 304, 416, or 404 if there is no file.
[[nodiscard]] Answer mediaAnswer(const RequestHead& head, const SharedMediaFile& file);
