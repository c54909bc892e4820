#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>

/// The bytes of a picture file.
[[nodiscard]] QByteArray pictureFile(const QSize& size, const char* format = "jpeg");
/// A PNG file of one bit a pixel, which can be decoded.
[[nodiscard]] QByteArray monochromePng(const QSize& size);
/// A tag with a front cover, as the start of an MP3 file.
[[nodiscard]] QByteArray songWithCover(const QByteArray& picture);
