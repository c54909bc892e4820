#include "content/host.h"

#include "content/workermodule.h"
#include "liveness/healer.h"

#include <model/cmroot.h>
#include <tavo/tavokeys.h>

#include <QFileInfo>

namespace {

/// The canonical path of the root.
Result<QString> checkedRoot(const QString& root)
{
    if (root.isEmpty())
        return Failure::wrongUse(QStringLiteral("no root directory is given, or its name is empty: --root ''"));
    const QFileInfo info(root);
    if (!info.exists())
        return Failure::wrongUse(QStringLiteral("the root directory %1 does not exist").arg(root));
    if (!info.isDir())
        return Failure::wrongUse(QStringLiteral("the root %1 is not a directory").arg(root));
    return info.canonicalFilePath();
}

QVariantHash configuration(const HostSettings& settings, const QString& root)
{
    return {
        {TavoService_Id(), settings.serviceId},
        {TavoFilesystem_Path(), root},
        {TavoFilesystem_Filter(), settings.filter}};
}

} // namespace

Result<std::unique_ptr<Host>> Host::start(const HostSettings& settings)
{
    const Result<QString> root = checkedRoot(settings.root);
    if (!root)
        return root.failure();
    const Result<WorkerModule> module = WorkerModule::load(settings.moduleFile);
    if (!module)
        return module.failure();
    // The worker reads it once, when it is made.
    if (settings.albumArtWidth)
        CMRootWorker::instance().setSetting(
            TavoMusicLibraryAlbumArtWidth(), TavoValue::fromI32(*settings.albumArtWidth));
    Result<std::unique_ptr<CMWorker>> worker = module.value().createWorker(configuration(settings, root.value()));
    if (!worker)
        return worker.failure();
    if (!CMRootWorker::instance().mount(worker.value().get()))
        return Failure::wrongUse(QStringLiteral("the service id '%1' is taken").arg(settings.serviceId));
    return std::unique_ptr<Host>(new Host(std::move(worker.value()), settings, root.value()));
}

Host::Host(std::unique_ptr<CMWorker> worker, const HostSettings& settings, QString rootDirectory)
    : m_worker(std::move(worker)), m_rootDirectory(std::move(rootDirectory)), m_filter(settings.filter),
      m_healer(std::make_unique<Healer>(*m_worker, settings.sweepInterval))
{
}

Host::~Host() = default;

CMPath Host::contextMenu() const
{
    return m_worker->addPrefix(QStringLiteral("menu/context"));
}
