#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "content/session.h"
#include "prepare/preparation.h"
#include "process/ending.h"
#include "process/signalwatcher.h"

#include <QCoreApplication>
#include <QThread>

#include <csignal>
#include <cstdlib>

namespace {

constexpr char manual[] =
    R"(Reads the tags of playable files and prints the items that a playlist, or the music library, is made of.
Directories stand for all that lies below them.

  tavo --root ~/Music prepare playlist Albums/Blue "Singles/One.mp3"
  tavo --root ~/Music prepare library . --json > library.json)";

Result<PreparePlan::Kind> kindFrom(const QString& argument)
{
    if (argument == QStringLiteral("playlist"))
        return PreparePlan::Kind::PlayList;
    if (argument == QStringLiteral("library"))
        return PreparePlan::Kind::MusicLibrary;
    return Failure::wrongUse(QStringLiteral("'%1' is neither playlist nor library").arg(argument));
}

/// The worker passes over what does not exist, but whoever has named it wants to know.
Result<QVector<CMPath>> pathsFrom(const Host& host, const Session& session, const QStringList& arguments)
{
    QVector<CMPath> paths;
    for (const QString& argument : arguments) {
        const CMPath path = pathFrom(host, argument);
        if (const Result<QVariantList> found = session.data(path, {}); !found)
            return found.failure();
        paths.append(path);
    }
    return paths;
}

int interrupted(int signalNumber)
{
    return signalNumber == SIGINT ? Interrupted : Terminated;
}

Result<int> runUntilSignalled(Preparation& preparation, const QVector<CMPath>& paths)
{
    std::optional<Failure> failure;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        failure = preparation.run(paths);
        Ending::exitLater(Success);
    }));
    SignalWatcher signalWatcher;
    QObject::connect(&signalWatcher, &SignalWatcher::signalled, [&preparation](int signalNumber) {
        preparation.stop();
        QCoreApplication::exit(interrupted(signalNumber));
    });
    thread->start();
    const int status = QCoreApplication::exec();
    if (!thread->wait(Ending::patience)) {
        // It is in the middle of a file, or nobody reads what it writes.
        ProgressLine().clear();
        std::_Exit(status);
    }
    if (failure)
        return *failure;
    return status;
}

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    const Result<PreparePlan::Kind> kind = kindFrom(arguments.first());
    if (!kind)
        return kind.failure();
    const Session session(context.host, {});
    const Result<QVector<CMPath>> paths = pathsFrom(context.host, session, arguments.mid(1));
    if (!paths)
        return paths.failure();

    const Session::Description description = session.describe();
    const bool forLibrary = kind.value() == PreparePlan::Kind::MusicLibrary;
    const CMPath service = forLibrary ? description.prepareLibrary : description.preparePlaylist;
    const auto sink = wantsJson(parser) ? ItemSink::json(context.output) : ItemSink::table(context.output);
    Preparation preparation(session, service, PreparePlan(context.host, kind.value()), *sink);
    return runUntilSignalled(preparation, paths.value());
}

} // namespace

Command prepareCommand()
{
    Command command;
    command.name = "prepare";
    command.arguments = "playlist|library PATH...";
    command.summary = "Read tags and print the items for a playlist or the library.";
    command.manual = manual;
    command.fewestArguments = 2;
    command.mostArguments = Command::anyNumber;
    command.addOptions = addJsonOption;
    command.run = run;
    return command;
}
