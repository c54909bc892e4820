#include "cli/commands/command.h"

#include <algorithm>

namespace {

std::vector<Command> makeCommands()
{
    std::vector<Command> commands = {browseCommand(), watchCommand(),   sessionCommand(),     serveCommand(),
                                     infoCommand(),   prepareCommand(), countCommand(),       menuCommand(),
                                     configCommand(), doctorCommand(),  completionsCommand(), queueCommand()};
    const std::vector<Command> more = playerCommands();
    commands.insert(commands.end(), more.cbegin(), more.cend());
    commands.push_back(outputCommand());
    commands.push_back(tokenCommand());
    return commands;
}

} // namespace

const std::vector<Command>& allCommands()
{
    static const std::vector<Command> commands = makeCommands();
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

OptionList optionsOf(const Command& command)
{
    const OptionList help = {helpOption()};
    return command.options ? help + command.options() : help;
}
