#pragma once

#include <QtCore/qglobal.h>

/// Marks a declaration that libtavo_playlist exports.
#if defined(tavo_playlist_EXPORTS)
#define TAVO_PLAYLIST_EXPORT Q_DECL_EXPORT
#else
#define TAVO_PLAYLIST_EXPORT Q_DECL_IMPORT
#endif
