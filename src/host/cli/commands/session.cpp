#include "cli/commands/command.h"

#include "process/ending.h"
#include "process/signalwatcher.h"
#include "stdio/linereader.h"
#include "stdio/outputqueue.h"
#include "stdio/sessionserver.h"

#include <QCoreApplication>

#include <cstdlib>
#include <thread>

#include <unistd.h>

namespace {

constexpr char manual[] = R"(Serves one client over standard input and output: JSON-RPC 2.0, one message a line.
Ends with status 0 when the input ends and everything is answered, and on SIGINT or SIGTERM.

  echo '{"jsonrpc":"2.0","id":1,"method":"rows","params":{"path":"/file/Albums"}}' |
      tavo --root ~/Music session)";

constexpr int longestMessage = 1024 * 1024;

Result<int> run(const CommandContext& context, const QCommandLineParser& /*parser*/)
{
    LineReader reader(STDIN_FILENO, longestMessage);
    OutputQueue output(context.output, Ending::exitAfterFailedOutput);
    SessionServer server(context.host, output);
    SignalWatcher signalWatcher;
    QObject::connect(&signalWatcher, &SignalWatcher::signalled, [] { QCoreApplication::exit(Success); });

    std::thread serving([&] {
        server.serve(reader);
        if (output.drain())
            Ending::exitLater(Success);
    });
    const int status = QCoreApplication::exec();
    reader.cancel();
    const bool stopped = server.stop(Ending::patience);
    static_cast<void>(output.drain(Ending::patience));
    output.close();
    serving.join();
    // A walk cannot be interrupted, and the worker must outlive it.
    if (!stopped)
        std::_Exit(status);
    return status;
}

} // namespace

Command sessionCommand()
{
    Command command;
    command.name = "session";
    command.summary = "Serve a client that speaks JSON-RPC 2.0 over standard input and output.";
    command.manual = manual;
    command.run = run;
    return command;
}
