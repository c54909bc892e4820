#pragma once

/// The capabilities of the terminal behind a file descriptor.
struct Terminal
{
    bool isTerminal = false;
    /// Columns; 0: no limit.
    int width = 0;
    bool colours = false;

    [[nodiscard]] static Terminal at(int fileDescriptor);
};
