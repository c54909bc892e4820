#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "content/subscriptions.h"
#include "language/translatable.h"
#include "process/displaytext.h"
#include "process/output.h"
#include "process/shutdown.h"
#include "process/signalwatcher.h"
#include "rpc/methods.h"
#include "stdio/outputqueue.h"

#include <tavo/tavojson.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QSet>

#include <future>
#include <memory>
#include <mutex>

namespace {

constexpr char manual[] =
    QT_TRANSLATE_NOOP("Host", R"(Opens directories below the root and prints every change as it arrives:
"reset" where the rows have to be read again, "close" where the directory is gone.
Ends with status 0 when interrupted, with 1 when all the directories are gone.

  tavo --root ~/Music watch . Albums/Blue)");

/// Prints changes until no path is open any more. Thread-safe.
class ChangePrinter
{
public:
    ChangePrinter(const CommandContext& context, bool json)
        : m_host(context.host), m_json(json), m_output(context.output, Shutdown::exitAfterFailedOutput)
    {
    }

    void add(const CMPath& path)
    {
        const std::lock_guard lock(m_mutex);
        m_open.insert(path);
    }

    void print(const CMPath& path, const QStringList& changes, int version)
    {
        const QByteArray line = lineOf(path, changes, version);
        if (changes.contains(CMSubscribe::RowsChangeClose()))
            printEnd(path, line);
        else if (m_output.isFull())
            m_output.sendLatest(path.toEncoded(), line);
        else
            m_output.send({line});
    }

    [[nodiscard]] bool drain(int milliseconds) { return m_output.drain(milliseconds); }

private:
    [[nodiscard]] QByteArray lineOf(const CMPath& path, const QStringList& changes, int version) const
    {
        if (m_json)
            return TavoJson::write(changeParameters(path, changes, version)).value_or(QByteArray());
        const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
        const QString shown = DisplayText::visible(pathText(m_host, path));
        return translated(
                   QT_TRANSLATE_NOOP("Host", "%1  %2  %3  (version %4)"),
                   {time, changes.join(u','), shown, QString::number(version)})
            .toUtf8();
    }

    void printEnd(const CMPath& path, const QByteArray& line)
    {
        m_output.send({line});
        {
            const std::lock_guard lock(m_mutex);
            m_open.remove(path);
            if (!m_open.isEmpty())
                return;
        }
        report(translated(QT_TRANSLATE_NOOP("Host", "nothing is left to watch")));
        Shutdown::exitLater(Refused);
    }

    ContentHost& m_host;
    const bool m_json;
    OutputQueue m_output;
    std::mutex m_mutex;
    QSet<CMPath> m_open;
};

/// Waits until the path is open.
Result<void> open(Subscriptions& subscriptions, const CMPath& path)
{
    const auto opened = std::make_shared<std::promise<Result<void>>>();
    subscriptions.open(path, [opened](const Result<void>& result) { opened->set_value(result); });
    return opened->get_future().get();
}

int watchUntilSignalled(int directories)
{
    const SignalWatcher signalWatcher([](int) { QCoreApplication::exit(Success); });
    report(
        directories == 1 ? translated(QT_TRANSLATE_NOOP("Host", "watching 1 directory, interrupt to end"))
                         : translated(
                               QT_TRANSLATE_NOOP("Host", "watching %1 directories, interrupt to end"),
                               {QString::number(directories)}));
    return QCoreApplication::exec();
}

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    const auto printer = std::make_shared<ChangePrinter>(context, wantsJson(parser));
    const auto print = [printer](const CMPath& path, const QStringList& changes, int version) {
        printer->print(path, changes, version);
    };
    Subscriptions subscriptions(context.host, Reach::Local, Limits::none().openPaths, print);
    for (const QString& argument : parser.positionalArguments()) {
        const Result<CMPath> path = pathFrom(context.host, argument);
        if (!path)
            return path.failure();
        printer->add(path.value());
        if (const Result<void> opened = open(subscriptions, path.value()); !opened)
            return opened.failure();
    }
    const int status = watchUntilSignalled(parser.positionalArguments().size());
    // An interrupted person does not wait; otherwise the last changes are worth waiting for.
    static_cast<void>(printer->drain(status == Success ? Shutdown::outputPatience.count() : -1));
    return status;
}

} // namespace

Command watchCommand()
{
    return {
        "watch",
        QT_TRANSLATE_NOOP("Host", "PATH..."),
        QT_TRANSLATE_NOOP("Host", "Print every change of directories as it arrives."),
        manual,
        {1, Command::anyNumber},
        run,
        jsonOption,
    };
}
