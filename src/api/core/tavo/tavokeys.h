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

/// Names of errors: access is refused; a path names nothing; rows are asked for by a version that is not current.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoErrorAccessViolation();
[[nodiscard]] TAVO_API_EXPORT const QString& TavoErrorInvalidPath();
[[nodiscard]] TAVO_API_EXPORT const QString& TavoErrorInvalidRowsVersion();
