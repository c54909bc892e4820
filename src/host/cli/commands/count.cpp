#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "content/session.h"
#include "process/exitstatus.h"
#include "process/output.h"

namespace {

constexpr char manual[] = R"(Prints the number of playable files in a directory and all directories below it.

  tavo --root ~/Music count Albums)";

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    const Session session(context.host, {});
    const CMPath path = pathFrom(context.host, parser.positionalArguments().value(0));
    const Result<QVariant> count = session.set(session.describe().countFiles, path.base());
    if (!count)
        return count.failure();
    if (const Result<Written> written = writeOutput(context.output, count.value().toByteArray() + '\n'); !written)
        return written.failure();
    return Success;
}

} // namespace

Command countCommand()
{
    Command command;
    command.name = "count";
    command.arguments = "[PATH]";
    command.summary = "Print the number of playable files below a directory.";
    command.manual = manual;
    command.mostArguments = 1;
    command.run = run;
    return command;
}
