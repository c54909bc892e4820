#pragma once

#include "cli/options.h"
#include "content/contenthost.h"

#include <QCommandLineParser>

/// The options of a command that serves the queue beside the roots.
[[nodiscard]] OptionList queueOptions();

/// Mounts the queue, which keeps what outlives the program in the directory; empty: it keeps nothing. Without its
/// module there is no queue, and a log line says so; fails only if the module was named on the command line.
[[nodiscard]] Result<void>
mountQueue(ContentHost& host, const QCommandLineParser& parser, const QString& stateDirectory);
