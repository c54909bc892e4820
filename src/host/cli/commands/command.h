#pragma once

#include "content/contenthost.h"
#include "content/result.h"

#include <QCommandLineParser>

#include <vector>

/// The host and the output that a command uses.
struct CommandContext
{
    ContentHost& host;
    /// Takes the results.
    int output;
};

/// One thing that the program does.
struct Command
{
    static constexpr int anyNumber = -1;

    const char* name = nullptr;
    /// Its arguments, as in the usage line.
    const char* arguments = "";
    const char* summary = nullptr;
    /// Shown by --help: what it is good for, and an example.
    const char* manual = nullptr;
    int fewestArguments = 0;
    int mostArguments = 0;
    /// Null: it has no options of its own.
    void (*addOptions)(QCommandLineParser& parser) = nullptr;
    /// Whether it works while no root's directory is there, too.
    bool worksWithoutRoots = false;
    /// Gives the program's exit status.
    Result<int> (*run)(const CommandContext& context, const QCommandLineParser& parser) = nullptr;
};

[[nodiscard]] const std::vector<Command>& allCommands();
/// Null if there is none.
[[nodiscard]] const Command* findCommand(const QString& name);

[[nodiscard]] Command browseCommand();
[[nodiscard]] Command watchCommand();
[[nodiscard]] Command sessionCommand();
[[nodiscard]] Command serveCommand();
[[nodiscard]] Command infoCommand();
[[nodiscard]] Command prepareCommand();
[[nodiscard]] Command countCommand();
[[nodiscard]] Command menuCommand();
