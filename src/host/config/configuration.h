#pragma once

#include "content/limits.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <vector>

/// Where a setting's value comes from.
struct Origin
{
    enum class Kind { Default, Variable, Option, File };

    Kind kind = Kind::Default;
    /// The environment variable, the option with its dashes, or the file; empty for a default.
    QString name = {};
    /// In the file, from 1; 0 if it is not known.
    int line = 0;
    int column = 0;

    [[nodiscard]] static Origin variable(const QString& name);
    [[nodiscard]] static Origin option(const QString& name);
    /// For people: "default", "$HOME", "--listen", "/etc/tavo/tavo.toml:3".
    [[nodiscard]] QString toText() const;
};

/// A value and where it comes from.
template<typename Value>
struct Setting
{
    Value value = {};
    Origin origin = {};
};

/// The wildcards of the usual audio and playlist files.
[[nodiscard]] QStringList usualFilter();

struct RootConfiguration
{
    /// Letters, digits, "-" and "_" of ASCII.
    QString id;
    Setting<QString> path = {};
    /// Empty: the directory's name.
    Setting<QString> title = {};
    /// Wildcards of playable names; never empty.
    Setting<QStringList> filter = {usualFilter()};
    /// Whether network clients may follow symlinks that lead out of the directory.
    Setting<bool> followLinks = {};
};

struct ServerConfiguration
{
    /// ADDRESS:PORT each; never empty.
    Setting<QStringList> listen = {{QStringLiteral("127.0.0.1:8420")}};
    /// Empty: none.
    Setting<QString> tokenFile = {};
    /// Whether a server without a token file makes itself a token.
    Setting<bool> makeToken = {};
    /// Whether the server may serve other machines without a token.
    Setting<bool> noToken = {};
    /// Names of this machine, and origins of browsers, that requests may have.
    Setting<QStringList> hosts = {};
    Setting<QStringList> origins = {};
    /// Empty: as the user's environment says.
    Setting<QString> state = {};

    [[nodiscard]] bool needsToken() const { return !tokenFile.value.isEmpty() || makeToken.value; }
};

/// As in Limits; from 1.
struct LimitsConfiguration
{
    Setting<int> values = {Limits().values};
    Setting<int> items = {Limits().items};
    Setting<int> open = {Limits().openPaths};
    Setting<int> message = {Limits().message};

    [[nodiscard]] Limits toLimits() const;
};

struct LogConfiguration
{
    /// Empty: as the properties file says, or WARN.
    Setting<QString> level = {};
    /// A properties file; empty: none.
    Setting<QString> config = {};
};

/// What a person has set, and the defaults of the rest.
struct Configuration
{
    /// The file that was read; empty: none.
    QString file = {};
    ServerConfiguration server = {};
    LimitsConfiguration limits = {};
    LogConfiguration log = {};
    /// In their order in the file.
    std::vector<RootConfiguration> roots = {};
};

/// A setting as people name it.
struct NamedSetting
{
    /// Its place in the file, such as "root.music.path".
    QString key;
    /// A text, a number, a flag or a list of texts.
    QVariant value;
    Origin origin;
};

/// All settings, in the order in which people read them.
[[nodiscard]] std::vector<NamedSetting> settingsOf(const Configuration& configuration);

/// What is wrong in a configuration, and where.
struct ConfigurationProblem
{
    Origin origin;
    /// Says what would be right.
    QString message;

    /// "FILE:LINE:COLUMN: message", as compilers write it.
    [[nodiscard]] QString toText() const;
};

/// What keeps a server from starting with these settings, wherever they come from.
[[nodiscard]] std::vector<ConfigurationProblem> problemsOf(const ServerConfiguration& server);

/// A configuration; where there are problems, without the values that have them.
struct ReadConfiguration
{
    Configuration configuration = {};
    /// All of them, in the order of the file.
    std::vector<ConfigurationProblem> problems = {};
};
