#include "cli/commands/arguments.h"
#include "cli/commands/command.h"

#include "cli/completions.h"

namespace {

constexpr char manual[] =
    QT_TRANSLATE_NOOP("Host", R"(Prints a script that makes the shell complete commands, options and values.

  tavo completions bash > ~/.local/share/bash-completion/completions/tavo
  tavo completions zsh > /usr/local/share/zsh/site-functions/_tavo
  tavo completions fish > ~/.config/fish/completions/tavo.fish)");

Result<int> run(int output, const QCommandLineParser& parser)
{
    const Result<QString> script = completionScript(parser.positionalArguments().constFirst());
    if (!script)
        return script.failure();
    return print(output, script.value().toUtf8());
}

} // namespace

Command completionsCommand()
{
    return {
        "completions",
        QT_TRANSLATE_NOOP("Host", "bash|zsh|fish"),
        QT_TRANSLATE_NOOP("Host", "Print a script that completes command lines."),
        manual,
        {1, 1},
        run,
        nullptr,
        false,
        false};
}
