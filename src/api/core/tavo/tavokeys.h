#pragma once

#include "tavo/tavoexport.h"

#include <QString>

class CMPath;

/// Configuration keys of a worker. Values: QString, QString, QStringList of wildcard patterns.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoService_Id();
[[nodiscard]] TAVO_API_EXPORT const QString& TavoFilesystem_Path();
[[nodiscard]] TAVO_API_EXPORT const QString& TavoFilesystem_Filter();

/// Keys of the set-data services: a worker serves each under `addPrefix(key)`.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoPlayListPrepareItems();
[[nodiscard]] TAVO_API_EXPORT const QString& TavoMusicLibraryPrepareItems();
[[nodiscard]] TAVO_API_EXPORT const QString& TavoFilesystemCountFilesPathSuffix();

/// The root worker's setting: width in pixels to which album covers are scaled down.
[[nodiscard]] TAVO_API_EXPORT const CMPath& TavoMusicLibraryAlbumArtWidth();

/// The name of an error that refuses access.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoErrorAccessViolation();
