#pragma once

#include <QtCore/qglobal.h>

#if defined(tavo_playlist_EXPORTS)
#define TAVO_PLAYLIST_EXPORT Q_DECL_EXPORT
#else
#define TAVO_PLAYLIST_EXPORT Q_DECL_IMPORT
#endif
