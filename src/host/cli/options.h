#pragma once

#include "content/contenthost.h"

#include <QCommandLineParser>
#include <QStringList>

using OptionList = QList<QCommandLineOption>;

struct LogOptions
{
    QString level;
    QString configFile;
};

/// The file at a path that is relative to the program's own directory.
[[nodiscard]] QString besideProgram(const char* path);

/// The options that may stand before the command or behind it.
[[nodiscard]] OptionList globalOptions();
/// Has the program, and each command.
[[nodiscard]] QCommandLineOption helpOption();
/// What the program takes without a command, and the global options.
[[nodiscard]] OptionList programOptions();

/// Both functions take what both parsers were given; where both have a value, the second's.
[[nodiscard]] LogOptions logOptions(const QCommandLineParser& program, const QCommandLineParser& command);
Result<HostSettings> hostSettings(const QCommandLineParser& program, const QCommandLineParser& command);

/// The value of an option that takes a number from `minimum` up; `byDefault` if it is not given.
Result<int> integerOption(const QCommandLineParser& parser, const QString& name, int byDefault, int minimum);
