#include "config/configuration.h"

#include "http/access.h"
#include "http/listenaddress.h"
#include "language/translatable.h"

#include <QDir>

namespace {

/// Collects named settings.
class Settings
{
public:
    template<typename Value>
    void add(const QString& key, const Setting<Value>& setting)
    {
        m_settings.push_back({key, setting.value, setting.origin});
    }
    void add(const RootConfiguration& root);

    [[nodiscard]] std::vector<NamedSetting> take() { return std::move(m_settings); }

private:
    std::vector<NamedSetting> m_settings;
};

void Settings::add(const RootConfiguration& root)
{
    const QString table = QStringLiteral("root.") + root.id;
    Setting<QString> title = root.title;
    if (title.value.isEmpty())
        title.value = QDir(root.path.value).dirName();
    add(table + QStringLiteral(".path"), root.path);
    add(table + QStringLiteral(".title"), title);
    add(table + QStringLiteral(".filter"), root.filter);
    add(table + QStringLiteral(".follow-links"), root.followLinks);
}

/// Whether the server may listen at the address.
Result<void> checkListen(const QString& text, const ServerConfiguration& server)
{
    const Result<ListenAddress> address = ListenAddress::fromText(text);
    if (!address)
        return address.failure();
    return checkListenable(address.value().address, server.needsToken(), server.noToken.value);
}

template<typename Check>
void collectProblems(
    std::vector<ConfigurationProblem>& problems, const Setting<QStringList>& setting, const Check& check)
{
    for (const QString& text : setting.value) {
        if (const auto right = check(text); !right)
            problems.push_back({setting.origin, right.failure().message.toString()});
    }
}

} // namespace

Origin Origin::variable(const QString& name)
{
    return {Kind::Variable, name};
}

Origin Origin::option(const QString& name)
{
    return {Kind::Option, QStringLiteral("--") + name};
}

QString Origin::toText() const
{
    if (kind == Kind::Default)
        return translated(QT_TRANSLATE_NOOP("Host", "default"));
    if (kind == Kind::Variable)
        return u'$' + name;
    return line > 0 ? QStringLiteral("%1:%2").arg(name).arg(line) : name;
}

QStringList usualFilter()
{
    return QStringLiteral("*.mp3 *.flac *.ogg *.oga *.opus *.m4a *.aac *.wav *.aiff *.aif *.wma *.ape *.wv *.mpc "
                          "*.m3u *.m3u8 *.pls *.wpl *.asx")
        .split(QLatin1Char(' '));
}

Limits LimitsConfiguration::toLimits() const
{
    Limits limits;
    limits.values = values.value;
    limits.items = items.value;
    limits.openPaths = open.value;
    limits.message = message.value;
    return limits;
}

std::vector<NamedSetting> settingsOf(const Configuration& configuration)
{
    Settings settings;
    const ServerConfiguration& server = configuration.server;
    settings.add(QStringLiteral("server.listen"), server.listen);
    settings.add(QStringLiteral("server.token-file"), server.tokenFile);
    settings.add(QStringLiteral("server.make-token"), server.makeToken);
    settings.add(QStringLiteral("server.no-token"), server.noToken);
    settings.add(QStringLiteral("server.hosts"), server.hosts);
    settings.add(QStringLiteral("server.origins"), server.origins);
    settings.add(QStringLiteral("server.state"), server.state);
    const LimitsConfiguration& limits = configuration.limits;
    settings.add(QStringLiteral("server.limits.values"), limits.values);
    settings.add(QStringLiteral("server.limits.items"), limits.items);
    settings.add(QStringLiteral("server.limits.open"), limits.open);
    settings.add(QStringLiteral("server.limits.message"), limits.message);
    for (const RootConfiguration& root : configuration.roots)
        settings.add(root);
    settings.add(QStringLiteral("log.level"), configuration.log.level);
    settings.add(QStringLiteral("log.config"), configuration.log.config);
    return settings.take();
}

std::vector<ConfigurationProblem> problemsOf(const ServerConfiguration& server)
{
    std::vector<ConfigurationProblem> problems;
    collectProblems(problems, server.listen, [&server](const QString& text) { return checkListen(text, server); });
    collectProblems(problems, server.hosts, readHostName);
    collectProblems(problems, server.origins, readOrigin);
    return problems;
}

QString ConfigurationProblem::toText() const
{
    const QString place =
        origin.column > 0 ? QStringLiteral("%1:%2").arg(origin.toText()).arg(origin.column) : origin.toText();
    return place + QStringLiteral(": ") + message;
}
