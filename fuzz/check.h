#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process, and so the fuzzer's run with the input saved, if `condition` does not hold.
#define FUZZ_CHECK(condition)                                                                                          \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition);                        \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)
