#pragma once

/// What can be shown at the other end of a file descriptor.
struct Terminal
{
    bool isTerminal = false;
    /// Columns; 0: no limit.
    int width = 0;
    bool colours = false;

    [[nodiscard]] static Terminal at(int fileDescriptor);
};
