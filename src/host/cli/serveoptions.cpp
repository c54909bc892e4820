#include "cli/serveoptions.h"

#include "language/translatable.h"
#include "process/statedirectory.h"

namespace {

const QLatin1String listenOption("listen");
const QLatin1String tokenFileOption("token-file");
const QLatin1String makeTokenOption("make-token");
const QLatin1String noTokenOption("no-token");
const QLatin1String hostOption("host");
const QLatin1String originOption("origin");
const QLatin1String stateOption("state");

} // namespace

OptionList serveOptions()
{
    const QString usualAddress = ServerConfiguration().listen.value.first();
    return {
        {listenOption,
         translatable(
             QT_TRANSLATE_NOOP("Host", "Where to listen; port 0: any; may be given again. Default: %1."),
             {usualAddress}),
         QT_TRANSLATE_NOOP("Host", "ADDRESS:PORT")},
        {tokenFileOption,
         translatable(QT_TRANSLATE_NOOP("Host", "Serve only who has the token in the file's first line.")),
         QT_TRANSLATE_NOOP("Host", "FILE")},
        {makeTokenOption,
         translatable(QT_TRANSLATE_NOOP(
             "Host", "Without --token-file, make a token at the first start; 'tavo token' shows it."))},
        {noTokenOption, translatable(QT_TRANSLATE_NOOP("Host", "Serve everybody in the network, without a token."))},
        {hostOption,
         translatable(QT_TRANSLATE_NOOP("Host", "Name by which browsers reach this machine; may be given again.")),
         QT_TRANSLATE_NOOP("Host", "NAME")},
        {originOption,
         translatable(
             QT_TRANSLATE_NOOP("Host", "Address that browsers use where a proxy is in between; may be given again.")),
         QT_TRANSLATE_NOOP("Host", "URL")},
        {stateOption, translatable(QT_TRANSLATE_NOOP("Host", "Directory for what outlives the program.")),
         QT_TRANSLATE_NOOP("Host", "DIR")}};
}

ServerConfiguration serverConfiguration(ServerConfiguration configured, const QCommandLineParser& parser)
{
    const auto takeAll = [&parser](Setting<QStringList>& setting, const QString& option) {
        if (parser.isSet(option))
            setting = {parser.values(option), Origin::option(option)};
    };
    const auto takeLast = [&parser](Setting<QString>& setting, const QString& option) {
        if (parser.isSet(option))
            setting = {parser.value(option), Origin::option(option)};
    };
    takeAll(configured.listen, listenOption);
    takeLast(configured.tokenFile, tokenFileOption);
    if (parser.isSet(makeTokenOption))
        configured.makeToken = {true, Origin::option(makeTokenOption)};
    if (parser.isSet(noTokenOption))
        configured.noToken = {true, Origin::option(noTokenOption)};
    takeAll(configured.hosts, hostOption);
    takeAll(configured.origins, originOption);
    takeLast(configured.state, stateOption);
    if (configured.state.value.isEmpty())
        configured.state = {StateDirectory::usualPath(), Origin::variable(StateDirectory::usualVariable())};
    return configured;
}
