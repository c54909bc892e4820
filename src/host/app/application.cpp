#include "app/application.h"

#include "cli/commands/arguments.h"
#include "cli/commands/command.h"
#include "cli/options.h"
#include "content/contenthost.h"
#include "exec/workerthread.h"
#include "language/programlanguage.h"
#include "language/translatable.h"
#include "process/exitstatus.h"
#include "process/logging.h"
#include "process/output.h"
#include "process/shutdown.h"

#include <i18n/trlanguage.h>

#include <QCoreApplication>

#include <cstdlib>

#include <unistd.h>

namespace {

constexpr char programDescription[] =
    QT_TRANSLATE_NOOP("Host", "Browses, watches and reads a directory tree of media files through a worker module.");

/// What the command line asks for.
struct Invocation
{
    const Command& command;
    /// The options before the command, and those behind it.
    const QCommandLineParser& program;
    const QCommandLineParser& parser;
    /// Takes the results.
    int output;
};

bool runsAlone(const Command& command)
{
    return std::holds_alternative<Command::RunAlone>(command.run);
}

constexpr char firstSteps[] = QT_TRANSLATE_NOOP("Host", R"(tavo shows directories of music and serves them. To begin:
  tavo --root ~/Music browse    print what is in a directory
  tavo --root ~/Music serve     serve it to browsers: open the address that it prints
  tavo --root ~/Music doctor    find what would get in the way
  tavo --help                   list all commands and options
)");

/// Qt's help names the program by the path that called it.
QString helpOf(const QCommandLineParser& parser)
{
    QString text = parser.helpText();
    const QString path = QCoreApplication::arguments().constFirst();
    return text.replace(text.indexOf(path), path.size(), QStringLiteral("tavo"));
}

QString commandList()
{
    const auto line = [](const Command& command) {
        return QStringLiteral("  %1 %2\n").arg(QLatin1String(command.name), -11).arg(translated(command.summary));
    };
    const auto heading = [](const char* text) { return u'\n' + translated(text) + u'\n'; };
    QString text = heading(QT_TRANSLATE_NOOP("Host", "Commands:"));
    QString remoteText =
        heading(QT_TRANSLATE_NOOP("Host", "Commands for a server that is running, which need no root:"));
    for (const Command& command : allCommands())
        (runsAlone(command) && command.asksServer ? remoteText : text) += line(command);
    return text + remoteText + heading(QT_TRANSLATE_NOOP("Host", "'tavo COMMAND --help' describes a command."));
}

void addOptions(QCommandLineParser& parser, const OptionList& options, QCommandLineOption (*convert)(const Option&))
{
    for (const Option& option : options)
        parser.addOption(convert(option));
}

QString programHelp()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(translated(programDescription));
    addOptions(parser, programOptions(), forHelp);
    parser.addPositionalArgument(
        translated(QT_TRANSLATE_NOOP("Host", "COMMAND")),
        translated(QT_TRANSLATE_NOOP("Host", "What to do, see below.")));
    parser.addPositionalArgument(
        translated(QT_TRANSLATE_NOOP("Host", "arguments")), translated(QT_TRANSLATE_NOOP("Host", "The command's own.")),
        translated(QT_TRANSLATE_NOOP("Host", "[arguments...]")));
    return helpOf(parser) + commandList();
}

/// Empty if it takes none.
QString argumentsOf(const Command& command)
{
    return *command.arguments == '\0' ? QString() : translated(command.arguments);
}

/// Usage as the command's own options and arguments have it.
QString commandHelp(const Command& command)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(translated(command.manual));
    addOptions(parser, optionsOf(command), forHelp);
    const QString name = QLatin1String(command.name);
    const QString arguments = argumentsOf(command);
    const QString usage = name + u' ' + QCommandLineParser::tr("[options]");
    const bool hasPaths = !runsAlone(command) && !arguments.isEmpty();
    parser.addPositionalArgument(
        name, translated(command.summary), hasPaths ? usage : QString(usage + u' ' + arguments).trimmed());
    if (hasPaths)
        parser.addPositionalArgument(
            translated(QT_TRANSLATE_NOOP("Host", "PATH")),
            translated(QT_TRANSLATE_NOOP("Host", "Relative to the root.")), arguments);
    return helpOf(parser);
}

int print(int output, const QString& text)
{
    return writeOutput(output, text.toUtf8()) ? Success : Refused;
}

int refuseUse(const QString& message, const QString& command = {})
{
    const QString subject = command.isEmpty() ? QStringLiteral("tavo") : QStringLiteral("tavo %1").arg(command);
    report(translated(QT_TRANSLATE_NOOP("Host", "%1 (see '%2 --help')"), {message, subject}));
    return WrongUse;
}

int fail(const Failure& failure)
{
    report(failure.message.toString());
    return exitStatus(failure);
}

/// For those who call the program without anything.
int explainBeginning()
{
    static_cast<void>(writeAll(STDERR_FILENO, translated(firstSteps).toUtf8()));
    return WrongUse;
}

int statusOf(const Result<int>& result)
{
    return result ? result.value() : fail(result.failure());
}

Result<void> configure(Logging& logging, const LogConfiguration& log)
{
    return logging.configure(log.level.value, log.config.value);
}

int refuseConfiguration(const std::vector<ConfigurationProblem>& problems)
{
    for (const ConfigurationProblem& problem : problems)
        report(problem.toText());
    return WrongUse;
}

Result<void> checkRootsGiven(const Command& command, const Configuration& configuration)
{
    const bool mayComeLater = command.worksWithoutRoots && !configuration.file.isEmpty();
    if (!configuration.roots.empty() || mayComeLater)
        return {};
    const QString file = configuration.file.isEmpty() ? QStringLiteral("tavo.toml") : configuration.file;
    const char* const text =
        QT_TRANSLATE_NOOP("Host", "no root directory is given: --root DIR, or [root.music] with a path in %1");
    return Failure::wrongUse(translatable(text, {file}));
}

int runWithHost(const Invocation& call, const Configuration& configuration, const HostSettings& settings)
{
    const Result<std::unique_ptr<ContentHost>> host = ContentHost::start(settings);
    if (!host)
        return fail(host.failure());
    if (host.value()->mounts().empty() && !call.command.worksWithoutRoots)
        return fail({Failure::Kind::Refused, host.value()->problems().join(QStringLiteral(", "))});
    host.value()->warnOfProblems();
    const Command::RunWithHost run = std::get<Command::RunWithHost>(call.command.run);
    const auto readAgain = [&call] { return configurationFrom(call.program, call.parser); };
    const int status = statusOf(run({*host.value(), call.output, configuration, readAgain}, call.parser));
    // A worker thread that hangs in the kernel is left behind, and all that it uses with it.
    if (!host.value()->workerThread().answersWithin(Shutdown::workerPatience))
        std::_Exit(status);
    return status;
}

int runConfigured(const Invocation& call, const ReadConfiguration& read)
{
    if (const auto* const run = std::get_if<Command::RunOnConfiguration>(&call.command.run))
        return statusOf((*run)(read, call.output, call.parser));
    if (!read.problems.empty())
        return refuseConfiguration(read.problems);
    const Configuration& configuration = read.configuration;
    Logging logging;
    if (const Result<void> configured = configure(logging, configuration.log); !configured)
        return fail(configured.failure());
    if (const Result<void> given = checkRootsGiven(call.command, configuration); !given)
        return fail(given.failure());
    const Result<HostSettings> settings = hostSettings(configuration, call.program, call.parser);
    if (!settings)
        return fail(settings.failure());
    if (const auto* const run = std::get_if<Command::RunWithSettings>(&call.command.run))
        return statusOf((*run)({settings.value(), configuration, call.output}, call.parser));
    return runWithHost(call, configuration, settings.value());
}

int runAlone(const Invocation& call, Command::RunAlone run)
{
    Logging logging;
    const LogConfiguration log = logConfiguration({}, call.program, call.parser);
    if (const Result<void> configured = configure(logging, log); !configured)
        return fail(configured.failure());
    return statusOf(run(call.output, call.parser));
}

int runCommand(const Invocation& call)
{
    if (const auto* const run = std::get_if<Command::RunAlone>(&call.command.run))
        return runAlone(call, *run);
    return runConfigured(call, configurationFrom(call.program, call.parser));
}

/// Programs that read JSON get the same in every environment. Null: the environment's.
const TrLanguage* languageFor(const QCommandLineParser& parser)
{
    return wantsJson(parser) ? englishLanguage() : nullptr;
}

int runCommandLine(const Command& command, const QCommandLineParser& program, int output)
{
    QCommandLineParser parser;
    addOptions(parser, optionsOf(command) + globalOptions(), forParsing);
    const QString name = QLatin1String(command.name);
    if (!parser.parse(program.positionalArguments()))
        return refuseUse(parser.errorText(), name);
    if (parser.isSet(helpOption().name))
        return print(output, commandHelp(command));
    if (!command.argumentCount.fits(parser.positionalArguments().size())) {
        const QString arguments = argumentsOf(command);
        const QString message = arguments.isEmpty()
                                    ? translated(QT_TRANSLATE_NOOP("Host", "%1 takes no arguments"), {name})
                                    : translated(QT_TRANSLATE_NOOP("Host", "%1 takes %2"), {name, arguments});
        return refuseUse(message, name);
    }
    const TrLanguage::Scope language(languageFor(parser));
    return runCommand({command, program, parser, output});
}

} // namespace

int runApplication(const QStringList& arguments, int output)
{
    QCommandLineParser program;
    program.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    addOptions(program, programOptions(), forParsing);
    if (!program.parse(arguments))
        return refuseUse(program.errorText());
    if (program.isSet(helpOption().name))
        return print(output, programHelp());
    if (program.isSet(QStringLiteral("version")))
        return print(output, QStringLiteral("tavo %1\n").arg(QCoreApplication::applicationVersion()));
    const QStringList rest = program.positionalArguments();
    if (arguments.size() == 1)
        return explainBeginning();
    if (rest.isEmpty())
        return refuseUse(translated(QT_TRANSLATE_NOOP("Host", "a command is missing")));
    const Command* command = findCommand(rest.first());
    if (!command)
        return refuseUse(translated(QT_TRANSLATE_NOOP("Host", "unknown command '%1'"), {rest.first()}));
    return runCommandLine(*command, program, output);
}
