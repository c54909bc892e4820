#include "support/module.h"

#include "support/race.h"
#include "tavo/tavokeys.h"
#include "tavo/tavoroles.h"

#include <QVariantHash>

#include <dlfcn.h>

namespace {

std::unique_ptr<CMWorker> load(const char* module, const QVariantHash& configuration)
{
    void* const library = dlopen(module, RTLD_NOW | RTLD_LOCAL);
    require(library, "cannot load the worker's module");
    const auto create = reinterpret_cast<CMWorkerCreate>(dlsym(library, "worker_create"));
    require(create, "the module has no worker_create");
    return std::unique_ptr<CMWorker>(create(nullptr, configuration));
}

} // namespace

QString shippedModule()
{
    return QStringLiteral(TAVO_MODULE);
}

std::unique_ptr<CMWorker> loadWorker(const char* module, const QString& root, const QStringList& patterns)
{
    return load(
        module, {{TavoService_Id(), QStringLiteral("file")},
                 {TavoFilesystem_Path(), root},
                 {TavoFilesystem_Filter(), patterns}});
}

std::unique_ptr<CMWorker> loadWorker(const QString& root, const QStringList& patterns)
{
    return loadWorker(TAVO_MODULE, root, patterns);
}

std::unique_ptr<CMWorker> loadQueue(const QString& stateDirectory)
{
    return load(
        TAVO_QUEUE_MODULE,
        {{TavoService_Id(), QStringLiteral("playlist")}, {TavoPlaylist_StateDirectory(), stateDirectory}});
}

QStringList playablePatterns()
{
    return {
        QStringLiteral("*.mp3"), QStringLiteral("*.flac"), QStringLiteral("*.ogg"), QStringLiteral("*.m4a"),
        QStringLiteral("*.wav")};
}

QStringList wildcardPatterns()
{
    return {
        QStringLiteral("*[0-9]?.mp?"), QStringLiteral("*[^0-9]?.mp[34]"), QStringLiteral("?*.fl?c"),
        QStringLiteral("*.og[ag]"), QStringLiteral("*.[mw][4a][av]")};
}

QStringList allRoles()
{
    return {TavoRoles::Path(),  TavoRoles::Title(),     TavoRoles::Type(),     TavoRoles::ContainerPlayable(),
            TavoRoles::Flags(), TavoRoles::MediaData(), TavoRoles::Timestamp()};
}

TavoRowsRoles requestRows(CMWorker& worker, const QString& directory, int first, int last, const QStringList& roles)
{
    const CMGetRowsRequest request(worker.addPrefix(directory), first, last, 0, roles);
    worker.getRowsRequest(request);
    const CMReply<TavoRowsRoles> reply = request.reply();
    require(reply.isFinished() && !reply.isError(), "a rows request was refused");
    return reply.value();
}

QVariant setData(CMWorker& worker, const QString& service, const QVariant& value)
{
    const CMSetDataRequest request(worker.addPrefix(service), value);
    worker.setDataRequest(request);
    const CMReply<QVariant> reply = request.reply();
    require(reply.waitForFinished() && !reply.isError(), "a set-data request was refused");
    return reply.value();
}
