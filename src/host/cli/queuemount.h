#pragma once

#include "cli/options.h"
#include "content/contenthost.h"

#include <QCommandLineParser>

/// The options of a command that serves the queue beside the roots.
[[nodiscard]] OptionList queueOptions();

/// Mounts the queue, which is kept in the directory; empty: it ends with the program. If the module is missing, there
/// is no queue, and a log line says so; fails only if the command line names the module.
[[nodiscard]] Result<void>
mountQueue(ContentHost& host, const QCommandLineParser& parser, const QString& stateDirectory);
