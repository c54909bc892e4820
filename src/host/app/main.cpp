#include "app/application.h"
#include "language/programlanguage.h"
#include "process/descriptors.h"
#include "process/exitstatus.h"
#include "process/freememory.h"
#include "process/hostapplication.h"
#include "process/output.h"
#include "process/standardstreams.h"

#include <i18n/trlanguage.h>

#include <QTextCodec>

#include <csignal>
#include <optional>

int main(int argc, char** argv)
{
    openStandardStreams();
    if (const Result<void> claimed = claimDescriptors(); !claimed) {
        report(claimed.failure().message.toString());
        return exitStatus(claimed.failure());
    }
    limitFreeMemory();
    const int output = claimStandardOutput();
    // Instead of the signal, write() reports that a pipe is closed.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    const HostApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TAVO_VERSION));
    TrLanguage::setCatalogues(QCoreApplication::applicationDirPath() + QLatin1String("/" TAVO_TRANSLATION_DIR));
    std::optional<ProgramLanguage> language;
    if (const TrLanguage* const asked = environmentLanguage())
        QCoreApplication::installTranslator(&language.emplace(*asked));
    // File names are UTF-8 for the worker, whatever the locale says.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    return runApplication(QCoreApplication::arguments(), output);
}
