#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "content/session.h"
#include "process/exitstatus.h"
#include "process/output.h"
#include "terminal/pagetext.h"

#include <tavo/tavoroles.h>

namespace {

constexpr char manual[] = R"(Prints the context menu of a file or directory: what can be done with it.

  tavo --root ~/Music menu Albums/Blue)";

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    const Session session(context.host, {});
    const CMPath item = pathFrom(context.host, parser.positionalArguments().first());
    const bool json = wantsJson(parser);
    const QStringList shown = {TavoRoles::Title(), TavoRoles::Path(), TavoRoles::Value()};
    const Result<Session::Page> menu = session.menu(item, json ? CMAllRoles() : withType(shown));
    if (!menu)
        return menu.failure();
    const Result<QByteArray> text =
        json ? jsonLine(menu.value().toVariant()) : pageText(menu.value(), shown, Terminal::at(context.output));
    if (!text)
        return text.failure();
    if (const Result<Written> written = writeOutput(context.output, text.value()); !written)
        return written.failure();
    return Success;
}

} // namespace

Command menuCommand()
{
    Command command;
    command.name = "menu";
    command.arguments = "PATH";
    command.summary = "Print the context menu of an entry.";
    command.manual = manual;
    command.fewestArguments = 1;
    command.mostArguments = 1;
    command.addOptions = addJsonOption;
    command.run = run;
    return command;
}
