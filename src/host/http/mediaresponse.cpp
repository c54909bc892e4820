#include "http/mediaresponse.h"

#include "http/conditions.h"
#include "media/byterange.h"
#include "media/httpdate.h"

#include <string_view>
#include <utility>

namespace {

std::string_view view(const QByteArray& text)
{
    return {text.constData(), static_cast<std::size_t>(text.size())};
}

std::optional<std::string_view> field(const QByteArray& value)
{
    return value.isNull() ? std::nullopt : std::optional(view(value));
}

ByteRange rangeOf(const RequestHead& head, const MediaFile& file)
{
    if (head.method != "GET")
        return {};
    const QByteArray range = head.value("Range");
    const QByteArray ifRange = head.value("If-Range");
    return requestedRange(field(range), field(ifRange), view(file.etag), file.modified(), file.size());
}

ResponseHead headFor(int status, const MediaFile& file)
{
    ResponseHead head(status);
    head.set("ETag", file.etag)
        .set("Last-Modified", toHttpDate(file.modified()))
        .set("Accept-Ranges", "bytes")
        .set("Cache-Control", "no-cache");
    return head;
}

Response unsatisfiable(const MediaFile& file)
{
    return makeResponse(Refusal{416, {{"Content-Range", "bytes */" + QByteArray::number(file.size())}}});
}

QByteArray contentRange(const ByteRange& range, const MediaFile& file)
{
    return "bytes " + QByteArray::number(range.first) + '-' + QByteArray::number(range.last) + '/' +
           QByteArray::number(file.size());
}

} // namespace

Answer mediaAnswer(const RequestHead& head, const SharedMediaFile& file)
{
    if (!file)
        return makeResponse(Refusal{404});
    if (isNotModified(head, {file->etag, file->modified()}))
        return Response{headFor(304, *file)};
    const ByteRange range = rangeOf(head, *file);
    if (range.kind == ByteRange::Kind::Unsatisfiable)
        return unsatisfiable(*file);
    const bool isPart = range.kind == ByteRange::Kind::Part;
    const qint64 length = isPart ? range.length() : file->size();
    ResponseHead answer = headFor(isPart ? 206 : 200, *file);
    answer.set("Content-Type", file->mimeType).setLength(length);
    if (isPart)
        answer.set("Content-Range", contentRange(range, *file));
    if (length == 0)
        return Response{std::move(answer)};
    return {std::move(answer), {file, isPart ? range.first : 0, length}};
}
