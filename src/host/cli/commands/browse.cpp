#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "cli/options.h"
#include "content/session.h"
#include "process/exitstatus.h"
#include "process/output.h"
#include "terminal/pagetext.h"

#include <tavo/tavoroles.h>

namespace {

constexpr char manual[] = R"(Prints the rows of a directory below the root: directories first, then playable files.

  tavo --root ~/Music browse Albums/Blue
  tavo --root ~/Music browse --first 0 --last 9 --roles title,mediaData --json)";

const QLatin1String firstOption("first");
const QLatin1String lastOption("last");
const QLatin1String rolesOption("roles");
const QLatin1String versionOption("rows-version");

void addOptions(QCommandLineParser& parser)
{
    parser.addOptions({
        {firstOption, QStringLiteral("First row, from 0."), QStringLiteral("INDEX")},
        {lastOption, QStringLiteral("Last row. Default: the last there is."), QStringLiteral("INDEX")},
        {rolesOption, QStringLiteral("What to tell of each row: any of %1.").arg(entryRoles().join(QLatin1Char(','))),
         QStringLiteral("ROLE,...")},
        {versionOption, QStringLiteral("Version that the rows must have."), QStringLiteral("VERSION")},
    });
    addJsonOption(parser);
}

Result<Session::RowsQuery> queryFrom(const Host& host, const QCommandLineParser& parser)
{
    Session::RowsQuery query;
    query.path = pathFrom(host, parser.positionalArguments().value(0));
    const Result<int> first = integerOption(parser, firstOption, query.first, 0);
    const Result<int> last = integerOption(parser, lastOption, query.last, -1);
    const Result<int> version = integerOption(parser, versionOption, query.version, 0);
    for (const Result<int>* number : {&first, &last, &version}) {
        if (!*number)
            return number->failure();
    }
    query.first = first.value();
    query.last = last.value();
    query.version = version.value();
    return query;
}

QStringList rolesFrom(const QCommandLineParser& parser, const QStringList& byDefault)
{
    if (!parser.isSet(rolesOption))
        return byDefault;
    return parser.value(rolesOption).split(QLatin1Char(','), Qt::SkipEmptyParts);
}

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    Result<Session::RowsQuery> query = queryFrom(context.host, parser);
    if (!query)
        return query.failure();
    const bool json = wantsJson(parser);
    const QStringList shown = rolesFrom(parser, json ? entryRoles() : usualColumns());
    query.value().roles = json ? shown : withType(shown);
    const Session session(context.host, {});
    const Result<Session::Page> page = session.rows(query.value());
    if (!page)
        return page.failure();
    const Result<QByteArray> text =
        json ? jsonLine(page.value().toVariant()) : pageText(page.value(), shown, Terminal::at(context.output));
    if (!text)
        return text.failure();
    if (const Result<Written> written = writeOutput(context.output, text.value()); !written)
        return written.failure();
    return Success;
}

} // namespace

Command browseCommand()
{
    Command command;
    command.name = "browse";
    command.arguments = "[PATH]";
    command.summary = "Print the rows of a directory.";
    command.manual = manual;
    command.mostArguments = 1;
    command.addOptions = addOptions;
    command.run = run;
    return command;
}
