#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "content/content.h"
#include "language/translatable.h"
#include "terminal/roletext.h"
#include "terminal/table.h"

namespace {

constexpr char manual[] =
    QT_TRANSLATE_NOOP("Host", R"(Prints all that is known about one file or directory below the root.

  tavo --root ~/Music info "Albums/Blue/01 Intro.flac")");

QVariantHash namedValues(const QStringList& roles, const QVariantList& values)
{
    QVariantHash named;
    for (int i = 0; i < roles.size(); ++i)
        named.insert(roles.at(i), values.value(i));
    return named;
}

/// A line for each plain value inside, named by its place ("mediaData.resources[0].uri").
void addLines(Table& table, const QString& name, const QVariant& value)
{
    if (value.userType() == QMetaType::QVariantHash) {
        const QVariantHash fields = value.toHash();
        QStringList keys = fields.keys();
        keys.sort();
        for (const QString& key : qAsConst(keys))
            addLines(table, name + QLatin1Char('.') + key, fields.value(key));
    } else if (value.userType() == QMetaType::QVariantList) {
        const QVariantList elements = value.toList();
        for (int i = 0; i < elements.size(); ++i)
            addLines(table, QStringLiteral("%1[%2]").arg(name).arg(i), elements.at(i));
    } else {
        table.addRow({name, roleText(name, value)});
    }
}

QByteArray textOf(const QStringList& roles, const QVariantList& values, const Terminal& terminal)
{
    Table table({translated(QT_TRANSLATE_NOOP("Host", "ROLE")), translated(QT_TRANSLATE_NOOP("Host", "VALUE"))});
    for (int i = 0; i < roles.size(); ++i)
        addLines(table, roles.at(i), values.value(i));
    // The terminal wraps long values: people want to see them whole.
    Terminal unlimited = terminal;
    unlimited.width = 0;
    return table.toText(unlimited);
}

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    const Result<CMPath> path = pathFrom(context.host, parser.positionalArguments().first());
    if (!path)
        return path.failure();
    const Result<QVariantList> values = Content(context.host).data(path.value(), entryRoles());
    if (!values)
        return values.failure();
    if (wantsJson(parser))
        return printJson(context.output, namedValues(entryRoles(), values.value()));
    return print(context.output, textOf(entryRoles(), values.value(), Terminal::at(context.output)));
}

} // namespace

Command infoCommand()
{
    return {
        "info",
        QT_TRANSLATE_NOOP("Host", "PATH"),
        QT_TRANSLATE_NOOP("Host", "Print all that is known of one entry."),
        manual,
        {1, 1},
        run,
        jsonOption,
    };
}
