#include "support/pictures.h"

#include "audiofile.h"

#include <QBuffer>

#include <gtest/gtest.h>

QByteArray pictureFile(const QSize& size, const char* format)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgb(x % 256, y % 256, (x + y) % 256));
    }
    QByteArray bytes;
    QBuffer out(&bytes);
    EXPECT_TRUE(image.save(&out, format));
    return bytes;
}

QByteArray monochromePng(const QSize& size)
{
    QImage image(size, QImage::Format_Mono);
    image.fill(0);
    QByteArray bytes;
    QBuffer out(&bytes);
    EXPECT_TRUE(image.save(&out, "png"));
    return bytes;
}

QByteArray songWithCover(const QByteArray& picture)
{
    return id3Tag(id3Frame("APIC", pictureContent(picture)));
}
