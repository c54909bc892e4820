#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "content/content.h"
#include "terminal/pagetext.h"

#include <tavo/tavoroles.h>

namespace {

constexpr char manual[] =
    QT_TRANSLATE_NOOP("Host", R"(Prints the context menu of a file or directory: what can be done with it.

  tavo --root ~/Music menu Albums/Blue)");

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    const Result<CMPath> item = pathFrom(context.host, parser.positionalArguments().first());
    if (!item)
        return item.failure();
    const bool json = wantsJson(parser);
    const QStringList shown = {TavoRoles::Title(), TavoRoles::Path(), TavoRoles::Value()};
    const Result<Content::Page> menu = Content(context.host).menu(item.value(), json ? CMAllRoles() : withType(shown));
    if (!menu)
        return menu.failure();
    if (json)
        return printJson(context.output, menu.value().toVariant());
    Table table = pageTable(shown);
    addPage(table, menu.value(), shown);
    return print(context.output, table.toText(Terminal::at(context.output)));
}

} // namespace

Command menuCommand()
{
    return {
        "menu",
        QT_TRANSLATE_NOOP("Host", "PATH"),
        QT_TRANSLATE_NOOP("Host", "Print the context menu of an entry."),
        manual,
        {1, 1},
        run,
        jsonOption,
    };
}
