#pragma once

#include "content/contenthost.h"

#include <QCommandLineParser>
#include <QStringList>

/// The options that may stand before the command or behind it.
struct GlobalOptions
{
    HostSettings host;
    QString logLevel;
    QString logConfig;
};

void addGlobalOptions(QCommandLineParser& parser, QCommandLineOption::Flags flags = {});

/// Takes what both parsers were given; where both have a value, the second's.
Result<GlobalOptions> globalOptions(const QCommandLineParser& program, const QCommandLineParser& command);

/// The value of an option that takes a number from `minimum` up; `byDefault` if it is not given.
Result<int> integerOption(const QCommandLineParser& parser, const QString& name, int byDefault, int minimum);
