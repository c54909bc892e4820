// Prints the titles of all rows at a path: consumer_host MODULE ROOT PATH. A MODULE without a slash is one of the
// installed ones.

#include <tavo.h>

#include <QCoreApplication>

#include <cstdlib>
#include <dlfcn.h>
#include <iostream>
#include <memory>

namespace {

CMWorkerCreate factoryOf(const QString& module)
{
    const QString file = module.contains('/') ? module : QString::fromUtf8(MODULE_DIR) + '/' + module;
    void* library = dlopen(file.toLocal8Bit().constData(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::cerr << dlerror() << '\n';
        std::exit(EXIT_FAILURE);
    }
    return reinterpret_cast<CMWorkerCreate>(dlsym(library, "worker_create"));
}

QVariantList rowsAt(const CMPath& path)
{
    const CMGetRowsRequest request(path, 0, 99, 0, {TavoRoles::Title()});
    CMRootWorker::instance().request(request);
    if (!request.reply().waitForFinished() || request.reply().isError()) {
        std::cerr << request.reply().error().message().toStdString() << '\n';
        std::exit(EXIT_FAILURE);
    }
    return request.reply().value().rows();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QVariantHash configuration = {
        {TavoService_Id(), "consumer"},
        {TavoFilesystem_Path(), arguments.at(2)},
        {TavoFilesystem_Filter(), QStringList{"*.mp3"}}};
    const std::unique_ptr<CMWorker> worker(factoryOf(arguments.at(1))(nullptr, configuration));
    if (!CMRootWorker::instance().mount(worker.get()))
        return EXIT_FAILURE;
    for (const QVariant& row : rowsAt(worker->addPrefix(arguments.at(3))))
        std::cout << row.toList().first().toString().toStdString() << '\n';
}
