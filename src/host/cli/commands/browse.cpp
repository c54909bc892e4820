#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "cli/options.h"
#include "cli/rowsreader.h"
#include "language/translatable.h"
#include "terminal/pagetext.h"

#include <tavo/tavojson.h>

#include <optional>

namespace {

constexpr char manual[] =
    QT_TRANSLATE_NOOP("Host", R"(Prints the rows of a directory below the root: directories first, then playable files.

  tavo --root ~/Music browse Albums/Blue
  tavo --root ~/Music browse --first 0 --last 9 --roles title,mediaData --json)");

const QLatin1String firstOption("first");
const QLatin1String lastOption("last");
const QLatin1String rolesOption("roles");
const QLatin1String versionOption("rows-version");

OptionList options()
{
    const OptionList own = {
        {firstOption, translatable(QT_TRANSLATE_NOOP("Host", "First row, from 0.")),
         QT_TRANSLATE_NOOP("Host", "INDEX")},
        {lastOption, translatable(QT_TRANSLATE_NOOP("Host", "Last row. Default: the last there is.")),
         QT_TRANSLATE_NOOP("Host", "INDEX")},
        {rolesOption, translatable(QT_TRANSLATE_NOOP("Host", "Columns: any of %1."), {entryRoles().join(u',')}),
         QT_TRANSLATE_NOOP("Host", "ROLE,...")},
        {versionOption, translatable(QT_TRANSLATE_NOOP("Host", "Version that the rows must have.")),
         QT_TRANSLATE_NOOP("Host", "VERSION")},
    };
    return own + jsonOption();
}

Result<Content::RowsQuery> queryFrom(const ContentHost& host, const QCommandLineParser& parser)
{
    const Result<CMPath> path = pathFrom(host, parser.positionalArguments().value(0));
    if (!path)
        return path.failure();
    Content::RowsQuery query;
    query.path = path.value();
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
    return parser.value(rolesOption).split(u',', Qt::SkipEmptyParts);
}

Result<int> printTable(const CommandContext& context, Content::RowsQuery query, const QStringList& shown)
{
    query.roles = withType(shown);
    Table table = pageTable(shown);
    const auto restart = [&] { table = pageTable(shown); };
    const auto take = [&](const Content::Page& page) { addPage(table, page, shown); };
    if (const Result<void> read = readRows(Content(context.host), query, restart, take); !read)
        return read.failure();
    return print(context.output, table.toText(Terminal::at(context.output)));
}

/// The rows of all pages in one object, written as JSON page by page.
class JsonRows
{
public:
    void restart() { *this = JsonRows(); }

    void take(const Content::Page& page)
    {
        m_head = page;
        m_head.rows.clear();
        for (const QVariant& row : page.rows) {
            m_rows += m_rows.isEmpty() ? "" : ",";
            m_isComplete = m_isComplete && TavoJson::append(m_rows, row);
        }
    }

    /// Nothing if the rows are longer than a text can be.
    [[nodiscard]] std::optional<QByteArray> text() const
    {
        const std::optional<QByteArray> head = TavoJson::write(m_head.toVariant());
        if (!m_isComplete || !head)
            return std::nullopt;
        return QByteArray(*head).replace("\"rows\":[]", "\"rows\":[" + m_rows + ']') + '\n';
    }

private:
    Content::Page m_head;
    QByteArray m_rows;
    bool m_isComplete = true;
};

Result<int> printJsonRows(const CommandContext& context, Content::RowsQuery query, const QStringList& roles)
{
    query.roles = roles;
    JsonRows rows;
    const auto restart = [&rows] { rows.restart(); };
    const auto take = [&rows](const Content::Page& page) { rows.take(page); };
    if (const Result<void> read = readRows(Content(context.host), query, restart, take); !read)
        return read.failure();
    const std::optional<QByteArray> text = rows.text();
    if (!text)
        return Failure{
            Failure::Kind::TooLarge,
            translatable(QT_TRANSLATE_NOOP("Host", "the rows are longer than 2 GiB; ask for some of them"))};
    return print(context.output, *text);
}

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    const Result<Content::RowsQuery> query = queryFrom(context.host, parser);
    if (!query)
        return query.failure();
    if (wantsJson(parser))
        return printJsonRows(context, query.value(), rolesFrom(parser, entryRoles()));
    return printTable(context, query.value(), rolesFrom(parser, usualColumns()));
}

} // namespace

Command browseCommand()
{
    return {
        "browse",
        QT_TRANSLATE_NOOP("Host", "[PATH]"),
        QT_TRANSLATE_NOOP("Host", "Print the rows of a directory."),
        manual,
        {0, 1},
        run,
        options,
    };
}
