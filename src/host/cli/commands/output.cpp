#include "cli/commands/arguments.h"
#include "cli/commands/command.h"
#include "cli/commands/queueserver.h"

#include "language/translatable.h"
#include "process/exitstatus.h"
#include "terminal/table.h"

#include <tavo/tavoroles.h>

namespace {

constexpr char manual[] = QT_TRANSLATE_NOOP(
    "Host", R"(Prints what a running server can play on, with ">" before the one that plays, or chooses one.
Playing continues there at the same place. Without any output the player pauses.

  tavo output
  tavo output Kitchen
  tavo output --none)");

const QLatin1String noneOption("none");

OptionList options()
{
    return OptionList{{noneOption, translatable(QT_TRANSLATE_NOOP("Host", "Choose no output."))}} + serverOptions() +
           jsonOption();
}

/// Of the output whose row has the path.
QString nameIn(const QString& path)
{
    return CMPath::fromEncoded(path).base().section(u'/', 1);
}

QStringList namesIn(const Content::Page& page)
{
    QStringList names;
    for (const QVariant& row : page.rows)
        names.append(nameIn(row.toList().value(0).toString()));
    return names;
}

QByteArray tableText(const QStringList& names, const QString& active, const Terminal& terminal)
{
    Table table({QString(), translated(QT_TRANSLATE_NOOP("Host", "NAME"))});
    for (const QString& name : names) {
        const bool isActive = name == active;
        const QString mark = isActive ? QStringLiteral(">") : QString();
        table.addRow({mark, name}, isActive ? Table::Style::Current : Table::Style::Plain);
    }
    return table.toText(terminal);
}

Result<int> printOutputs(const QueueServer& server, int output, bool json)
{
    const Result<QVariantMap> player = server.player();
    if (!player)
        return player.failure();
    const Result<Content::Page> page = server.rows(QStringLiteral("outputs"), {TavoRoles::Path()});
    if (!page)
        return page.failure();
    const QStringList names = namesIn(page.value());
    const QVariant active = player.value().value(QStringLiteral("output"));
    if (json)
        return printJson(output, QVariantHash{{QStringLiteral("output"), active}, {QStringLiteral("outputs"), names}});
    return print(output, tableText(names, active.toString(), Terminal::at(output)));
}

Result<int> run(int output, const QCommandLineParser& parser)
{
    const QStringList names = parser.positionalArguments();
    const bool choosesNone = parser.isSet(noneOption);
    if (choosesNone && !names.isEmpty())
        return Failure::wrongUse(translatable(QT_TRANSLATE_NOOP("Host", "output takes a NAME or --none, not both")));
    const Result<QueueServer> server = QueueServer::find(parser);
    if (!server)
        return server.failure();
    if (names.isEmpty() && !choosesNone)
        return printOutputs(server.value(), output, wantsJson(parser));
    const QVariant choice = choosesNone ? QVariant() : names.first();
    const Result<QVariant> chosen = server.value().set(QStringLiteral("player/output"), choice, "");
    if (!chosen)
        return chosen.failure();
    return Success;
}

} // namespace

Command outputCommand()
{
    return {
        "output",
        QT_TRANSLATE_NOOP("Host", "[NAME]"),
        QT_TRANSLATE_NOOP("Host", "Print the outputs, or choose one."),
        manual,
        {0, 1},
        run,
        options,
    };
}
