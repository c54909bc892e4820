#pragma once

#include <QString>
#include <QStringList>

/// How a program ended, and all that it wrote.
struct Outcome
{
    int exitStatus = -1;
    /// Standard output and standard error, as they came.
    QString output;
};

/// Runs the program to its end; the exit status is -1 if it cannot be started or is ended by a signal.
[[nodiscard]] Outcome runToEnd(const QString& program, const QStringList& arguments);
