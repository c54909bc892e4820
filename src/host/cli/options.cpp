#include "cli/options.h"

#include "config/configurationfile.h"
#include "language/translatable.h"
#include "process/logging.h"

#include <QCoreApplication>

#include <algorithm>
#include <iterator>

namespace {

constexpr int defaultSweepSeconds = 5;

const QLatin1String rootOption("root");
const QLatin1String filterOption("filter");
const QLatin1String configOption("config");
const QLatin1String moduleOption("module");
const QLatin1String albumArtWidthOption("album-art-width");
const QLatin1String sweepOption("sweep");
const QLatin1String logLevelOption("log-level");
const QLatin1String logConfigOption("log-config");

QString lastValue(const QCommandLineParser& first, const QCommandLineParser& second, const QString& name)
{
    return second.isSet(name) ? second.value(name) : first.value(name);
}

/// The text before the first "=" is an ID only if it looks like one: directories may have any name.
RootConfiguration rootFrom(const QString& text)
{
    const Origin origin = Origin::option(rootOption);
    const QString id = text.section(u'=', 0, 0);
    if (id.size() < text.size() && isRootId(id))
        return {id, {text.mid(id.size() + 1), origin}};
    return {QStringLiteral("file"), {text, origin}};
}

void takeRoots(Configuration& configuration, const QStringList& roots, const QStringList& filter)
{
    if (!roots.isEmpty())
        configuration.roots.clear();
    std::transform(roots.cbegin(), roots.cend(), std::back_inserter(configuration.roots), rootFrom);
    if (filter.isEmpty())
        return;
    for (RootConfiguration& root : configuration.roots)
        root.filter = {filter, Origin::option(filterOption)};
}

TrString levelDescription()
{
    QStringList levels = Logging::levels();
    const QString last = levels.takeLast();
    return translatable(QT_TRANSLATE_NOOP("Host", "%1 or %2."), {levels.join(QStringLiteral(", ")), last});
}

} // namespace

QStringList Option::names() const
{
    return letter == '\0' ? QStringList(name) : QStringList{QString(QLatin1Char(letter)), name};
}

QCommandLineOption forParsing(const Option& option)
{
    return {option.names(), {}, QLatin1String(option.valueName)};
}

QCommandLineOption forHelp(const Option& option)
{
    const QString valueName = *option.valueName == '\0' ? QString() : translated(option.valueName);
    return {option.names(), option.description.toString(), valueName};
}

QString besideProgram(const char* path)
{
    return QCoreApplication::applicationDirPath() + u'/' + QString::fromUtf8(path);
}

OptionList globalOptions()
{
    return {
        {rootOption,
         translatable(QT_TRANSLATE_NOOP(
             "Host", "Directory tree to serve, instead of the configured ones; may be given again, with an ID of its "
                     "own each. Default ID: file.")),
         QT_TRANSLATE_NOOP("Host", "[ID=]DIR")},
        {filterOption,
         translatable(QT_TRANSLATE_NOOP(
             "Host", "Wildcard of playable names; may be given again. Default: the usual audio and playlist files.")),
         QT_TRANSLATE_NOOP("Host", "PATTERN")},
        {configOption,
         translatable(QT_TRANSLATE_NOOP(
             "Host", "File with settings. Default: $XDG_CONFIG_HOME/tavo/tavo.toml, or else /etc/tavo/tavo.toml.")),
         QT_TRANSLATE_NOOP("Host", "FILE")},
        {moduleOption,
         translatable(
             QT_TRANSLATE_NOOP("Host", "Worker module to load. Default: the one that comes with this program.")),
         QT_TRANSLATE_NOOP("Host", "FILE")},
        {albumArtWidthOption, translatable(QT_TRANSLATE_NOOP("Host", "Width that album covers are scaled down to.")),
         QT_TRANSLATE_NOOP("Host", "PX")},
        {sweepOption,
         translatable(QT_TRANSLATE_NOOP("Host", "Seconds between looks at opened directories, 0: never. Default: 5.")),
         QT_TRANSLATE_NOOP("Host", "SECONDS")},
        {logLevelOption, levelDescription(), QT_TRANSLATE_NOOP("Host", "LEVEL")},
        {logConfigOption,
         translatable(QT_TRANSLATE_NOOP(
             "Host", "Properties file for log4cplus. Default: warnings and worse on standard error.")),
         QT_TRANSLATE_NOOP("Host", "FILE")}};
}

// Qt's own would speak of options that a program without windows does not have.
Option helpOption()
{
    return {QStringLiteral("help"), translatable(QT_TRANSLATE_NOOP("Host", "Print this help.")), "", 'h'};
}

OptionList programOptions()
{
    const Option version = {
        QStringLiteral("version"), translatable(QT_TRANSLATE_NOOP("Host", "Print the version.")), "", 'v'};
    return OptionList{helpOption(), version} + globalOptions();
}

ReadConfiguration configurationFrom(const QCommandLineParser& program, const QCommandLineParser& command)
{
    const QString named = lastValue(program, command, configOption);
    const QString file = named.isEmpty() ? usualConfigurationFile() : named;
    ReadConfiguration read = file.isEmpty() ? ReadConfiguration() : readConfigurationFile(file);
    Configuration& configuration = read.configuration;
    takeRoots(
        configuration, program.values(rootOption) + command.values(rootOption),
        program.values(filterOption) + command.values(filterOption));
    configuration.log = logConfiguration(configuration.log, program, command);
    return read;
}

LogConfiguration
logConfiguration(LogConfiguration configured, const QCommandLineParser& program, const QCommandLineParser& command)
{
    const auto take = [&](Setting<QString>& setting, const QString& option) {
        if (const QString value = lastValue(program, command, option); !value.isEmpty())
            setting = {value, Origin::option(option)};
    };
    take(configured.level, logLevelOption);
    take(configured.config, logConfigOption);
    return configured;
}

std::vector<RootSettings> rootSettings(const Configuration& configuration)
{
    std::vector<RootSettings> roots;
    for (const RootConfiguration& root : configuration.roots)
        roots.push_back({root.id, root.path.value, root.title.value, root.followLinks.value, root.filter.value});
    return roots;
}

Result<HostSettings>
hostSettings(const Configuration& configuration, const QCommandLineParser& program, const QCommandLineParser& command)
{
    const auto value = [&](const QString& name) { return lastValue(program, command, name); };
    HostSettings settings;
    settings.roots = rootSettings(configuration);
    const QString module = value(moduleOption);
    settings.moduleFile = module.isEmpty() ? besideProgram(TAVO_MODULE_FILE) : module;
    const auto number = [&](const QString& name, int byDefault, int minimum) {
        return integerOption(command.isSet(name) ? command : program, name, byDefault, minimum);
    };
    const Result<int> sweep = number(sweepOption, defaultSweepSeconds, 0);
    if (!sweep)
        return sweep.failure();
    settings.sweepInterval = std::chrono::seconds(sweep.value());
    if (value(albumArtWidthOption).isNull())
        return settings;
    const Result<int> width = number(albumArtWidthOption, 0, 1);
    if (!width)
        return width.failure();
    settings.albumArtWidth = width.value();
    return settings;
}

Result<int> integerOption(const QCommandLineParser& parser, const QString& name, int byDefault, int minimum)
{
    if (!parser.isSet(name))
        return byDefault;
    bool isNumber = false;
    const int number = parser.value(name).toInt(&isNumber);
    if (!isNumber || number < minimum)
        return Failure::wrongUse(translatable(
            QT_TRANSLATE_NOOP("Host", "--%1 takes a number from %2 up, not '%3'"),
            {name, QString::number(minimum), parser.value(name)}));
    return number;
}
