#pragma once

#include <QStringList>

/// Does what the command line says, its first element the program's name, and gives the program's exit status.
/// Results go to the descriptor `output`, everything else to standard error. Needs the application object.
[[nodiscard]] int runApplication(const QStringList& arguments, int output);
