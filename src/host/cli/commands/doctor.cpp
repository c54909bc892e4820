#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "cli/serveoptions.h"
#include "doctor/servercheck.h"
#include "doctor/treecheck.h"
#include "doctor/watchcheck.h"
#include "language/translatable.h"
#include "process/displaytext.h"
#include "process/exitstatus.h"
#include "terminal/progressline.h"

#include <algorithm>

namespace {

constexpr char manual[] = QT_TRANSLATE_NOOP(
    "Host",
    R"(Looks for what gets in the way of a server, and says what to do about it: directories and files that cannot be
read, symlinks that lead out, names that are not UTF-8, damaged files, the kernel's limits, file systems that report no
changes, and the server's own address, token file and state directory. Takes the options of 'tavo serve'. Ends with
status 1 where something needs doing.

  tavo --root ~/Music doctor
  tavo --root ~/Music doctor --listen 192.168.1.2:8420 --token-file ~/.config/tavo/token)");

OptionList options()
{
    return serveCommand().options() + jsonOption();
}

Result<ServerPlan> planFrom(const ServerConfiguration& server)
{
    const auto addresses = collect(server.listen.value, ListenAddress::fromText);
    if (!addresses)
        return addresses.failure();
    ServerPlan plan;
    plan.addresses = addresses.value();
    plan.tokenFile = server.tokenFile.value;
    plan.needsToken = server.needsToken();
    plan.allowsAnybody = server.noToken.value;
    plan.stateDirectory = server.state.value;
    return plan;
}

/// Shows how far the walk is, a few times a second.
class WalkDisplay
{
public:
    void show(const TreeReport& soFar, const QString& path)
    {
        constexpr int interval = 100;
        if (m_sinceShown.isValid() && m_sinceShown.elapsed() < interval)
            return;
        m_sinceShown.start();
        m_line.show(translated(
            QT_TRANSLATE_NOOP("Host", "%1 directories, %2 files  %3"),
            {QString::number(soFar.directories), QString::number(soFar.files), path}));
    }

private:
    ProgressLine m_line;
    QElapsedTimer m_sinceShown;
};

/// The results of the walks through all roots.
TreeReport checkRoots(const HostSettings& settings)
{
    WalkDisplay display;
    const auto show = [&display](const TreeReport& soFar, const QString& path) { display.show(soFar, path); };
    TreeReport all;
    for (const RootSettings& root : settings.roots) {
        TreeReport report = checkTree(root, settings.sweepInterval, show);
        append(all.findings, std::move(report.findings));
        all.directories += report.directories;
        all.files += report.files;
    }
    return all;
}

TreeReport checkEverything(const HostSettings& settings, const ServerPlan& plan)
{
    TreeReport report = checkRoots(settings);
    const FreeWatches free = FreeWatches::find(static_cast<int>(settings.roots.size()));
    append(report.findings, checkWatches(free, watchLimit(), report.directories));
    append(report.findings, checkServer(plan));
    return report;
}

QVariant toVariant(const Finding& finding)
{
    return QVariantHash{
        {QStringLiteral("name"), finding.name},     {QStringLiteral("problem"), finding.problem},
        {QStringLiteral("remedy"), finding.remedy}, {QStringLiteral("needsAction"), finding.needsAction},
        {QStringLiteral("count"), finding.count},   {QStringLiteral("examples"), finding.examples}};
}

QVariant toVariant(const TreeReport& report)
{
    QVariantList findings;
    for (const Finding& finding : report.findings)
        findings.append(toVariant(finding));
    return QVariantHash{
        {QStringLiteral("directories"), report.directories},
        {QStringLiteral("files"), report.files},
        {QStringLiteral("findings"), findings}};
}

QString line(const QString& text)
{
    return DisplayText::visible(text) + u'\n';
}

QString textOf(const Finding& finding)
{
    const QString count = finding.count > 0 ? QStringLiteral(": %1").arg(finding.count) : QString();
    QString text = line(finding.problem + count);
    for (const QString& example : finding.examples)
        text += line(QStringLiteral("    ") + example);
    if (finding.count > finding.examples.size())
        text += line(QStringLiteral("    ..."));
    return text + line(QStringLiteral("  -> ") + finding.remedy) + u'\n';
}

bool needsAction(const Findings& findings)
{
    return std::any_of(findings.cbegin(), findings.cend(), [](const Finding& finding) { return finding.needsAction; });
}

QByteArray textOf(const TreeReport& report)
{
    QString text;
    for (const Finding& finding : report.findings)
        text += textOf(finding);
    text += translated(
        QT_TRANSLATE_NOOP("Host", "%1 directories and %2 playable files were looked at."),
        {QString::number(report.directories), QString::number(report.files)});
    if (!needsAction(report.findings))
        text += u' ' + translated(QT_TRANSLATE_NOOP("Host", "Nothing needs doing."));
    return text.toUtf8() + '\n';
}

Result<int> run(const SettingsContext& context, const QCommandLineParser& parser)
{
    const Result<ServerPlan> plan = planFrom(serverConfiguration(context.configuration.server, parser));
    if (!plan)
        return plan.failure();
    const TreeReport report = checkEverything(context.settings, plan.value());
    const Result<int> printed =
        wantsJson(parser) ? printJson(context.output, toVariant(report)) : print(context.output, textOf(report));
    if (!printed)
        return printed.failure();
    return needsAction(report.findings) ? Refused : Success;
}

} // namespace

Command doctorCommand()
{
    return {
        "doctor", "",     QT_TRANSLATE_NOOP("Host", "Find what gets in the way, and say what to do about it."),
        manual,   {0, 0}, run,
        options,
    };
}
