#pragma once

#include "config/configuration.h"
#include "content/contenthost.h"

#include <i18n/trstring.h>

#include <QCommandLineParser>
#include <QStringList>

/// What the command line can have beside arguments, with its texts for people in every language.
struct Option
{
    QString name;
    TrString description;
    /// Stands for its value in the help, marked for translation; empty: it takes none.
    const char* valueName = "";
    /// A short name; null: none.
    char letter = '\0';

    /// The short name first.
    [[nodiscard]] QStringList names() const;
};

using OptionList = QList<Option>;

/// For a parser that shows no help, without any text: most runs of the program show none.
[[nodiscard]] QCommandLineOption forParsing(const Option& option);
/// With the texts in the thread's language.
[[nodiscard]] QCommandLineOption forHelp(const Option& option);

/// The file at a path that is relative to the program's own directory.
[[nodiscard]] QString besideProgram(const char* path);

/// The options that may stand before the command or behind it.
[[nodiscard]] OptionList globalOptions();
/// Has the program, and each command.
[[nodiscard]] Option helpOption();
/// What the program takes without a command, and the global options.
[[nodiscard]] OptionList programOptions();

/// The functions below use the options of both parsers; if both have a value, the second's.

/// The configuration file and the options, which win. Roots of the command line replace configured ones. May wait for
/// the disk.
[[nodiscard]] ReadConfiguration configurationFrom(const QCommandLineParser& program, const QCommandLineParser& command);
/// The options for logs, which win over what is configured.
[[nodiscard]] LogConfiguration
logConfiguration(LogConfiguration configured, const QCommandLineParser& program, const QCommandLineParser& command);
Result<HostSettings>
hostSettings(const Configuration& configuration, const QCommandLineParser& program, const QCommandLineParser& command);

/// The configured roots as settings of the host.
[[nodiscard]] std::vector<RootSettings> rootSettings(const Configuration& configuration);

/// The value of an option that takes a number from `minimum` up; `byDefault` if it is not given.
Result<int> integerOption(const QCommandLineParser& parser, const QString& name, int byDefault, int minimum);
