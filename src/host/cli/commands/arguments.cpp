#include "cli/commands/arguments.h"

#include "language/translatable.h"
#include "process/exitstatus.h"
#include "process/output.h"

#include <tavo/tavojson.h>

#include <QDir>

namespace {

constexpr QLatin1Char colon(':');
const QLatin1String jsonName("json");

QString cleaned(const QString& argument)
{
    const bool climbs = argument.split(u'/').contains(QStringLiteral(".."));
    return climbs ? argument : QDir::cleanPath(argument);
}

} // namespace

CMPath relativePath(const QString& id, const QString& argument)
{
    return {id, cleaned(argument)};
}

Failure unknownRoot(const QStringList& ids, const QString& argument)
{
    return Failure::wrongUse(translatable(
        QT_TRANSLATE_NOOP("Host", "'%1' names no root: write ID:PATH, with one of the ids %2"),
        {argument, ids.join(QStringLiteral(", "))}));
}

Result<CMPath> pathFrom(const ContentHost& host, const QString& argument)
{
    const QStringList& ids = host.rootIds();
    if (ids.size() == 1)
        return relativePath(ids.first(), argument);
    if (argument.isEmpty() || argument.startsWith(u'/'))
        return CMPath::fromEncoded(argument);
    const int end = argument.indexOf(colon);
    if (end > 0 && ids.contains(argument.left(end)))
        return relativePath(argument.left(end), argument.mid(end + 1));
    return unknownRoot(ids, argument);
}

QString pathText(const ContentHost& host, const CMPath& path)
{
    if (path == CMPath())
        return QStringLiteral("/");
    const QString base = path.base().isEmpty() ? QStringLiteral(".") : path.base();
    return host.rootIds().size() == 1 ? base : path.prefix() + colon + base;
}

Result<QVariant> entryIdFrom(const QString& argument)
{
    bool isNumber = false;
    const qlonglong id = argument.toLongLong(&isNumber);
    if (!isNumber || id < 1)
        return Failure::wrongUse(translatable(
            QT_TRANSLATE_NOOP("Host", "'%1' is no ID of an entry, as 'tavo queue' prints it"), {argument}));
    return QVariant(id);
}

OptionList jsonOption()
{
    return {{jsonName, translatable(QT_TRANSLATE_NOOP("Host", "Print JSON instead of text for people."))}};
}

bool wantsJson(const QCommandLineParser& parser)
{
    // isSet() warns about an option that the command does not have.
    return parser.optionNames().contains(jsonName);
}

Result<int> print(int output, const QByteArray& text)
{
    if (const Result<Written> written = writeOutput(output, text); !written)
        return written.failure();
    return Success;
}

Result<int> printJson(int output, const QVariant& value)
{
    std::optional<QByteArray> text = TavoJson::write(value);
    if (!text)
        return Failure{
            Failure::Kind::TooLarge, translatable(QT_TRANSLATE_NOOP("Host", "the result is longer than 2 GiB"))};
    return print(output, text->append('\n'));
}
