#pragma once

#include "tavo/tavoexport.h"

#include <QString>
#include <QStringList>

class CMPath;

// All functions are thread-safe; the strings and paths live until the process ends.

/// Key of a worker's configuration: its service id and prefix, a QString.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoService_Id();
/// Key of a worker's configuration: the root directory that it serves, a QString.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoFilesystem_Path();
/// Key of a worker's configuration: the wildcard patterns of playable files, a QStringList (see TavoNameMatcher).
[[nodiscard]] TAVO_API_EXPORT const QString& TavoFilesystem_Filter();
/// Key of a worker's configuration: the directory in which the queue is kept, a QString. Empty: the queue ends with
/// the worker.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoPlaylist_StateDirectory();

/// Base of the service that prepares a playlist: a worker serves it under `addPrefix(TavoPlayListPrepareItems())`.
///
/// The value of the request is a list of encoded paths, the value of the reply the QVariantList of items of all
/// playable files that these paths name or contain. Playlist files give no item.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoPlayListPrepareItems();
/// The wildcard patterns of playlist files. A worker that prepares a playlist leaves them out of its own patterns.
[[nodiscard]] TAVO_API_EXPORT const QStringList& TavoPlayListPatterns();
/// Base of the service that prepares items for the music library. As TavoPlayListPrepareItems(), but playlist files
/// give items too, and an item has all tags of its file and the cover.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoMusicLibraryPrepareItems();
/// Base of the service that counts playable files. The value of the request is a directory, relative to the worker's
/// root and not encoded; the value of the reply is an int.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoFilesystemCountFilesPathSuffix();

/// Base of the context menus of a worker's items: the encoded path of the item follows behind a slash.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoContextMenuPath();

/// Path of a setting of the root worker: the width in pixels to which album covers are scaled down, an i32.
[[nodiscard]] TAVO_API_EXPORT const CMPath& TavoMusicLibraryAlbumArtWidth();

/// Name of a CMError: the path leads out of the worker's root.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoErrorAccessViolation();
/// Name of a CMError: nothing has this path.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoErrorInvalidPath();
/// Name of a CMError: the request gave a rows version that is not current.
[[nodiscard]] TAVO_API_EXPORT const QString& TavoErrorInvalidRowsVersion();
