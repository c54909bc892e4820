#pragma once

#include <QStringList>

/// Executes the command line, whose first element is the program's name, and returns the program's exit status.
/// Results go to the descriptor `output`, everything else to standard error. Needs the application object.
[[nodiscard]] int runApplication(const QStringList& arguments, int output);
