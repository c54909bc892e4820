#pragma once

#include "http/requesthead.h"

#include <QByteArray>

#include <ctime>
#include <optional>

/// Identify the representation that the server would send.
struct Validators
{
    /// With its quotes, and W/ before them if it is weak.
    QByteArray entityTag;
    /// Nothing: unknown.
    std::optional<std::time_t> lastModified = {};
};

/// Whether the answer to a GET or HEAD is 304, because the client has the representation: by If-None-Match, or, only
/// without that, by If-Modified-Since. If-Range belongs to Range and is not looked at.
[[nodiscard]] bool isNotModified(const RequestHead& head, const Validators& validators);
