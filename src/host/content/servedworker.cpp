#include "content/servedworker.h"

#include "content/workermodule.h"
#include "language/translatable.h"

#include <model/cmroot.h>

Result<std::unique_ptr<ServedWorker>> ServedWorker::mount(const WorkerSettings& settings, int position)
{
    const Result<WorkerModule> module = WorkerModule::load(settings.moduleFile);
    if (!module)
        return module.failure();
    Result<std::unique_ptr<CMWorker>> worker = module.value().createWorker(settings.configuration);
    if (!worker)
        return worker.failure();
    const QString prefix = worker.value()->prefix();
    if (!CMRootWorker::instance().mount(worker.value().get(), settings.title, position))
        return Failure::wrongUse(translatable(QT_TRANSLATE_NOOP("Host", "the id '%1' is taken"), {prefix}));
    Mount mount;
    mount.prefix = prefix;
    mount.title = settings.title;
    mount.kind = settings.kind;
    mount.longServices = settings.longServices;
    return std::unique_ptr<ServedWorker>(
        new ServedWorker(std::move(worker.value()), std::make_shared<const Mount>(std::move(mount))));
}

ServedWorker::ServedWorker(std::unique_ptr<CMWorker> worker, ContentHost::SharedMount mount)
    : m_worker(std::move(worker)), m_mount(std::move(mount))
{
}

ServedWorker::~ServedWorker()
{
    CMRootWorker::instance().unmount(m_worker.get());
}
