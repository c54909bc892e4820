#pragma once

/// Takes the place of readdir() in a test program, but for calls from the C library itself.
struct ReadDirHook
{
    /// Hides the types of entries, as some file systems do.
    static bool hidesTypes;
    /// The number of types hidden so far.
    static int hidden;
};
