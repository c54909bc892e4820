#include "config/configurationfile.h"

#include "config/nearestname.h"
#include "content/contenthost.h"
#include "http/access.h"
#include "http/listenaddress.h"
#include "language/translatable.h"
#include "process/logging.h"

#include <toml++/toml.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

namespace {

QString qString(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

/// Takes a value, or gives why it cannot.
using Take = std::function<Result<void>(const toml::node&)>;
/// Whether a text is right for a setting.
using Check = std::function<Result<void>(const QString&)>;

/// A key that a table may have.
struct Key
{
    const char* name;
    Take take;
};

Result<void> checkNothing(const QString& /*text*/)
{
    return {};
}

Result<void> checkFilled(const QString& text)
{
    return text.isEmpty() ? Failure::wrongUse(translatable(QT_TRANSLATE_NOOP("Host", "must not be empty")))
                          : Result<void>();
}

/// A check by what reads the text later.
template<auto read>
Result<void> checkReadable(const QString& text)
{
    const auto value = read(text);
    return value ? Result<void>() : value.failure();
}

/// Reads one file.
class Reader
{
public:
    explicit Reader(const QString& file) : m_file(file), m_directory(QFileInfo(file).path()) {}

    [[nodiscard]] ReadConfiguration read(const QByteArray& text);

private:
    [[nodiscard]] Origin originOf(const toml::source_region& source) const;
    void complain(const toml::source_region& source, const QString& message);

    /// Has the keys take what the table holds; complains about others. `name`: of the table, empty at the top.
    void readTable(const toml::table& table, const QString& name, const std::vector<Key>& keys);
    void complainOfKey(const toml::key& key, const QString& table, const std::vector<Key>& keys);

    [[nodiscard]] Take textInto(Setting<QString>& setting, Check check = checkNothing) const;
    [[nodiscard]] Take pathInto(Setting<QString>& setting) const;
    [[nodiscard]] Take flagInto(Setting<bool>& setting) const;
    [[nodiscard]] Take numberInto(Setting<int>& setting) const;
    /// `example`: of a list with what it may hold.
    [[nodiscard]] Take textsInto(Setting<QStringList>& setting, Check check, const QString& example, int fewest) const;
    [[nodiscard]] Take tableWith(const QString& name, std::function<std::vector<Key>()> keys);

    [[nodiscard]] std::vector<Key> serverKeys();
    [[nodiscard]] std::vector<Key> limitKeys();
    [[nodiscard]] std::vector<Key> logKeys();
    [[nodiscard]] Result<void> readRoots(const toml::node& node);
    void readRoot(const toml::key& key, const toml::node& node);

    const QString m_file;
    const QString m_directory;
    ReadConfiguration m_read;
};

ReadConfiguration Reader::read(const QByteArray& text)
{
    m_read.configuration.file = m_file;
    try {
        const toml::table top = toml::parse(std::string_view(text.constData(), static_cast<size_t>(text.size())));
        readTable(
            top, {},
            {{"server", tableWith(QStringLiteral("server"), [this] { return serverKeys(); })},
             {"root", [this](const toml::node& node) { return readRoots(node); }},
             {"log", tableWith(QStringLiteral("log"), [this] { return logKeys(); })}});
    } catch (const toml::parse_error& error) {
        complain(error.source(), qString(error.description()));
    }
    const auto isBefore = [](const ConfigurationProblem& a, const ConfigurationProblem& b) {
        return std::pair(a.origin.line, a.origin.column) < std::pair(b.origin.line, b.origin.column);
    };
    std::stable_sort(m_read.problems.begin(), m_read.problems.end(), isBefore);
    return std::move(m_read);
}

Origin Reader::originOf(const toml::source_region& source) const
{
    return {Origin::Kind::File, m_file, static_cast<int>(source.begin.line), static_cast<int>(source.begin.column)};
}

void Reader::complain(const toml::source_region& source, const QString& message)
{
    m_read.problems.push_back({originOf(source), message});
}

void Reader::readTable(const toml::table& table, const QString& name, const std::vector<Key>& keys)
{
    for (const auto& [key, node] : table) {
        const auto known = std::find_if(
            keys.cbegin(), keys.cend(), [text = key.str()](const Key& candidate) { return text == candidate.name; });
        if (known == keys.cend()) {
            complainOfKey(key, name, keys);
            continue;
        }
        const QString fullName = name.isEmpty() ? qString(key) : name + u'.' + qString(key);
        if (const Result<void> taken = known->take(node); !taken)
            complain(node.source(), fullName + QStringLiteral(": ") + taken.failure().message.toString());
    }
}

void Reader::complainOfKey(const toml::key& key, const QString& table, const std::vector<Key>& keys)
{
    QStringList known;
    std::transform(keys.cbegin(), keys.cend(), std::back_inserter(known), [](const Key& each) {
        return QLatin1String(each.name);
    });
    const QString nearest = nearestName(qString(key), known);
    const QString place = table.isEmpty() ? QString() : translated(QT_TRANSLATE_NOOP("Host", " in [%1]"), {table});
    const QString hint = nearest.isEmpty()
                             ? translated(QT_TRANSLATE_NOOP("Host", "known are %1"), {known.join(QStringLiteral(", "))})
                             : translated(QT_TRANSLATE_NOOP("Host", "did you mean '%1'?"), {nearest});
    complain(
        key.source(), translated(QT_TRANSLATE_NOOP("Host", "unknown key '%1'%2; %3"), {qString(key), place, hint}));
}

Take Reader::textInto(Setting<QString>& setting, Check check) const
{
    return [this, &setting, check = std::move(check)](const toml::node& node) -> Result<void> {
        const toml::value<std::string>* const text = node.as_string();
        if (!text)
            return Failure::wrongUse(translatable(QT_TRANSLATE_NOOP("Host", "must be a text in quotes")));
        const QString value = qString(text->get());
        if (Result<void> right = check(value); !right)
            return right;
        setting = {value, originOf(node.source())};
        return {};
    };
}

Take Reader::pathInto(Setting<QString>& setting) const
{
    return [this, &setting, take = textInto(setting, checkFilled)](const toml::node& node) {
        Result<void> taken = take(node);
        const QString home = QStringLiteral("~/");
        if (taken && setting.value.startsWith(home))
            setting.value = QDir::home().filePath(setting.value.mid(home.size()));
        else if (taken)
            setting.value = QDir::cleanPath(QDir(m_directory).absoluteFilePath(setting.value));
        return taken;
    };
}

Take Reader::flagInto(Setting<bool>& setting) const
{
    return [this, &setting](const toml::node& node) -> Result<void> {
        const toml::value<bool>* const flag = node.as_boolean();
        if (!flag)
            return Failure::wrongUse(translatable(QT_TRANSLATE_NOOP("Host", "must be true or false")));
        setting = {flag->get(), originOf(node.source())};
        return {};
    };
}

Take Reader::numberInto(Setting<int>& setting) const
{
    return [this, &setting](const toml::node& node) -> Result<void> {
        constexpr int most = std::numeric_limits<int>::max();
        const toml::value<int64_t>* const number = node.as_integer();
        if (!number || number->get() < 1 || number->get() > most)
            return Failure::wrongUse(
                translatable(QT_TRANSLATE_NOOP("Host", "must be a number from 1 to %1"), {QString::number(most)}));
        setting = {static_cast<int>(number->get()), originOf(node.source())};
        return {};
    };
}

Take Reader::textsInto(Setting<QStringList>& setting, Check check, const QString& example, int fewest) const
{
    return [this, &setting, check = std::move(check), example, fewest](const toml::node& node) -> Result<void> {
        const toml::array* const list = node.as_array();
        const auto isText = [](const toml::node& element) { return element.is_string(); };
        if (!list || static_cast<int>(list->size()) < fewest || !std::all_of(list->cbegin(), list->cend(), isText))
            return Failure::wrongUse(
                translatable(QT_TRANSLATE_NOOP("Host", "must be a list of texts, such as %1"), {example}));
        QStringList texts;
        for (const toml::node& element : *list) {
            texts.append(qString(element.as_string()->get()));
            if (Result<void> right = check(texts.last()); !right)
                return right;
        }
        setting = {texts, originOf(node.source())};
        return {};
    };
}

Take Reader::tableWith(const QString& name, std::function<std::vector<Key>()> keys)
{
    return [this, name, keys = std::move(keys)](const toml::node& node) -> Result<void> {
        if (!node.is_table())
            return Failure::wrongUse(translatable(QT_TRANSLATE_NOOP("Host", "must be a table: [%1]"), {name}));
        readTable(*node.as_table(), name, keys());
        return {};
    };
}

std::vector<Key> Reader::serverKeys()
{
    ServerConfiguration& server = m_read.configuration.server;
    return {
        {"listen",
         textsInto(server.listen, checkReadable<ListenAddress::fromText>, QStringLiteral("[\"127.0.0.1:8420\"]"), 1)},
        {"token-file", pathInto(server.tokenFile)},
        {"make-token", flagInto(server.makeToken)},
        {"no-token", flagInto(server.noToken)},
        {"hosts", textsInto(server.hosts, checkReadable<readHostName>, QStringLiteral("[\"music.local\"]"), 0)},
        {"origins",
         textsInto(server.origins, checkReadable<readOrigin>, QStringLiteral("[\"https://home.example\"]"), 0)},
        {"state", pathInto(server.state)},
        {"limits", tableWith(QStringLiteral("server.limits"), [this] { return limitKeys(); })}};
}

std::vector<Key> Reader::limitKeys()
{
    LimitsConfiguration& limits = m_read.configuration.limits;
    return {
        {"values", numberInto(limits.values)},
        {"items", numberInto(limits.items)},
        {"open", numberInto(limits.open)},
        {"message", numberInto(limits.message)}};
}

std::vector<Key> Reader::logKeys()
{
    LogConfiguration& log = m_read.configuration.log;
    return {{"level", textInto(log.level, Logging::checkLevel)}, {"config", pathInto(log.config)}};
}

Result<void> Reader::readRoots(const toml::node& node)
{
    const toml::table* const roots = node.as_table();
    if (!roots)
        return Failure::wrongUse(
            translatable(QT_TRANSLATE_NOOP("Host", "must be tables, each with an ID: [root.music]")));
    // The library sorts them by their names.
    std::vector<std::pair<const toml::key*, const toml::node*>> inOrder;
    for (const auto& [key, root] : *roots)
        inOrder.emplace_back(&key, &root);
    const auto placeOf = [](const auto& root) {
        const toml::source_position& begin = root.first->source().begin;
        return std::pair(begin.line, begin.column);
    };
    std::sort(
        inOrder.begin(), inOrder.end(), [&placeOf](const auto& a, const auto& b) { return placeOf(a) < placeOf(b); });
    for (const auto& [key, root] : inOrder)
        readRoot(*key, *root);
    return {};
}

void Reader::readRoot(const toml::key& key, const toml::node& node)
{
    RootConfiguration root{qString(key)};
    const QString name = QStringLiteral("root.") + root.id;
    if (const Result<void> usable = checkRootId(root.id); !usable)
        return complain(key.source(), usable.failure().message.toString());
    const auto keys = [this, &root]() -> std::vector<Key> {
        return {
            {"title", textInto(root.title)},
            {"path", pathInto(root.path)},
            {"filter", textsInto(root.filter, checkFilled, QStringLiteral("[\"*.flac\", \"*.mp3\"]"), 1)},
            {"follow-links", flagInto(root.followLinks)}};
    };
    if (const Result<void> taken = tableWith(name, keys)(node); !taken)
        return complain(node.source(), name + QStringLiteral(": ") + taken.failure().message.toString());
    if (!node.as_table()->contains("path"))
        return complain(
            key.source(), translated(QT_TRANSLATE_NOOP("Host", "[%1] names no directory: path = \"…\""), {name}));
    m_read.configuration.roots.push_back(std::move(root));
}

/// Where a user's configuration is; their environment may say so.
QString userConfigurationFile()
{
    const QString configHome = qEnvironmentVariable("XDG_CONFIG_HOME");
    // A relative path is invalid there.
    const QString base = QDir::isAbsolutePath(configHome) ? configHome : QDir::homePath() + QStringLiteral("/.config");
    return base + QStringLiteral("/tavo/tavo.toml");
}

} // namespace

QString usualConfigurationFile()
{
    for (const QString& file : {userConfigurationFile(), QStringLiteral("/etc/tavo/tavo.toml")}) {
        if (QFileInfo::exists(file))
            return file;
    }
    return {};
}

ReadConfiguration readConfigurationFile(const QString& file)
{
    const QString path = QDir::cleanPath(QDir::current().absoluteFilePath(file));
    QFile source(path);
    if (!source.open(QIODevice::ReadOnly))
        return {
            {},
            {{{Origin::Kind::File, path},
              translated(QT_TRANSLATE_NOOP("Host", "the configuration cannot be read: %1"), {source.errorString()})}}};
    return parseConfiguration(source.readAll(), path);
}

ReadConfiguration parseConfiguration(const QByteArray& text, const QString& file)
{
    return Reader(file).read(text);
}
