#pragma once

/// Takes the place of malloc() in a test program: during a call of scandir() one allocation may fail.
struct MallocHook
{
    /// The number of the allocation that fails, from 1; 0: none.
    static int failing;
    /// The number of allocations of the last call.
    static int allocations;
};
