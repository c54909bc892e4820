#include "support/pictures.h"

#include <QBuffer>

#include <gtest/gtest.h>

namespace {

QByteArray synchsafe(int number)
{
    QByteArray bytes;
    for (const int shift : {21, 14, 7, 0})
        bytes.append(static_cast<char>((number >> shift) & 0x7f));
    return bytes;
}

} // namespace

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
    // Latin-1, the MIME type, a front cover, no description.
    const QByteArray content = QByteArray("\0image/png\0\3\0", 13) + picture;
    const QByteArray frame = "APIC" + synchsafe(content.size()) + QByteArray(2, '\0') + content;
    return QByteArray("ID3\4\0\0", 6) + synchsafe(frame.size()) + frame;
}
