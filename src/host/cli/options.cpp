#include "cli/options.h"

#include "config/configurationfile.h"

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

} // namespace

QString besideProgram(const char* path)
{
    return QCoreApplication::applicationDirPath() + u'/' + QString::fromUtf8(path);
}

OptionList globalOptions()
{
    return {
        {rootOption,
         QStringLiteral("Directory tree to serve, instead of the configured ones; may be given again, with an ID of "
                        "its own each. Default ID: file."),
         QStringLiteral("[ID=]DIR")},
        {filterOption,
         QStringLiteral("Wildcard of playable names; may be given again. Default: the usual audio and "
                        "playlist files."),
         QStringLiteral("PATTERN")},
        {configOption,
         QStringLiteral("File with settings. Default: $XDG_CONFIG_HOME/tavo/tavo.toml, or else "
                        "/etc/tavo/tavo.toml."),
         QStringLiteral("FILE")},
        {moduleOption, QStringLiteral("Worker module to load. Default: the one that comes with this program."),
         QStringLiteral("FILE")},
        {albumArtWidthOption, QStringLiteral("Width that album covers are scaled down to."), QStringLiteral("PX")},
        {sweepOption, QStringLiteral("Seconds between looks at opened directories, 0: never. Default: 5."),
         QStringLiteral("SECONDS")},
        {logLevelOption, QStringLiteral("OFF, FATAL, ERROR, WARN, INFO, DEBUG or TRACE."), QStringLiteral("LEVEL")},
        {logConfigOption,
         QStringLiteral("Properties file for log4cplus. Default: warnings and worse on standard "
                        "error."),
         QStringLiteral("FILE")}};
}

// Qt's own would speak of options that a program without windows does not have.
QCommandLineOption helpOption()
{
    return {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this help.")};
}

OptionList programOptions()
{
    const OptionList own = {
        helpOption(), {{QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Print the version.")}};
    return own + globalOptions();
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
        return Failure::wrongUse(
            QStringLiteral("--%1 takes a number from %2 up, not '%3'").arg(name).arg(minimum).arg(parser.value(name)));
    return number;
}
