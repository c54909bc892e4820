#pragma once

#include "content/result.h"

#include <QString>

/// The script that makes a shell (bash, zsh or fish) complete the program's commands, options and, where they are
/// known, values. Made from the same tables as the help. Fails for other shells.
[[nodiscard]] Result<QString> completionScript(const QString& shell);
