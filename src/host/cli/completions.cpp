#include "cli/completions.h"

#include "cli/commands/command.h"
#include "language/programlanguage.h"
#include "language/translatable.h"
#include "process/logging.h"

#include <i18n/trlanguage.h>

#include <QHash>
#include <QSet>

namespace {

constexpr QLatin1Char space(' ');

/// What an option's value, or a command's first argument, can be.
struct Value
{
    enum class Kind { None, Any, File, Directory, Choice };

    Kind kind;
    /// As in the help.
    QString name = {};
    QStringList choices = {};
};

/// `name`: as the help has it, for example FILE, or off|on.
Value valueFrom(const QString& name)
{
    static const QHash<QString, QStringList> known = {
        {QStringLiteral("LEVEL"), Logging::levels()},
        {QStringLiteral("EDIT"), QStringLiteral("add next play replace remove move clear shuffle undo").split(space)}};
    if (name.isEmpty())
        return {Value::Kind::None};
    if (name == QLatin1String("FILE"))
        return {Value::Kind::File, name};
    if (name.endsWith(QLatin1String("DIR")))
        return {Value::Kind::Directory, name};
    const QStringList choices = name.contains(u'|') ? name.split(u'|') : known.value(name);
    return {choices.isEmpty() ? Value::Kind::Any : Value::Kind::Choice, name, choices};
}

Value valueOf(const Option& option)
{
    return valueFrom(QLatin1String(option.valueName));
}

Value firstArgumentOf(const Command& command)
{
    QString name = QString::fromLatin1(command.arguments).section(space, 0, 0);
    return valueFrom(name.remove(u'[').remove(u']'));
}

QStringList namesOf(const Option& option)
{
    QStringList names;
    for (const QString& name : option.names())
        names.append((name.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) + name);
    return names;
}

QStringList namesOf(const OptionList& options)
{
    QStringList names;
    for (const Option& option : options)
        names += namesOf(option);
    return names;
}

/// Of the program and all commands; one that several commands have, once.
OptionList allOptions()
{
    OptionList all = programOptions();
    for (const Command& command : allCommands())
        all += optionsOf(command);
    OptionList unique;
    QSet<QString> seen;
    for (const Option& option : qAsConst(all)) {
        if (!seen.contains(option.name))
            unique.append(option);
        seen.insert(option.name);
    }
    return unique;
}

/// What may stand behind the command.
OptionList optionsBehind(const Command& command)
{
    return optionsOf(command) + globalOptions();
}

QString nameOf(const Command& command)
{
    return QString::fromLatin1(command.name);
}

QString summaryOf(const Command& command)
{
    return QString::fromLatin1(command.summary);
}

QStringList commandNames()
{
    QStringList names;
    for (const Command& command : allCommands())
        names.append(nameOf(command));
    return names;
}

/// The names of all options whose value is of the kind, as patterns of a case statement.
QStringList namesOfKind(Value::Kind kind)
{
    QStringList names;
    for (const Option& option : allOptions()) {
        if (valueOf(option).kind == kind)
            names += namesOf(option);
    }
    return names;
}

QStringList namesWithValue()
{
    return namesOfKind(Value::Kind::Any) + namesOfKind(Value::Kind::File) + namesOfKind(Value::Kind::Directory) +
           namesOfKind(Value::Kind::Choice);
}

QString joined(const QStringList& texts, const char* separator)
{
    return texts.join(QLatin1String(separator));
}

namespace Bash {

constexpr char script[] = R"(# Completion of tavo for bash

_tavo()
{
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command="" arguments=0 words="" i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
        %1) ((++i)); if [[ ${COMP_WORDS[i]} == = ]]; then ((++i)); fi ;;
        =|:) ((++i)) ;;
        -*) ;;
        *) if [[ -z $command ]]; then command=${COMP_WORDS[i]}; else ((++arguments)); fi ;;
        esac
    done
    # bash takes --root=DIR and ID=DIR for three words.
    if [[ $word == = ]]; then
        word=""
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
        [[ $previous == -* ]] || previous=${COMP_WORDS[COMP_CWORD - 3]}
    fi
    case $previous in
%2    esac
    case $command in
%3    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -F _tavo tavo
)";

QString branch(const QStringList& patterns, const QString& action)
{
    return QStringLiteral("    %1) %2 ;;\n").arg(joined(patterns, "|"), action);
}

QString valueBranches()
{
    const QString reply = QStringLiteral("compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -%1 -- "
                                         "\"$word\"); return");
    QString branches = branch(namesOfKind(Value::Kind::File), reply.arg(QLatin1Char('f'))) +
                       branch(namesOfKind(Value::Kind::Directory), reply.arg(QLatin1Char('d'))) +
                       branch(namesOfKind(Value::Kind::Any), QStringLiteral("return"));
    for (const Option& option : allOptions()) {
        const Value value = valueOf(option);
        if (value.kind == Value::Kind::Choice)
            branches += branch(
                namesOf(option), QStringLiteral("mapfile -t COMPREPLY < <(compgen -W \"%1\" -- \"$word\"); return")
                                     .arg(joined(value.choices, " ")));
    }
    return branches;
}

QString commandBranches()
{
    const auto words = [](const QStringList& texts) { return QStringLiteral("words=\"%1\"").arg(joined(texts, " ")); };
    QString branches = branch({QStringLiteral("\"\"")}, words(commandNames() + namesOf(programOptions())));
    for (const Command& command : allCommands()) {
        QString action = words(namesOf(optionsBehind(command)));
        const Value first = firstArgumentOf(command);
        if (!first.choices.isEmpty())
            action += QStringLiteral("; ((arguments > 0)) || words+=\" %1\"").arg(joined(first.choices, " "));
        branches += branch({nameOf(command)}, action);
    }
    return branches;
}

QString make()
{
    return QString::fromLatin1(script).arg(joined(namesWithValue(), "|"), valueBranches(), commandBranches());
}

} // namespace Bash

namespace Zsh {

constexpr char script[] = R"(#compdef tavo
# Completion of tavo for zsh

_tavo()
{
    local context state state_descr line
    typeset -A opt_args
    _arguments -C %1 '1:command:->command' '*::argument:->argument'
    case $state in
    command)
        local -a commands=(%2)
        _describe command commands
        ;;
    argument)
        case $words[1] in
%3        esac
        ;;
    esac
}

# Either loaded by its first use, or read by hand.
if [[ $funcstack[1] == _tavo ]]; then
    _tavo "$@"
else
    compdef _tavo tavo
fi
)";

QString quoted(QString text)
{
    return u'\'' + text.replace(u'\'', QStringLiteral("'\\''")) + u'\'';
}

/// A part of a specification that ends at a colon or a bracket.
QString escaped(QString text)
{
    for (const QChar special : {QChar(u'\\'), QChar(u':'), QChar(u'['), QChar(u']')})
        text.replace(special, QString(u'\\') + special);
    return text;
}

QString valueSpecification(const Value& value)
{
    const QString name = u':' + escaped(value.name) + u':';
    switch (value.kind) {
    case Value::Kind::None:
        return {};
    case Value::Kind::Any:
        return name + space;
    case Value::Kind::File:
        return name + QStringLiteral("_files");
    case Value::Kind::Directory:
        return name + QStringLiteral("_directories");
    case Value::Kind::Choice:
        return name + u'(' + joined(value.choices, " ") + u')';
    }
    return {};
}

/// Every option may be repeated.
QString optionSpecifications(const OptionList& options)
{
    QStringList specifications;
    for (const Option& option : options) {
        for (const QString& name : namesOf(option))
            specifications.append(quoted(
                u'*' + name + (*option.valueName == '\0' ? QString() : QStringLiteral("=")) + u'[' +
                escaped(option.description.toString()) + u']' + valueSpecification(valueOf(option))));
    }
    return joined(specifications, " ");
}

QString commandSpecifications()
{
    QStringList specifications;
    for (const Command& command : allCommands())
        specifications.append(quoted(nameOf(command) + u':' + escaped(summaryOf(command))));
    return joined(specifications, " ");
}

QString commandBranches()
{
    QString branches;
    for (const Command& command : allCommands()) {
        const Value first = firstArgumentOf(command);
        const QString argument = first.choices.isEmpty() ? QString() : space + quoted(u'1' + valueSpecification(first));
        branches += QStringLiteral("        %1) _arguments %2%3 ;;\n")
                        .arg(nameOf(command), optionSpecifications(optionsBehind(command)), argument);
    }
    return branches;
}

QString make()
{
    return QString::fromLatin1(script).arg(
        optionSpecifications(programOptions()), commandSpecifications(), commandBranches());
}

} // namespace Zsh

namespace Fish {

constexpr char script[] = R"fish(# Completion of tavo for fish

# The command and its arguments that stand before the cursor are these.
function __tavo_arguments_are
    test "$(__tavo_arguments)" = "$argv"
end

function __tavo_command_is
    set -l arguments (__tavo_arguments)
    test "$arguments[1]" = "$argv"
end

function __tavo_arguments
    set -l words (commandline -opc)
    set -e words[1]
    while set -q words[1]
        switch $words[1]
            case %1
                set -e words[1]
            case '-*'
            case '*'
                echo $words[1]
        end
        set -e words[1]
    end
end

complete -c tavo -f
%2)fish";

QString quoted(QString text)
{
    return u'\'' + text.replace(u'\\', QStringLiteral("\\\\")).replace(u'\'', QStringLiteral("\\'")) + u'\'';
}

QString valueArguments(const Value& value)
{
    switch (value.kind) {
    case Value::Kind::None:
        return {};
    case Value::Kind::Any:
        return QStringLiteral(" -x");
    case Value::Kind::File:
        return QStringLiteral(" -r -F");
    case Value::Kind::Directory:
        return QStringLiteral(" -x -a '(__fish_complete_directories)'");
    case Value::Kind::Choice:
        return QStringLiteral(" -x -a ") + quoted(joined(value.choices, " "));
    }
    return {};
}

QString line(const QString& condition, const QString& arguments, const QString& description)
{
    const QString end = description.isEmpty() ? QString() : QStringLiteral(" -d ") + quoted(description);
    return QStringLiteral("complete -c tavo -n %1 %2%3\n").arg(quoted(condition), arguments, end);
}

QString optionLines(const QString& condition, const OptionList& options)
{
    QString lines;
    for (const Option& option : options) {
        QStringList names;
        for (const QString& name : option.names())
            names.append((name.size() == 1 ? QStringLiteral("-s ") : QStringLiteral("-l ")) + name);
        lines += line(condition, joined(names, " ") + valueArguments(valueOf(option)), option.description.toString());
    }
    return lines;
}

QString lines()
{
    const QString first = QStringLiteral("__tavo_arguments_are ''");
    QString lines = optionLines(first, programOptions());
    for (const Command& command : allCommands())
        lines += line(first, QStringLiteral("-a ") + nameOf(command), summaryOf(command));
    for (const Command& command : allCommands()) {
        const Value argument = firstArgumentOf(command);
        if (!argument.choices.isEmpty())
            lines += line(
                QStringLiteral("__tavo_arguments_are ") + nameOf(command),
                QStringLiteral("-a ") + quoted(joined(argument.choices, " ")), {});
        lines += optionLines(QStringLiteral("__tavo_command_is ") + nameOf(command), optionsBehind(command));
    }
    return lines;
}

QString make()
{
    return QString::fromLatin1(script).arg(joined(namesWithValue(), " "), lines());
}

} // namespace Fish

} // namespace

Result<QString> completionScript(const QString& shell)
{
    static const QHash<QString, QString (*)()> makers = {
        {QStringLiteral("bash"), Bash::make}, {QStringLiteral("zsh"), Zsh::make}, {QStringLiteral("fish"), Fish::make}};
    if (const auto make = makers.value(shell)) {
        // Packages are the same wherever they are built.
        const TrLanguage::Scope scope(englishLanguage());
        return make();
    }
    return Failure::wrongUse(translatable(QT_TRANSLATE_NOOP("Host", "'%1' is none of bash, zsh and fish"), {shell}));
}
