#pragma once

class QString;
struct Mount;

/// True if the base stays inside the root directory, which is canonical. Symlinks are followed; ".." after one is
/// resolved physically.
[[nodiscard]] bool isConfined(const QString& rootDirectory, const QString& base);

/// True if a network client may see the entry: its base is relative and confined, and no name on the way is hidden,
/// neither in the base, whether ".." is resolved by name or physically, nor where symlinks lead. A symlink may lead out
/// of the root directory only if the mount follows such symlinks.
[[nodiscard]] bool isPublic(const Mount& mount, const QString& base);
