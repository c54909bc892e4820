#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>

/// The bytes of a picture file.
[[nodiscard]] QByteArray pictureFile(const QSize& size, const char* format = "jpeg");
/// A tag with a front cover, as the start of an MP3 file.
[[nodiscard]] QByteArray songWithCover(const QByteArray& picture);
