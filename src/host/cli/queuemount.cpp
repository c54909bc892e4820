#include "cli/queuemount.h"

#include "language/translatable.h"
#include "process/hostlog.h"

#include <tavo/tavokeys.h>

#include <QFile>

namespace {

const QLatin1String moduleOption("queue-module");

constexpr char sourceFile[] = "src/host/cli/queuemount";

WorkerSettings settingsFor(const QString& moduleFile, const QString& stateDirectory)
{
    WorkerSettings settings;
    settings.moduleFile = moduleFile;
    settings.title = translatable(QT_TRANSLATE_NOOP("Host", "Queue"));
    settings.kind = QStringLiteral("playlist");
    settings.configuration = {
        {TavoService_Id(), QStringLiteral("playlist")}, {TavoPlaylist_StateDirectory(), stateDirectory}};
    settings.longServices = QStringList{
        QStringLiteral("playNow"), QStringLiteral("playNext"), QStringLiteral("addToQueue"),
        QStringLiteral("replaceQueue")};
    return settings;
}

} // namespace

OptionList queueOptions()
{
    return {
        {moduleOption,
         translatable(QT_TRANSLATE_NOOP("Host", "Module of the queue. Default: the one that comes with this program.")),
         QT_TRANSLATE_NOOP("Host", "FILE")}};
}

Result<void> mountQueue(ContentHost& host, const QCommandLineParser& parser, const QString& stateDirectory)
{
    const bool isNamed = parser.isSet(moduleOption);
    const QString moduleFile = isNamed ? parser.value(moduleOption) : besideProgram(TAVO_QUEUE_MODULE_FILE);
    if (!isNamed && !QFile::exists(moduleFile)) {
        HOST_LOG(hostLogger(), INFO, sourceFile, "there is no queue, since there is no module " << moduleFile);
        return {};
    }
    Result<void> mounted = host.mountWorker(settingsFor(moduleFile, stateDirectory));
    if (mounted || isNamed)
        return mounted;
    HOST_LOG(hostLogger(), WARN, sourceFile, "there is no queue: " << inEnglish(mounted.failure().message));
    return {};
}
