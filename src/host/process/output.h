#pragma once

#include "content/result.h"

#include <QByteArray>

/// Writes all of the text, waiting as long as the reader does. Returns 0, or the error's number.
[[nodiscard]] int writeAll(int fileDescriptor, const QByteArray& text);

enum class Written {
    All,
    /// Nobody reads it any more, which is no failure.
    ReaderGone
};

/// As writeAll(), for the results of a command.
Result<Written> writeOutput(int fileDescriptor, const QByteArray& text);

/// Writes one line to standard error, with the program's name, whatever the message holds.
void report(const QString& message);
