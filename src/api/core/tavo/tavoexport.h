#pragma once

#include <QtCore/qglobal.h>

/// Marks a declaration that libtavo_api exports.
#if defined(tavo_api_EXPORTS)
#define TAVO_API_EXPORT Q_DECL_EXPORT
#else
#define TAVO_API_EXPORT Q_DECL_IMPORT
#endif
