#include "coverart_p.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QtEndian>

namespace {

/// They take 100 MB when decoded.
constexpr qint64 mostPixels = 25'000'000;
/// Decoding a scan of a JPEG file takes as long as decoding a picture, while the scan itself can be a few bytes.
constexpr int mostScans = 100;
/// Unscaled pictures up to this size are kept verbatim. Longer ones carry much beside the picture.
constexpr int longestKeptFile = 1 << 20;

/// Empty for all but the usual formats of covers: QImageReader knows others that execute drawing commands.
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

bool hasLength(uchar marker)
{
    constexpr uchar first = 0xc0;
    constexpr uchar firstRestart = 0xd0;
    constexpr uchar startOfImage = 0xd8;
    constexpr uchar padding = 0xff;
    return marker >= first && (marker < firstRestart || marker > startOfImage) && marker != padding;
}

/// Whether the file has its end marker. Decoders make up what a truncated file lacks.
bool isCompleteJpeg(const QByteArray& picture)
{
    constexpr uchar endOfImage = 0xd9;
    constexpr int lengthField = 2;
    const auto* const bytes = reinterpret_cast<const uchar*>(picture.constData());
    const int size = picture.size();
    for (int i = picture.indexOf('\xff'); i >= 0 && i + 1 < size; i = picture.indexOf('\xff', i)) {
        const uchar marker = bytes[++i];
        if (marker == endOfImage)
            return true;
        if (hasLength(marker) && i + lengthField < size)
            i += 1 + qFromBigEndian<quint16>(bytes + i + 1);
    }
    return false;
}

bool canBeDecoded(const QSize& size, const QByteArray& picture, const QByteArray& format)
{
    if (size.isEmpty() || static_cast<qint64>(size.width()) * size.height() > mostPixels)
        return false;
    return format != "jpeg" || (picture.count("\xff\xda") <= mostScans && isCompleteJpeg(picture));
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

bool canBeKept(const QByteArray& picture, const QByteArray& format)
{
    return (format == "jpeg" || format == "png") && picture.size() <= longestKeptFile;
}

} // namespace

CoverArt makeCoverArt(const QByteArray& picture, int width)
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
    if (!canBeDecoded(size, picture, format))
        return {};
    const QSize target = scaledDown(size, width);
    if (target != size)
        reader.setScaledSize(target);
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    if (target != size || !canBeKept(picture, format))
        return encoded(image);
    // A deep copy: the caller's bytes may be raw data that it frees.
    return {mimeTypeOf(format), size, QByteArray(picture.constData(), picture.size())};
}
