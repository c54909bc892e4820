#include "content/workermodule.h"

#include "language/translatable.h"

#include <QFile>
#include <QFileInfo>

#include <exception>

#include <dlfcn.h>

namespace {

struct CloseLibrary
{
    void operator()(void* library) const { dlclose(library); }
};
using Library = std::unique_ptr<void, CloseLibrary>;

Failure loaderFailure()
{
    return Failure::wrongUse(
        translatable(QT_TRANSLATE_NOOP("Host", "cannot load the module: %1"), {QString::fromLocal8Bit(dlerror())}));
}

Failure factoryFailure(const QString& file, const QString& reason)
{
    return Failure::wrongUse(
        translatable(QT_TRANSLATE_NOOP("Host", "the module %1 makes no worker: %2"), {file, reason}));
}

} // namespace

Result<WorkerModule> WorkerModule::load(const QString& file)
{
    // Absolute, since the loader looks for a bare name elsewhere than in the current directory.
    const QString path = QFileInfo(file).absoluteFilePath();
    Library library(dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL));
    if (!library)
        return loaderFailure();
    const auto factory = reinterpret_cast<CMWorkerCreate>(dlsym(library.get(), "worker_create"));
    if (!factory)
        return loaderFailure();
    static_cast<void>(library.release());
    return WorkerModule(path, factory);
}

Result<std::unique_ptr<CMWorker>> WorkerModule::createWorker(const QVariantHash& configuration) const
{
    try {
        std::unique_ptr<CMWorker> worker(m_factory(nullptr, configuration));
        if (worker)
            return worker;
        return factoryFailure(m_file, translated(QT_TRANSLATE_NOOP("Host", "its factory gives none")));
    } catch (const std::exception& error) {
        return factoryFailure(m_file, QString::fromLocal8Bit(error.what()));
    } catch (...) {
        return factoryFailure(m_file, translated(QT_TRANSLATE_NOOP("Host", "its factory throws")));
    }
}
