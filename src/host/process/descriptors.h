#pragma once

#include "content/result.h"

/// Lets the process have as many file descriptors as the system allows it: a walk takes one for each level of a tree.
/// Fails if there are too few for the program to work at all.
Result<void> claimDescriptors();
