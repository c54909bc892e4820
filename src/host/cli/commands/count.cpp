#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "prepare/countfiles.h"

#include <QVector>

namespace {

constexpr char manual[] =
    QT_TRANSLATE_NOOP("Host", R"(Prints the number of playable files in a directory and all directories below it.

  tavo --root ~/Music count Albums)");

/// All roots, if the argument names none.
Result<QVector<CMPath>> pathsFrom(const ContentHost& host, const QString& argument)
{
    const Result<CMPath> path = pathFrom(host, argument);
    if (!path)
        return path.failure();
    if (path.value() != CMPath())
        return QVector<CMPath>{path.value()};
    QVector<CMPath> paths;
    for (const ContentHost::SharedMount& mount : host.mounts())
        paths.append(mount->path(QString()));
    return paths;
}

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    const Result<QVector<CMPath>> paths = pathsFrom(context.host, parser.positionalArguments().value(0));
    if (!paths)
        return paths.failure();
    qint64 total = 0;
    for (const CMPath& path : paths.value()) {
        const Result<int> count = countFiles(context.host, path);
        if (!count)
            return count.failure();
        total += count.value();
    }
    return print(context.output, QByteArray::number(total) + '\n');
}

} // namespace

Command countCommand()
{
    return {
        "count",
        QT_TRANSLATE_NOOP("Host", "[PATH]"),
        QT_TRANSLATE_NOOP("Host", "Print the number of playable files below a directory."),
        manual,
        {0, 1},
        run,
    };
}
