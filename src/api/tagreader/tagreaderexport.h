#pragma once

#include <QtCore/qglobal.h>

/// Marks a declaration that libtavo_tagreader exports.
#if defined(tavo_tagreader_EXPORTS)
#define TAVO_TAGREADER_EXPORT Q_DECL_EXPORT
#else
#define TAVO_TAGREADER_EXPORT Q_DECL_IMPORT
#endif
