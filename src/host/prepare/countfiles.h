#pragma once

#include "content/content.h"

/// The number of playable files at and below a path, as its worker counts them.
Result<int> countFiles(ContentHost& host, const CMPath& path);
