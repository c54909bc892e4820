#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "language/translatable.h"
#include "prepare/preparation.h"
#include "process/shutdown.h"
#include "process/signalwatcher.h"

#include <QCoreApplication>
#include <QThread>

#include <csignal>
#include <cstdlib>

namespace {

constexpr char manual[] = QT_TRANSLATE_NOOP(
    "Host",
    R"(Reads the tags of playable files and prints the items that they make in a playlist or in the music library.
A directory stands for all files below it.

  tavo --root ~/Music prepare playlist Albums/Blue "Singles/One.mp3"
  tavo --root ~/Music prepare library . --json > library.json)");

Result<Preparation::Kind> kindFrom(const QString& argument)
{
    if (argument == QStringLiteral("playlist"))
        return Preparation::Kind::PlayList;
    if (argument == QStringLiteral("library"))
        return Preparation::Kind::MusicLibrary;
    return Failure::wrongUse(
        translatable(QT_TRANSLATE_NOOP("Host", "'%1' is neither playlist nor library"), {argument}));
}

/// The worker passes over a path that does not exist, but a person who has named it wants to know.
Result<QVector<CMPath>> pathsFrom(ContentHost& host, const QStringList& arguments)
{
    QVector<CMPath> paths;
    for (const QString& argument : arguments) {
        const Result<CMPath> path = pathFrom(host, argument);
        if (!path)
            return path.failure();
        if (const Result<QVariantList> found = Content(host).data(path.value(), {}); !found)
            return found.failure();
        paths.append(path.value());
    }
    return paths;
}

int exitStatusOf(int signalNumber)
{
    return signalNumber == SIGINT ? Interrupted : Terminated;
}

Result<int> runUntilSignalled(Preparation& preparation, const QVector<CMPath>& paths)
{
    Result<void> result;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        result = preparation.run(paths);
        Shutdown::exitLater(Success);
    }));
    const SignalWatcher signalWatcher([&preparation](int signalNumber) {
        preparation.stop();
        QCoreApplication::exit(exitStatusOf(signalNumber));
    });
    thread->start();
    const int status = QCoreApplication::exec();
    if (!thread->wait(Shutdown::requestPatience.count())) {
        // It hangs in the kernel, or nobody reads its output.
        ProgressLine().clear();
        std::_Exit(status);
    }
    if (!result)
        return result.failure();
    return status;
}

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    const Result<Preparation::Kind> kind = kindFrom(arguments.first());
    if (!kind)
        return kind.failure();
    const Result<QVector<CMPath>> paths = pathsFrom(context.host, arguments.mid(1));
    if (!paths)
        return paths.failure();
    const auto sink = wantsJson(parser) ? ItemSink::json(context.output) : ItemSink::table(context.output);
    Preparation preparation(context.host, kind.value(), *sink);
    return runUntilSignalled(preparation, paths.value());
}

} // namespace

Command prepareCommand()
{
    return {
        "prepare",
        QT_TRANSLATE_NOOP("Host", "playlist|library PATH..."),
        QT_TRANSLATE_NOOP("Host", "Read tags and print the items for a playlist or the library."),
        manual,
        {2, Command::anyNumber},
        run,
        jsonOption,
    };
}
