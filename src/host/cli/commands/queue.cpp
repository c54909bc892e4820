#include "cli/commands/arguments.h"
#include "cli/commands/command.h"
#include "cli/commands/queueserver.h"

#include "language/translatable.h"
#include "process/output.h"
#include "terminal/itemtext.h"
#include "terminal/table.h"

#include <tavo/tavoroles.h>

#include <algorithm>
#include <array>

namespace {

constexpr char manual[] =
    QT_TRANSLATE_NOOP("Host", R"(Prints the queue of a running server, with ">" before the current entry, or edits it.

  tavo queue
  tavo queue add Albums/Blue drive:Singles
  tavo queue move 12 13 --after head
  tavo queue remove 12 13

An EDIT is one of these:

  add PATH...               adds files, and all files of directories, at the end
  next PATH...              adds them behind the current entry
  play PATH...              the same, and plays them
  replace PATH...           plays them instead of all that is in the queue
  remove ID...              removes entries
  move ID... --after ID     moves entries behind another one, or to the head
  clear                     removes all entries
  shuffle                   puts the entries into a random order
  undo NUMBER               brings back what an edit has removed, under the number that it has printed

A PATH is relative to the server's root, or ID:PATH where it has several, or encoded as in rows.)");

const QLatin1String afterOption("after");

OptionList options()
{
    const OptionList own = {
        {afterOption, translatable(QT_TRANSLATE_NOOP("Host", "Entry behind which others move, or head.")),
         QT_TRANSLATE_NOOP("Host", "ID")}};
    return own + serverOptions() + jsonOption();
}

const QStringList& roles()
{
    static const QStringList roles = entryRoles() + QStringList{TavoRoles::Value()};
    return roles;
}

/// Of the entry whose row has the path.
QString idIn(const QString& path)
{
    return CMPath::fromEncoded(path).base().section(u'/', -1);
}

QByteArray tableText(const Content::Page& page, const QString& currentId, const Terminal& terminal)
{
    Table table(QStringList{QString(), translated(QT_TRANSLATE_NOOP("Host", "ID"))} + itemHeadings());
    const auto valueOf = [](const QVariantList& row, const QString& role) { return row.value(roles().indexOf(role)); };
    for (const QVariant& value : page.rows) {
        const QVariantList row = value.toList();
        const QString id = idIn(valueOf(row, TavoRoles::Path()).toString());
        const bool isCurrent = id == currentId;
        const QStringList marks = {isCurrent ? QStringLiteral(">") : QString(), id};
        table.addRow(
            marks + itemCells(valueOf(row, TavoRoles::Title()), valueOf(row, TavoRoles::MediaData())),
            isCurrent ? Table::Style::Current : Table::Style::Plain);
    }
    return table.toText(terminal);
}

Result<int> printQueue(int output, const QCommandLineParser& parser)
{
    const Result<QueueServer> server = QueueServer::find(parser);
    if (!server)
        return server.failure();
    const Result<QVariantMap> player = server.value().player();
    if (!player)
        return player.failure();
    const Result<Content::Page> page = server.value().rows(QString(), roles());
    if (!page)
        return page.failure();
    if (wantsJson(parser)) {
        QVariantHash fields = page.value().toVariant().toHash();
        fields.insert(QStringLiteral("player"), player.value());
        return printJson(output, fields);
    }
    const QString currentId = player.value().value(QStringLiteral("current")).toString();
    return print(output, tableText(page.value(), currentId, Terminal::at(output)));
}

Result<QVariant> pathsFrom(const QueueServer& server, const QStringList& arguments)
{
    QStringList paths;
    for (const QString& argument : arguments) {
        const Result<CMPath> path = server.pathFrom(argument);
        if (!path)
            return path.failure();
        paths.append(path.value().toEncoded());
    }
    return QVariant(paths);
}

Result<QVariant> nothingFrom(const QStringList& /*arguments*/, const QCommandLineParser& /*parser*/)
{
    return QVariant();
}

Result<QVariant> idsFrom(const QStringList& arguments, const QCommandLineParser& /*parser*/)
{
    QVariantList ids;
    for (const QString& argument : arguments) {
        Result<QVariant> id = entryIdFrom(argument);
        if (!id)
            return id;
        ids.append(id.value());
    }
    return QVariant(ids);
}

Result<QVariant> moveFrom(const QStringList& arguments, const QCommandLineParser& parser)
{
    Result<QVariant> ids = idsFrom(arguments, parser);
    if (!ids)
        return ids;
    const QString anchor = parser.value(afterOption);
    Result<QVariant> after = anchor == QLatin1String("head") ? QVariant(anchor) : entryIdFrom(anchor);
    if (!after)
        return after;
    return QVariant(QVariantHash{{QStringLiteral("ids"), ids.value()}, {QStringLiteral("after"), after.value()}});
}

Result<QVariant> undoFrom(const QStringList& arguments, const QCommandLineParser& /*parser*/)
{
    bool isNumber = false;
    const int number = arguments.first().toInt(&isNumber);
    if (!isNumber)
        return Failure::wrongUse(
            translatable(QT_TRANSLATE_NOOP("Host", "'%1' is no number that an edit has printed"), {arguments.first()}));
    return QVariant(number);
}

struct Edit
{
    const char* name;
    /// Marked for translation, as is `missing`.
    const char* arguments;
    Command::ArgumentCount argumentCount;
    /// Of the service that does it.
    const char* base;
    /// What it means if the server has no such item.
    const char* missing;
    /// The value for the service. Null: the paths of the arguments.
    Result<QVariant> (*value)(const QStringList& arguments, const QCommandLineParser& parser);
    bool plays = false;

    [[nodiscard]] bool fits(int count, bool hasAnchor) const
    {
        return argumentCount.fits(count) && hasAnchor == (value == moveFrom);
    }
};

constexpr char nothingThere[] = QT_TRANSLATE_NOOP("Host", "there is nothing to play");
constexpr char noEntry[] = QT_TRANSLATE_NOOP("Host", "the queue has no such entry");
constexpr char notUndone[] = QT_TRANSLATE_NOOP("Host", "that edit cannot be undone any more");

constexpr Command::ArgumentCount some{1, Command::anyNumber};

constexpr std::array<Edit, 9> edits = {{
    {"add", QT_TRANSLATE_NOOP("Host", "PATH..."), some, "addToQueue", nothingThere, nullptr},
    {"next", QT_TRANSLATE_NOOP("Host", "PATH..."), some, "playNext", nothingThere, nullptr},
    {"play", QT_TRANSLATE_NOOP("Host", "PATH..."), some, "playNow", nothingThere, nullptr, true},
    {"replace", QT_TRANSLATE_NOOP("Host", "PATH..."), some, "replaceQueue", nothingThere, nullptr, true},
    {"remove", QT_TRANSLATE_NOOP("Host", "ID..."), some, "remove", noEntry, idsFrom},
    {"move", QT_TRANSLATE_NOOP("Host", "ID... --after ID"), some, "move", noEntry, moveFrom},
    {"clear", "", {0, 0}, "clear", noEntry, nothingFrom},
    {"shuffle", "", {0, 0}, "shuffleQueue", noEntry, nothingFrom},
    {"undo", QT_TRANSLATE_NOOP("Host", "NUMBER"), {1, 1}, "undo", notUndone, undoFrom},
}};

QString usageOf(const Edit& edit)
{
    const QString name = QLatin1String(edit.name);
    return *edit.arguments == '\0' ? name : QString(name + u' ' + translated(edit.arguments));
}

const Edit* findEdit(const QString& name)
{
    const auto* const edit = std::find_if(
        edits.cbegin(), edits.cend(), [&name](const Edit& candidate) { return name == QLatin1String(candidate.name); });
    return edit == edits.cend() ? nullptr : edit;
}

/// Text for people about what the edit has done.
QByteArray textOf(const QVariantMap& answer)
{
    QString text;
    if (const QVariant added = answer.value(QStringLiteral("added")); added.isValid())
        text += (added.toInt() == 1 ? translated(QT_TRANSLATE_NOOP("Host", "added 1 entry"))
                                    : translated(QT_TRANSLATE_NOOP("Host", "added %1 entries"), {added.toString()})) +
                u'\n';
    if (const QVariant undo = answer.value(QStringLiteral("undo")); undo.isValid())
        text += translated(
                    QT_TRANSLATE_NOOP("Host", "'tavo queue undo %1' brings back what was removed"), {undo.toString()}) +
                u'\n';
    return text.toUtf8();
}

/// `paths` are those of the arguments.
void warnOfMissing(const QVariantMap& answer, const QStringList& arguments, const QStringList& paths)
{
    for (const QVariant& missing : answer.value(QStringLiteral("missing")).toList()) {
        const int index = paths.indexOf(missing.toString());
        if (index >= 0)
            report(translated(QT_TRANSLATE_NOOP("Host", "there is nothing to play at '%1'"), {arguments.at(index)}));
    }
}

/// Without an output the player is paused, whatever it was asked to play.
void warnIfSilent(const QueueServer& server)
{
    const Result<QVariantMap> player = server.player();
    if (player && player.value().value(QStringLiteral("output")).isNull())
        report(
            translated(QT_TRANSLATE_NOOP("Host", "the player is paused, since it has no output: see 'tavo output'")));
}

Result<int> runEdit(const Edit& edit, const QStringList& arguments, int output, const QCommandLineParser& parser)
{
    Result<QVariant> value = edit.value ? edit.value(arguments, parser) : QVariant();
    if (!value)
        return value.failure();
    const Result<QueueServer> server = QueueServer::find(parser);
    if (!server)
        return server.failure();
    if (!edit.value)
        value = pathsFrom(server.value(), arguments);
    if (!value)
        return value.failure();
    const Result<QVariant> answer = server.value().set(QLatin1String(edit.base), value.value(), edit.missing);
    if (!answer)
        return answer.failure();
    warnOfMissing(answer.value().toMap(), arguments, value.value().toStringList());
    if (edit.plays)
        warnIfSilent(server.value());
    return wantsJson(parser) ? printJson(output, answer.value()) : print(output, textOf(answer.value().toMap()));
}

Result<int> run(int output, const QCommandLineParser& parser)
{
    QStringList arguments = parser.positionalArguments();
    const bool hasAnchor = parser.isSet(afterOption);
    if (arguments.isEmpty() && !hasAnchor)
        return printQueue(output, parser);
    const QString name = arguments.isEmpty() ? QString() : arguments.takeFirst();
    const Edit* const edit = findEdit(name);
    if (!edit)
        return Failure::wrongUse(translatable(
            QT_TRANSLATE_NOOP("Host", "'%1' is nothing to do with the queue (see 'tavo queue --help')"), {name}));
    if (!edit->fits(arguments.size(), hasAnchor))
        return Failure::wrongUse(translatable(QT_TRANSLATE_NOOP("Host", "write 'tavo queue %1'"), {usageOf(*edit)}));
    return runEdit(*edit, arguments, output, parser);
}

} // namespace

Command queueCommand()
{
    return {
        "queue",
        QT_TRANSLATE_NOOP("Host", "[EDIT [PATH...|ID...]]"),
        QT_TRANSLATE_NOOP("Host", "Print or edit the queue."),
        manual,
        {0, Command::anyNumber},
        run,
        options,
    };
}
