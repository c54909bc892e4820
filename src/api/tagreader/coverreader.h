#pragma once

#include "tagreader/tagreaderexport.h"

#include <QByteArray>
#include <QSize>
#include <QString>

/// An album's picture, ready to be shown: the bytes of a JPEG or PNG file. Empty data: there is none.
struct CoverArt
{
    /// "image/jpeg" or "image/png".
    QString mimeType;
    /// In pixels.
    QSize size;
    /// The bytes of the file.
    QByteArray data;
};

/// Reads covers from files that are open.
///
/// Every picture is decoded, whatever its name or tag says of it, so that the result is a picture. One that has too
/// many pixels, that is truncated, or that is neither JPEG, PNG, GIF nor BMP gives none. Covers wider than `width`
/// pixels are scaled down to it, ratio kept; narrower ones are not scaled.
///
/// The functions read a regular file from `descriptor`, which stays the caller's, as does its offset. A damaged or
/// hostile file costs bounded time and memory. Thread-safe; nothing is thrown.
struct TAVO_TAGREADER_EXPORT CoverReader
{
    /// The front cover in the tags of an audio file. `extension`: of its name, in any case and without a dot; it
    /// decides the format where the bytes do not.
    [[nodiscard]] static CoverArt fromAudioFile(int descriptor, const QString& extension, int width);
    /// The picture that the whole file is.
    [[nodiscard]] static CoverArt fromPictureFile(int descriptor, int width);
};
