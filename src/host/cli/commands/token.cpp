#include "cli/commands/command.h"

#include "http/tokenfile.h"
#include "language/translatable.h"
#include "process/exitstatus.h"
#include "process/output.h"
#include "process/statedirectory.h"

#include <QFileInfo>

#include <algorithm>

namespace {

constexpr char manual[] = QT_TRANSLATE_NOOP(
    "Host", R"(Prints the token that a server on this machine has made for itself (serve --make-token):
your own server, or else the system's service, whose token only root can read.

  sudo tavo token)");

const QLatin1String stateOption("state");

/// Where service managers keep the state of the system's service.
const QLatin1String serviceDirectory("/var/lib/tavo");

OptionList options()
{
    return {
        {stateOption,
         translatable(
             QT_TRANSLATE_NOOP("Host", "State directory of the server. Default: your own, or else %1."),
             {QString(serviceDirectory)}),
         QT_TRANSLATE_NOOP("Host", "DIR")}};
}

Result<int> run(int output, const QCommandLineParser& parser)
{
    const QStringList directories = parser.isSet(stateOption)
                                        ? QStringList(parser.value(stateOption))
                                        : QStringList{StateDirectory::usualPath(), serviceDirectory};
    const auto directory = std::find_if(directories.cbegin(), directories.cend(), [](const QString& candidate) {
        return QFileInfo::exists(TokenFile::inState(candidate));
    });
    if (directory == directories.cend())
        return Failure{
            Failure::Kind::Refused,
            translatable(
                QT_TRANSLATE_NOOP(
                    "Host", "there is no token in %1 that you may read; root can read that of the service"),
                {directories.join(translated(QT_TRANSLATE_NOOP("Host", " or ")))})};
    const Result<QByteArray> token = TokenFile(TokenFile::inState(*directory)).read();
    if (!token)
        return token.failure();
    const Result<Written> written = writeOutput(output, token.value() + '\n');
    if (!written)
        return written.failure();
    return Success;
}

} // namespace

Command tokenCommand()
{
    Command command = {
        "token", "",     QT_TRANSLATE_NOOP("Host", "Print the token that a server on this machine has made."),
        manual,  {0, 0}, run,
        options};
    command.asksServer = false;
    return command;
}
