#pragma once

#include "http/filepart.h"
#include "http/response.h"

#include <optional>

/// The answer to a request: a head, and as its body either bytes or a part of a file.
struct Answer
{
    Answer(Response response) : head(std::move(response.head)), body(std::move(response.body)) {}
    Answer(ResponseHead responseHead, FilePart part) : head(std::move(responseHead)), file(std::move(part)) {}

    ResponseHead head;
    QByteArray body = {};
    std::optional<FilePart> file = {};
};
