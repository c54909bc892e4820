#pragma once

#include "cli/options.h"

/// The options of a server for a network.
[[nodiscard]] OptionList serveOptions();

/// What is configured, and the options, which win. The state directory is never empty.
[[nodiscard]] ServerConfiguration serverConfiguration(ServerConfiguration configured, const QCommandLineParser& parser);
