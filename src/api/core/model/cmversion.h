#pragma once

#include "tavo/tavoexport.h"

class QMutex;

/// The source of rows versions for all workers of the process: a new worker takes a version above s_last, so that
/// clients never mistake its rows for those of a worker before it.
struct TAVO_API_EXPORT CMVersion
{
    /// Guards s_last. Thread-safe; the SDK owns the mutex. Null only while the process ends.
    [[nodiscard]] static QMutex* mutex();

    /// The version that the last new worker took; 0 before the first. Hold mutex() to read or change it.
    static int s_last;
};
