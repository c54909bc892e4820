#include "cli/commands/command.h"

#include "cli/queuemount.h"
#include "exec/workerthread.h"
#include "language/translatable.h"
#include "process/shutdown.h"
#include "process/signalwatcher.h"
#include "process/statedirectory.h"
#include "stdio/stdioserver.h"

#include <QCoreApplication>

#include <cstdlib>
#include <optional>
#include <thread>

#include <unistd.h>

namespace {

constexpr char manual[] =
    QT_TRANSLATE_NOOP("Host", R"(Serves one client over standard input and output: JSON-RPC 2.0, one message a line.
Ends with status 0 when the input ends and everything is answered, and on SIGINT or SIGTERM.

  echo '{"jsonrpc":"2.0","id":1,"method":"rows","params":{"path":"/file/Albums"}}' |
      tavo --root ~/Music session)");

const QLatin1String stateOption("state");

OptionList options()
{
    const OptionList own = {
        {stateOption,
         translatable(
             QT_TRANSLATE_NOOP("Host", "Directory for what outlives the program. Default: the queue ends with it.")),
         QT_TRANSLATE_NOOP("Host", "DIR")}};
    return queueOptions() + own;
}

Result<int> serve(const CommandContext& context)
{
    SharedListings sharedListings;
    RequestExecutor executor;
    StdioServer server(
        {context.host, executor, sharedListings, context.configuration.limits.toLimits()}, STDIN_FILENO, context.output,
        Shutdown::exitAfterFailedOutput);
    const SignalWatcher signalWatcher([](int) { QCoreApplication::exit(Success); });

    std::thread serving([&server] {
        if (server.serve())
            Shutdown::exitLater(Success);
    });
    const int status = QCoreApplication::exec();
    server.stop();
    const bool haveEnded = executor.stop(Shutdown::requestPatience);
    server.finish(Shutdown::outputPatience);
    context.host.unmountWorkers();
    // Threads that hang in the kernel are left behind, and all that they use with them.
    if (!haveEnded || !context.host.workerThread().answersWithin(Shutdown::workerPatience))
        std::_Exit(status);
    serving.join();
    return status;
}

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    std::optional<StateDirectory> state;
    if (parser.isSet(stateOption)) {
        Result<StateDirectory> claimed = StateDirectory::claim(parser.value(stateOption));
        if (!claimed)
            return claimed.failure();
        state.emplace(std::move(claimed.value()));
    }
    if (const Result<void> mounted = mountQueue(context.host, parser, state ? state->path() : QString()); !mounted)
        return mounted.failure();
    return serve(context);
}

} // namespace

Command sessionCommand()
{
    return {
        "session",
        "",
        QT_TRANSLATE_NOOP("Host", "Serve a client that speaks JSON-RPC 2.0 over standard input and output."),
        manual,
        {0, 0},
        run,
        options,
        true,
    };
}
