#pragma once

#include <QtCore/qglobal.h>

#if defined(tavo_api_EXPORTS)
#define TAVO_API_EXPORT Q_DECL_EXPORT
#else
#define TAVO_API_EXPORT Q_DECL_IMPORT
#endif
