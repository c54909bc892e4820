#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>

/// An album's picture, ready to be shown: a JPEG or PNG file's bytes. Without data there is none.
struct CoverArt
{
    QString mimeType;
    QSize size;
    QByteArray data;
};

/// `picture` (the bytes of a picture file), scaled down to `width` pixels if it is wider, ratio kept. No art if it is
/// no picture, or one that takes more than a cover's memory or time to decode.
[[nodiscard]] CoverArt makeCoverArt(const QByteArray& picture, int width);

/// What makes it, in a library of its own that the first picture loads; its exported name.
using CoverArtMaker = void(const QByteArray& picture, int width, CoverArt& art);
constexpr char coverArtMaker[] = "tavo_make_cover_art";
