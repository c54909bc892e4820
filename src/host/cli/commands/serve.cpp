#include "cli/commands/command.h"

#include "cli/options.h"
#include "cli/queuemount.h"
#include "cli/serveoptions.h"
#include "content/content.h"
#include "exec/heartbeat.h"
#include "exec/workerthread.h"
#include "http/httpserver.h"
#include "http/tokenfile.h"
#include "language/programlanguage.h"
#include "language/translatable.h"
#include "process/displaytext.h"
#include "process/hostlog.h"
#include "process/output.h"
#include "process/queuedlog.h"
#include "process/servicemanager.h"
#include "process/shutdown.h"
#include "process/signalwatcher.h"
#include "process/statedirectory.h"

#include <i18n/trlanguage.h>

#include <QCoreApplication>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <optional>

namespace {

constexpr char manual[] =
    QT_TRANSLATE_NOOP("Host", R"(Serves people with a browser, and programs over HTTP and WebSocket.
Prints where, as soon as it does. Ends with status 0 on SIGINT or SIGTERM.

  tavo --root ~/Music serve
  tavo --root ~/Music serve --listen 192.168.1.2:8420 --token-file ~/.config/tavo-token

Without --listen it serves 127.0.0.1:8420, or the sockets that systemd passes. Other addresses than those of this
machine need a token, or --no-token. On SIGHUP it reads the configuration again: roots come and go.)");

constexpr char sourceFile[] = "src/host/cli/commands/serve";

OptionList options()
{
    return queueOptions() + serveOptions();
}

Result<std::vector<ListeningSocket>> openSockets(const QStringList& texts)
{
    const auto addresses = collect(texts, ListenAddress::fromText);
    if (!addresses)
        return addresses.failure();
    return collect(addresses.value(), ListeningSocket::open);
}

Result<std::vector<ListeningSocket>> adoptSockets(std::vector<FileDescriptor> descriptors)
{
    return collect(
        descriptors, [](FileDescriptor& descriptor) { return ListeningSocket::adopt(std::move(descriptor)); });
}

/// Those of the command line, or else those that the service manager passed, or else the configured ones.
Result<std::vector<ListeningSocket>> socketsFor(const Setting<QStringList>& listen)
{
    std::vector<FileDescriptor> passed = ServiceManager::takeSockets();
    if (listen.origin.kind != Origin::Kind::Option && !passed.empty())
        return adoptSockets(std::move(passed));
    return openSockets(listen.value);
}

/// The file with the token; empty if none is needed.
Result<QString> tokenFileFor(const ServerConfiguration& configured, const StateDirectory& state)
{
    if (!configured.tokenFile.value.isEmpty() || !configured.makeToken.value)
        return configured.tokenFile.value;
    const QString file = TokenFile::inState(state.path());
    if (const Result<void> made = TokenFile(file).makeIfMissing(); !made)
        return made.failure();
    return file;
}

Result<HttpServer::Settings> settingsFor(const ServerConfiguration& configured, const StateDirectory& state)
{
    const auto hosts = collect(configured.hosts.value, readHostName);
    if (!hosts)
        return hosts.failure();
    const auto origins = collect(configured.origins.value, readOrigin);
    if (!origins)
        return origins.failure();
    Result<std::vector<ListeningSocket>> sockets = socketsFor(configured.listen);
    if (!sockets)
        return sockets.failure();
    const Result<QString> tokenFile = tokenFileFor(configured, state);
    if (!tokenFile)
        return tokenFile.failure();
    for (const ListeningSocket& socket : sockets.value()) {
        if (const Result<void> allowed =
                checkListenable(socket.address.address, !tokenFile.value().isEmpty(), configured.noToken.value);
            !allowed)
            return allowed.failure();
    }
    HttpServer::Settings settings;
    settings.sockets = std::move(sockets.value());
    settings.access = {hosts.value(), origins.value()};
    settings.tokenFile = tokenFile.value();
    settings.stateDirectory = state.path();
    return settings;
}

/// On one line, whatever the directories' names are.
QByteArray announcement(const ContentHost& host, const std::vector<ListeningSocket>& sockets)
{
    QStringList addresses;
    std::transform(sockets.cbegin(), sockets.cend(), std::back_inserter(addresses), [](const ListeningSocket& socket) {
        return QStringLiteral("http://%1/").arg(QString::fromLatin1(socket.address.toText()));
    });
    const QString separator = QStringLiteral(", ");
    const QStringList directories = host.rootDirectories();
    const QString where = addresses.join(separator);
    const QString text =
        directories.isEmpty()
            ? translated(QT_TRANSLATE_NOOP("Host", "Serving no directory yet at %1"), {where})
            : translated(QT_TRANSLATE_NOOP("Host", "Serving %1 at %2"), {directories.join(separator), where});
    return DisplayText::visible(text).toUtf8() + '\n';
}

/// Reports to the service manager's watchdog; null if there is none.
std::unique_ptr<Heartbeat> heartbeatFor(const Services& services)
{
    // Some may be late.
    constexpr int beatsInTime = 4;
    const std::optional<std::chrono::milliseconds> timeout = ServiceManager::watchdogTimeout();
    if (!timeout)
        return nullptr;
    const auto request = [content = Content(services.host, Reach::Network)] {
        return bool(content.rows({CMPath::fromEncoded(QStringLiteral("/"))}));
    };
    return std::make_unique<Heartbeat>(
        services.executor, services.host.workerThread(), *timeout / beatsInTime, request,
        [] { ServiceManager::notify("WATCHDOG=1"); });
}

/// Whether a running server takes over a new value.
bool isTakenOver(const QString& key)
{
    return key.startsWith(QLatin1String("root."));
}

void warnOfRestart(const Configuration& running, const Configuration& read)
{
    const std::vector<NamedSetting> now = settingsOf(running);
    for (const NamedSetting& setting : settingsOf(read)) {
        const bool isNew = std::none_of(now.cbegin(), now.cend(), [&setting](const NamedSetting& known) {
            return known.key == setting.key && known.value == setting.value;
        });
        if (isNew && !isTakenOver(setting.key))
            HOST_LOG(
                hostLogger(), WARN, sourceFile,
                setting.origin.toText() << ": " << setting.key << " changes at the next start only");
    }
}

Configuration withServeOptions(Configuration configuration, const QCommandLineParser& parser)
{
    configuration.server = serverConfiguration(configuration.server, parser);
    return configuration;
}

/// Reads the configuration again, and takes over what can change while the server runs.
void reload(const CommandContext& context, const QCommandLineParser& parser)
{
    // All texts are for the log.
    const TrLanguage::Scope language(englishLanguage());
    const ReadConfiguration read = context.readConfiguration();
    for (const ConfigurationProblem& problem : read.problems)
        HOST_LOG(hostLogger(), ERROR, sourceFile, problem.toText());
    const Result<void> changed = read.problems.empty()
                                     ? context.host.setRoots(rootSettings(read.configuration))
                                     : Failure::wrongUse(QStringLiteral("the configuration is wrong"));
    if (!changed) {
        HOST_LOG(hostLogger(), ERROR, sourceFile, changed.failure().message.toString() << "; the former settings stay");
        return;
    }
    warnOfRestart(withServeOptions(context.configuration, parser), withServeOptions(read.configuration, parser));
    HOST_LOG(hostLogger(), INFO, sourceFile, "the configuration was read again");
}

/// Serves until a signal comes. Returns the program's exit status.
Result<int> serve(
    const CommandContext& context, const QCommandLineParser& parser, const Services& services,
    HttpServer::Settings settings)
{
    // A log that nobody reads must not hold up the clients.
    QueuedLog log;
    const QByteArray where = announcement(context.host, settings.sockets);
    const Result<std::unique_ptr<HttpServer>> server = HttpServer::start(services, std::move(settings));
    if (!server)
        return server.failure();
    const auto handle = [&context, &parser](int signalNumber) {
        if (signalNumber == SIGHUP)
            reload(context, parser);
        else
            QCoreApplication::exit(Success);
    };
    const SignalWatcher signalWatcher(handle, {SIGHUP});
    if (const Result<Written> written = writeOutput(context.output, where); !written)
        return written.failure();
    ServiceManager::notify("READY=1");
    const std::unique_ptr<Heartbeat> heartbeat = heartbeatFor(services);
    const int status = QCoreApplication::exec();
    ServiceManager::notify("STOPPING=1");
    server.value()->stopAccepting();
    const bool haveRequestsEnded = services.executor.stop(Shutdown::requestPatience);
    const bool hasServerEnded = server.value()->stop(Shutdown::connectionPatience);
    context.host.unmountWorkers();
    // Threads that hang in the kernel are left behind, and all that they use with them.
    if (!haveRequestsEnded || !hasServerEnded || !context.host.workerThread().answersWithin(Shutdown::workerPatience) ||
        !log.isWrittenWithin(Shutdown::logPatience))
        std::_Exit(status);
    return status;
}

Result<int> run(const CommandContext& context, const QCommandLineParser& parser)
{
    const ServerConfiguration configured = serverConfiguration(context.configuration.server, parser);
    const Result<StateDirectory> state = StateDirectory::claim(configured.state.value);
    if (!state)
        return state.failure();
    Result<HttpServer::Settings> settings = settingsFor(configured, state.value());
    if (!settings)
        return settings.failure();
    context.host.hideFromWorkers();
    if (const Result<void> mounted = mountQueue(context.host, parser, state.value().path()); !mounted)
        return mounted.failure();
    SharedListings sharedListings;
    RequestExecutor executor;
    return serve(
        context, parser, {context.host, executor, sharedListings, context.configuration.limits.toLimits()},
        std::move(settings.value()));
}

} // namespace

Command serveCommand()
{
    return {
        "serve", "",   QT_TRANSLATE_NOOP("Host", "Serve browsers and other programs over HTTP."), manual, {0, 0}, run,
        options, true,
    };
}
