#pragma once

#include "http/requesthead.h"
#include "http/response.h"

#include <QByteArray>

/// A file of the page, compiled into the program. It is named by its path below the folder `web`, which is also its
/// address relative to the server's: "app/main.js" is served at /app/main.js, "index.html" at /. Nothing else is
/// compiled in but index.html and the files below app.
struct PageAsset
{
    /// The media type.
    QByteArray type;
    /// With quotes, by the content. The compressed content has one of its own.
    QByteArray entityTag;
    QByteArray gzipEntityTag;
    QByteArray plain;
    /// Empty if that would be no shorter.
    QByteArray gzip;
};

/// Null if there is none. It lives as long as the program.
[[nodiscard]] const PageAsset* findPageAsset(const QByteArray& name);

/// The response to a GET or HEAD: 200, compressed if the client takes that, 304, or 404.
[[nodiscard]] Response servePage(const RequestHead& head, const QByteArray& asset);

/// Whether an Accept-Encoding of this value takes gzip. Null: there is none.
[[nodiscard]] bool acceptsGzip(const QByteArray& acceptEncoding);
