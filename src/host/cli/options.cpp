#include "cli/options.h"

#include <QCoreApplication>

#include <algorithm>
#include <iterator>

namespace {

constexpr int defaultSweepSeconds = 5;

const QLatin1String rootOption("root");
const QLatin1String filterOption("filter");
const QLatin1String moduleOption("module");
const QLatin1String albumArtWidthOption("album-art-width");
const QLatin1String sweepOption("sweep");
const QLatin1String logLevelOption("log-level");
const QLatin1String logConfigOption("log-config");

QStringList usualPatterns()
{
    return QStringLiteral("*.mp3 *.flac *.ogg *.oga *.opus *.m4a *.aac *.wav *.aiff *.aif *.wma *.ape *.wv *.mpc "
                          "*.m3u *.m3u8 *.pls *.wpl *.asx")
        .split(QLatin1Char(' '));
}

QString lastValue(const QCommandLineParser& first, const QCommandLineParser& second, const QString& name)
{
    return second.isSet(name) ? second.value(name) : first.value(name);
}

/// The text before the first "=" is an ID only if it looks like one: directories may have any name.
RootSettings rootFrom(const QString& text)
{
    const QString id = text.section(u'=', 0, 0);
    if (id.size() < text.size() && isRootId(id))
        return {id, text.mid(id.size() + 1)};
    return {QStringLiteral("file"), text};
}

Result<std::vector<RootSettings>> rootsFrom(const QStringList& texts)
{
    if (texts.isEmpty())
        return Failure::wrongUse(QStringLiteral("no root directory is given: --root DIR"));
    std::vector<RootSettings> roots;
    std::transform(texts.cbegin(), texts.cend(), std::back_inserter(roots), rootFrom);
    return roots;
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
         QStringLiteral("Directory tree to serve (required, but not for a server that is running); may be given "
                        "again, with an ID of its own each. Default ID: file."),
         QStringLiteral("[ID=]DIR")},
        {filterOption,
         QStringLiteral("Wildcard of playable names; may be given again. Default: the usual audio and "
                        "playlist files."),
         QStringLiteral("PATTERN")},
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

LogOptions logOptions(const QCommandLineParser& program, const QCommandLineParser& command)
{
    return {lastValue(program, command, logLevelOption), lastValue(program, command, logConfigOption)};
}

Result<HostSettings> hostSettings(const QCommandLineParser& program, const QCommandLineParser& command)
{
    const auto value = [&](const QString& name) { return lastValue(program, command, name); };
    const Result<std::vector<RootSettings>> roots = rootsFrom(program.values(rootOption) + command.values(rootOption));
    if (!roots)
        return roots.failure();
    HostSettings settings;
    settings.roots = roots.value();
    settings.filter = program.values(filterOption) + command.values(filterOption);
    if (settings.filter.isEmpty())
        settings.filter = usualPatterns();
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
