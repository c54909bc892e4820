#pragma once

#include <QtCore/qglobal.h>

#if defined(tavo_tagreader_EXPORTS)
#define TAVO_TAGREADER_EXPORT Q_DECL_EXPORT
#else
#define TAVO_TAGREADER_EXPORT Q_DECL_IMPORT
#endif
