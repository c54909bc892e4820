#include "coverart_p.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>

namespace {

/// 100 MB when decoded.
constexpr qint64 mostPixels = 25'000'000;
/// Each scan of a JPEG file takes as long as a picture, and can be a few bytes.
constexpr int mostScans = 100;
/// A small picture's file may be kept as it is up to this size; it can carry any amount of other things.
constexpr int longestKeptFile = 1 << 20;

/// Empty for formats that covers do not come in: QImageReader knows some that draw, or run, what they hold.
QByteArray formatOf(const QByteArray& picture)
{
    struct Signature
    {
        const char* start;
        const char* format;
    };
    static constexpr Signature signatures[] = {
        {"\xff\xd8\xff", "jpeg"}, {"\x89PNG", "png"}, {"GIF8", "gif"}, {"BM", "bmp"}};
    for (const Signature& known : signatures) {
        if (picture.startsWith(known.start))
            return known.format;
    }
    return {};
}

bool isBearable(const QSize& size, const QByteArray& picture, const QByteArray& format)
{
    if (size.isEmpty() || static_cast<qint64>(size.width()) * size.height() > mostPixels)
        return false;
    return format != "jpeg" || picture.count("\xff\xda") <= mostScans;
}

QSize scaledDown(const QSize& size, int width)
{
    if (size.width() <= width)
        return size;
    const qint64 doubleWidth = 2LL * size.width();
    const qint64 height = (2LL * size.height() * width + size.width()) / doubleWidth;
    return {width, static_cast<int>(std::max<qint64>(height, 1))};
}

QString mimeTypeOf(const QByteArray& format)
{
    return QLatin1String("image/") + QLatin1String(format);
}

CoverArt encoded(const QImage& image)
{
    constexpr int goodQuality = 85;
    const bool transparent = image.hasAlphaChannel();
    CoverArt art = {mimeTypeOf(transparent ? "png" : "jpeg"), image.size(), {}};
    QBuffer out(&art.data);
    if (!image.save(&out, transparent ? "png" : "jpeg", transparent ? -1 : goodQuality))
        return {};
    return art;
}

CoverArt artFrom(const QByteArray& picture, int width)
{
    const QByteArray format = formatOf(picture);
    if (format.isEmpty())
        return {};
    QBuffer in;
    in.setData(picture);
    in.open(QIODevice::ReadOnly);
    QImageReader reader(&in, format);
    reader.setAutoDetectImageFormat(false);
    const QSize size = reader.size();
    if (!isBearable(size, picture, format))
        return {};
    const QSize target = scaledDown(size, width);
    if (target != size)
        reader.setScaledSize(target);
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    const bool canBeKept = target == size && (format == "jpeg" || format == "png") && picture.size() <= longestKeptFile;
    // Copied, since the caller's bytes may not stay.
    return canBeKept ? CoverArt{mimeTypeOf(format), size, QByteArray(picture.constData(), picture.size())}
                     : encoded(image);
}

} // namespace

extern "C" Q_DECL_EXPORT void tavo_make_cover_art(const QByteArray& picture, int width, CoverArt& art)
{
    art = artFrom(picture, width);
}
