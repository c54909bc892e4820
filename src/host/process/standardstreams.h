#pragma once

/// Opens the standard descriptors that are closed to /dev/null, so that no other file gets their numbers. Call before
/// anything else opens a file.
void openStandardStreams();

/// Reserves standard output for the results, so that no library's message gets between them: whatever is written there
/// from now on appears on standard error. Returns the descriptor for the results.
[[nodiscard]] int claimStandardOutput();
