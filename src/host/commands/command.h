#pragma once

#include "host.h"
#include "result.h"

#include <QCommandLineParser>

#include <vector>

/// What a command works with.
struct CommandContext
{
    Host& host;
    /// Takes the results.
    int output;
};

/// One thing that the program does.
struct Command
{
    const char* name;
    /// Its arguments, as in the usage line.
    const char* arguments;
    const char* summary;
    /// Shown by --help: what it is good for, and an example.
    const char* manual;
    int fewestArguments;
    /// -1: any number.
    int mostArguments;
    void (*addOptions)(QCommandLineParser& parser);
    /// Gives the program's exit status.
    Result<int> (*run)(const CommandContext& context, const QCommandLineParser& parser);
};

[[nodiscard]] const std::vector<Command>& allCommands();
/// Null if there is none.
[[nodiscard]] const Command* findCommand(const QString& name);

[[nodiscard]] Command browseCommand();
