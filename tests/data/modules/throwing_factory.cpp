// A factory that throws what it is told to.
#include <model/cmworker.h>
#include <tavo/tavokeys.h>

#include <stdexcept>

extern "C" Q_DECL_EXPORT CMWorker* worker_create(void* /*host*/, const QVariantHash& configuration)
{
    if (configuration.value(TavoService_Id()).toString() == QLatin1String("number"))
        throw 1;
    throw std::runtime_error("no memory for it");
}
