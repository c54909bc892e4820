#pragma once

#include "tavo/tavoexport.h"

class QMutex;

/// The process-wide source of rows versions, shared by all workers.
struct TAVO_API_EXPORT CMVersion
{
    /// Guards s_last and the versions that workers derive from it. Null only while the process ends.
    [[nodiscard]] static QMutex* mutex();

    /// The last version handed out to a new worker.
    static int s_last;
};
