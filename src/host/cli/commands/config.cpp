#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "cli/options.h"
#include "cli/serveoptions.h"
#include "language/translatable.h"
#include "process/exitstatus.h"
#include "process/output.h"
#include "terminal/table.h"

namespace {

constexpr char manual[] = QT_TRANSLATE_NOOP(
    "Host", R"(Prints the settings that a server would have if you started it, and where each comes from: a line of
the configuration file, an option, an environment variable, or the default. Names all that is wrong and ends with
status 1 then. The system's service has an environment and options of its own ('systemctl cat tavo' shows them): it
keeps its state in /var/lib/tavo.

  tavo config
  tavo --config /etc/tavo/tavo.toml config --json
  tavo --root ~/Music config --listen 192.168.1.2:8420)");

OptionList options()
{
    return serveCommand().options() + jsonOption();
}

QString textOf(const QVariant& value)
{
    const QString text =
        value.userType() == QMetaType::QStringList ? value.toStringList().join(QStringLiteral(", ")) : value.toString();
    return text.isEmpty() ? translated(QT_TRANSLATE_NOOP("Host", "none")) : text;
}

QByteArray tableText(const Configuration& configuration, const Terminal& terminal)
{
    Table table(
        {translated(QT_TRANSLATE_NOOP("Host", "SETTING")), translated(QT_TRANSLATE_NOOP("Host", "VALUE")),
         translated(QT_TRANSLATE_NOOP("Host", "FROM"))});
    for (const NamedSetting& setting : settingsOf(configuration))
        table.addRow({setting.key, textOf(setting.value), setting.origin.toText()});
    return table.toText(terminal);
}

QVariantHash jsonOf(const Origin& origin)
{
    switch (origin.kind) {
    case Origin::Kind::Default:
        break;
    case Origin::Kind::Variable:
        return {{QStringLiteral("variable"), origin.name}};
    case Origin::Kind::Option:
        return {{QStringLiteral("option"), origin.name}};
    case Origin::Kind::File:
        return {
            {QStringLiteral("file"), origin.name},
            {QStringLiteral("line"), origin.line},
            {QStringLiteral("column"), origin.column}};
    }
    return {};
}

QVariant jsonOf(const Configuration& configuration, const std::vector<ConfigurationProblem>& problems)
{
    QVariantList settings;
    for (const NamedSetting& setting : settingsOf(configuration))
        settings.append(QVariantHash{
            {QStringLiteral("key"), setting.key},
            {QStringLiteral("value"), setting.value},
            {QStringLiteral("from"), jsonOf(setting.origin)}});
    QVariantList wrong;
    for (const ConfigurationProblem& problem : problems)
        wrong.append(QVariantHash{
            {QStringLiteral("message"), problem.message}, {QStringLiteral("from"), jsonOf(problem.origin)}});
    return QVariantHash{
        {QStringLiteral("file"), configuration.file.isEmpty() ? QVariant() : configuration.file},
        {QStringLiteral("settings"), settings},
        {QStringLiteral("problems"), wrong}};
}

/// Those of the file, and those that only its values and the options together have.
std::vector<ConfigurationProblem> allProblems(const Configuration& configuration, const ReadConfiguration& read)
{
    std::vector<ConfigurationProblem> problems = read.problems;
    const std::vector<ConfigurationProblem> ofServer = problemsOf(configuration.server);
    problems.insert(problems.end(), ofServer.cbegin(), ofServer.cend());
    if (const Result<void> usable = checkRoots(rootSettings(configuration)); !usable)
        problems.push_back({configuration.roots.front().path.origin, usable.failure().message.toString()});
    return problems;
}

Result<int> run(const ReadConfiguration& read, int output, const QCommandLineParser& parser)
{
    Configuration configuration = read.configuration;
    configuration.server = serverConfiguration(configuration.server, parser);
    const std::vector<ConfigurationProblem> problems = allProblems(configuration, read);
    Result<int> printed = wantsJson(parser) ? printJson(output, jsonOf(configuration, problems))
                                            : print(output, tableText(configuration, Terminal::at(output)));
    if (!printed)
        return printed;
    for (const ConfigurationProblem& problem : problems)
        report(problem.toText());
    return problems.empty() ? Success : Refused;
}

} // namespace

Command configCommand()
{
    return {
        "config", "",      QT_TRANSLATE_NOOP("Host", "Print the settings and where they come from."), manual, {0, 0},
        run,      options,
    };
}
