#pragma once

#include "cli/options.h"
#include "content/contenthost.h"
#include "content/result.h"

#include <QCommandLineParser>

#include <functional>
#include <variant>
#include <vector>

/// The host and the output that a command uses.
struct CommandContext
{
    ContentHost& host;
    /// Takes the results.
    int output;
    const Configuration& configuration;
    /// Reads it again, with the same options.
    std::function<ReadConfiguration()> readConfiguration;
};

/// The settings of a host, for a command that starts none.
struct SettingsContext
{
    const HostSettings& settings;
    const Configuration& configuration;
    /// Takes the results.
    int output;
};

/// One thing that the program does.
struct Command
{
    static constexpr int anyNumber = -1;

    /// Give the program's exit status. `output` takes the results.
    using RunWithHost = Result<int> (*)(const CommandContext& context, const QCommandLineParser& parser);
    using RunWithSettings = Result<int> (*)(const SettingsContext& context, const QCommandLineParser& parser);
    using RunOnConfiguration =
        Result<int> (*)(const ReadConfiguration& read, int output, const QCommandLineParser& parser);
    using RunAlone = Result<int> (*)(int output, const QCommandLineParser& parser);

    struct ArgumentCount
    {
        int fewest;
        /// Or anyNumber.
        int most;

        [[nodiscard]] constexpr bool fits(int count) const
        {
            return count >= fewest && (most == anyNumber || count <= most);
        }
    };

    const char* name;
    /// Its arguments, as in the usage line; empty: none. Marked for translation, as are the next two.
    const char* arguments;
    const char* summary;
    /// Shown by --help: the purpose and an example.
    const char* manual;
    ArgumentCount argumentCount;
    /// A command that runs alone needs no root, and one that runs with settings needs no host. One that runs on the
    /// configuration gets it with its problems.
    std::variant<RunWithHost, RunWithSettings, RunOnConfiguration, RunAlone> run;
    /// Null: it has none of its own.
    OptionList (*options)() = nullptr;
    /// Whether it works without roots, too.
    bool worksWithoutRoots = false;
    /// Whether a command that runs alone asks a server that is running.
    bool asksServer = true;
};

[[nodiscard]] const std::vector<Command>& allCommands();
/// Null if there is none.
[[nodiscard]] const Command* findCommand(const QString& name);
/// What the command takes beside the global options.
[[nodiscard]] OptionList optionsOf(const Command& command);

[[nodiscard]] Command browseCommand();
[[nodiscard]] Command watchCommand();
[[nodiscard]] Command sessionCommand();
[[nodiscard]] Command serveCommand();
[[nodiscard]] Command infoCommand();
[[nodiscard]] Command prepareCommand();
[[nodiscard]] Command countCommand();
[[nodiscard]] Command menuCommand();
[[nodiscard]] Command doctorCommand();
[[nodiscard]] Command completionsCommand();
[[nodiscard]] Command queueCommand();
[[nodiscard]] Command configCommand();
[[nodiscard]] Command outputCommand();
[[nodiscard]] Command tokenCommand();
/// Those that show or steer the player.
[[nodiscard]] std::vector<Command> playerCommands();
