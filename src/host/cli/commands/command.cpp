#include "cli/commands/command.h"

#include <algorithm>

const std::vector<Command>& allCommands()
{
    static const std::vector<Command> commands = {browseCommand(), watchCommand(),   sessionCommand(), serveCommand(),
                                                  infoCommand(),   prepareCommand(), countCommand(),   menuCommand()};
    return commands;
}

const Command* findCommand(const QString& name)
{
    const std::vector<Command>& commands = allCommands();
    const auto command = std::find_if(commands.cbegin(), commands.cend(), [&name](const Command& candidate) {
        return name == QLatin1String(candidate.name);
    });
    return command == commands.cend() ? nullptr : &*command;
}
