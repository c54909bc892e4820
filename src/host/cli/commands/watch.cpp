#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "process/displaytext.h"
#include "process/ending.h"
#include "process/output.h"
#include "process/signalwatcher.h"
#include "rpc/json.h"
#include "rpc/sessionmethods.h"
#include "stdio/outputqueue.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QSet>

namespace {

constexpr char manual[] = R"(Opens directories below the root and prints every change as it arrives:
"reset" where the rows have to be read again, "close" where the directory is gone.
Ends with status 0 when interrupted, with 1 when all the directories are gone.

  tavo --root ~/Music watch . Albums/Blue)";

QString shown(const CMPath& path)
{
    return path.base().isEmpty() ? QStringLiteral(".") : path.base();
}

QByteArray lineOf(const CMPath& path, const QStringList& changes, int version)
{
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    const QString text = QStringLiteral("%1  %2  %3  (version %4)")
                             .arg(time, changes.join(QLatin1Char(',')), DisplayText::visible(shown(path)))
                             .arg(version);
    return text.toUtf8();
}

class Watch
{
public:
    Watch(const CommandContext& context, bool json)
        : m_json(json), m_output(context.output, Ending::exitAfterFailedOutput),
          m_session(context.host, [this](const CMPath& path, const QStringList& changes, int version) {
              print(path, changes, version);
          })
    {
    }

    Result<Done> open(const CMPath& path)
    {
        Result<Done> opened = m_session.open(path);
        if (opened)
            m_open.insert(path);
        return opened;
    }

    int run()
    {
        const int status = watchUntilSignalled();
        // Nobody waits for the end of what was interrupted; the last changes of what has ended are waited for.
        static_cast<void>(m_output.drain(status == Success ? Ending::patience : -1));
        return status;
    }

private:
    [[nodiscard]] static QString counted(int directories)
    {
        return directories == 1 ? QStringLiteral("1 directory") : QStringLiteral("%1 directories").arg(directories);
    }

    int watchUntilSignalled()
    {
        const SignalWatcher signalWatcher;
        QObject::connect(&signalWatcher, &SignalWatcher::signalled, [] { QCoreApplication::exit(Success); });
        report(QStringLiteral("watching %1, interrupt to end").arg(counted(m_open.size())));
        return QCoreApplication::exec();
    }

    void print(const CMPath& path, const QStringList& changes, int version)
    {
        const QByteArray line =
            m_json ? toJson(changeParameters(path, changes, version)).value() : lineOf(path, changes, version);
        if (changes.contains(CMSubscribe::RowsChangeClose()))
            return printEnd(path, line);
        if (m_output.hasRoom())
            m_output.push(line);
        else
            m_output.pushLatest(path.toEncoded(), line);
    }

    void printEnd(const CMPath& path, const QByteArray& line)
    {
        m_output.push(line);
        m_open.remove(path);
        if (!m_open.isEmpty())
            return;
        report(QStringLiteral("nothing is left to watch"));
        QCoreApplication::exit(Refused);
    }

    const bool m_json;
    OutputQueue m_output;
    QSet<CMPath> m_open;
    Session m_session;
};

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    Watch watch(context, wantsJson(parser));
    for (const QString& argument : parser.positionalArguments()) {
        if (const Result<Done> opened = watch.open(pathFrom(context.host, argument)); !opened)
            return opened.failure();
    }
    return watch.run();
}

} // namespace

Command watchCommand()
{
    Command command;
    command.name = "watch";
    command.arguments = "PATH...";
    command.summary = "Print every change of directories as it arrives.";
    command.manual = manual;
    command.fewestArguments = 1;
    command.mostArguments = Command::anyNumber;
    command.addOptions = addJsonOption;
    command.run = run;
    return command;
}
