#include "process/logging.h"

#include "language/translatable.h"

#include <QFile>
#include <QFileInfo>

#include <log4cplus/configurator.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>

namespace {

Result<void> configureFrom(const QString& file)
{
    const QFileInfo info(file);
    if (!info.isFile() || !info.isReadable())
        return Failure::wrongUse(
            translatable(QT_TRANSLATE_NOOP("Host", "cannot read the log configuration %1"), {file}));
    log4cplus::PropertyConfigurator::doConfigure(QFile::encodeName(file).toStdString());
    return {};
}

void configureDefault()
{
    constexpr bool toStandardError = true;
    log4cplus::SharedAppenderPtr appender(new log4cplus::ConsoleAppender(toStandardError));
    appender->setLayout(std::make_unique<log4cplus::PatternLayout>("%D{%Y-%m-%d %H:%M:%S.%q} %p %c: %m%n"));
    log4cplus::Logger::getRoot().addAppender(appender);
    log4cplus::Logger::getRoot().setLogLevel(log4cplus::WARN_LOG_LEVEL);
}

} // namespace

// A list, since log4cplus complains by itself about a name that it does not know.
QStringList Logging::levels()
{
    return {QStringLiteral("OFF"),  QStringLiteral("FATAL"), QStringLiteral("ERROR"), QStringLiteral("WARN"),
            QStringLiteral("INFO"), QStringLiteral("DEBUG"), QStringLiteral("TRACE")};
}

Result<void> Logging::checkLevel(const QString& name)
{
    const QStringList known = levels();
    if (known.contains(name.toUpper()))
        return {};
    return Failure::wrongUse(translatable(
        QT_TRANSLATE_NOOP("Host", "unknown log level '%1', known are %2"), {name, known.join(QStringLiteral(", "))}));
}

Result<void> Logging::configure(const QString& level, const QString& file)
{
    if (file.isEmpty()) {
        configureDefault();
    } else if (Result<void> configured = configureFrom(file); !configured) {
        return configured;
    }
    if (level.isEmpty())
        return {};
    if (Result<void> known = checkLevel(level); !known)
        return known;
    log4cplus::Logger::getRoot().setLogLevel(log4cplus::getLogLevelManager().fromString(level.toUpper().toStdString()));
    return {};
}
