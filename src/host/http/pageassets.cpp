#include "http/pageassets.h"

#include "http/conditions.h"

#include <QByteArrayList>

#include <algorithm>

namespace {

/// The q of an element of Accept-Encoding such as "gzip;q=0.5".
double weightOf(const QByteArray& element)
{
    const int mark = element.indexOf(";q=");
    return mark < 0 ? 1 : element.mid(mark + 3).toDouble();
}

ResponseHead headWith(int status, const QByteArray& entityTag)
{
    ResponseHead head(status);
    head.set("ETag", entityTag).set("Cache-Control", "no-cache").set("Vary", "Accept-Encoding");
    return head;
}

} // namespace

Response servePage(const RequestHead& head, const QByteArray& asset)
{
    const PageAsset* const found = findPageAsset(asset);
    if (!found)
        return makeResponse(Refusal{404});
    const bool isGzip = !found->gzip.isEmpty() && acceptsGzip(head.value("Accept-Encoding"));
    const QByteArray& entityTag = isGzip ? found->gzipEntityTag : found->entityTag;
    if (isNotModified(head, {entityTag}))
        return {headWith(304, entityTag)};
    Response response{headWith(200, entityTag), isGzip ? found->gzip : found->plain};
    response.head.set("Content-Type", found->type).setLength(response.body.size());
    if (isGzip)
        response.head.set("Content-Encoding", "gzip");
    return response;
}

bool acceptsGzip(const QByteArray& acceptEncoding)
{
    double byName = -1;
    double byWildcard = 0;
    for (const QByteArray& element : acceptEncoding.toLower().replace(' ', "").replace('\t', "").split(',')) {
        const QByteArray coding = element.split(';').first();
        if (coding == "gzip")
            byName = weightOf(element);
        else if (coding == "*")
            byWildcard = weightOf(element);
    }
    return (byName < 0 ? byWildcard : byName) > 0;
}
