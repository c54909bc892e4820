#pragma once

#include "config/configuration.h"

/// The file that holds the configuration where no option names one: the user's, else the machine's. Empty if there is
/// none.
[[nodiscard]] QString usualConfigurationFile();

/// Reads a configuration file. May wait for the disk.
[[nodiscard]] ReadConfiguration readConfigurationFile(const QString& file);

/// Reads TOML. `file`: its absolute path, for origins and for relative paths in it.
[[nodiscard]] ReadConfiguration parseConfiguration(const QByteArray& text, const QString& file);
