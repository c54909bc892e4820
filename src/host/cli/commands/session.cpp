#include "cli/commands/command.h"

#include "process/shutdown.h"
#include "process/signalwatcher.h"
#include "stdio/stdioserver.h"

#include <QCoreApplication>

#include <cstdlib>
#include <thread>

#include <unistd.h>

namespace {

constexpr char manual[] = R"(Serves one client over standard input and output: JSON-RPC 2.0, one message a line.
Ends with status 0 when the input ends and everything is answered, and on SIGINT or SIGTERM.

  echo '{"jsonrpc":"2.0","id":1,"method":"rows","params":{"path":"/file/Albums"}}' |
      tavo --root ~/Music session)";

Result<int> run(const CommandContext& context, const QCommandLineParser& /*parser*/)
{
    SharedRequests sharedRequests;
    RequestExecutor executor;
    StdioServer server(
        {context.host, executor, sharedRequests}, STDIN_FILENO, context.output, Shutdown::exitAfterFailedOutput);
    const SignalWatcher signalWatcher([](int) { QCoreApplication::exit(Success); });

    std::thread serving([&server] {
        if (server.serve())
            Shutdown::exitLater(Success);
    });
    const int status = QCoreApplication::exec();
    server.stop();
    const bool haveEnded = executor.stop(Shutdown::requestPatience);
    server.finish(Shutdown::outputPatience);
    // Threads that hang in the kernel are left behind, and all that they use with them.
    if (!haveEnded)
        std::_Exit(status);
    serving.join();
    return status;
}

} // namespace

Command sessionCommand()
{
    return {
        "session", "",   "Serve a client that speaks JSON-RPC 2.0 over standard input and output.", manual, {0, 0}, run,
        nullptr,   true,
    };
}
