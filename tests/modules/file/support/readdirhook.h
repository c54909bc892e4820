#pragma once

/// Takes the place of readdir() in a test program, for whoever but the C library itself calls it.
struct ReadDirHook
{
    /// Entries come without their types, as some file systems give them.
    static bool hidesTypes;
    /// How many types have been hidden.
    static int hidden;
};
