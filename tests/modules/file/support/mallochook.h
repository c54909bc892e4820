#pragma once

/// Takes the place of malloc() in a test program: during a call of scandir() one allocation may fail.
struct MallocHook
{
    /// Which one, from 1; 0: none.
    static int failing;
    /// How many the last call has made.
    static int allocations;
};
