// A factory that makes nothing.
#include <model/cmworker.h>

extern "C" Q_DECL_EXPORT CMWorker* worker_create(void* /*host*/, const QVariantHash& /*configuration*/)
{
    return nullptr;
}
