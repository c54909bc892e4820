#pragma once

#include "tavo/tavoexport.h"

class QMutex;

/// The source of rows versions for all workers of the process: a new worker takes a version above s_last, so that
/// clients never mistake its rows for those of a worker before it.
struct TAVO_API_EXPORT CMVersion
{
    /// Guards s_last. Thread-safe; the SDK owns the mutex. Null only while the process ends.
    [[nodiscard]] static QMutex* mutex();

    /// Hands out a version: one above s_last. Takes mutex().
    [[nodiscard]] static int next();
    /// Makes s_last at least `version`. Takes mutex().
    static void raise(int version);

    /// The last version handed out, to a new worker or for the rows of the root worker; at least the highest one that
    /// clients have from a worker that was unmounted. 0 instead of the largest number, so that the next version is 1;
    /// only a new worker may leave the largest until it is mounted. Guarded by mutex().
    static int s_last;
};
