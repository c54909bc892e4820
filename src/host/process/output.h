#pragma once

#include "content/result.h"

#include <QByteArray>

/// Takes standard output away from everybody else, so that no library's message gets between the results: what is
/// written there from now on goes to standard error. Returns the descriptor for the results.
[[nodiscard]] int claimStandardOutput();

enum class Written {
    All,
    /// Nobody reads it any more, which is no failure.
    ReaderGone
};

/// Writes it all, waiting as long as the reader lets it.
Result<Written> writeOutput(int fileDescriptor, const QByteArray& text);

/// One line on standard error, with the program's name, whatever the message holds.
void report(const QString& message);
