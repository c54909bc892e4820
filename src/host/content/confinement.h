#pragma once

class QString;

/// True if the base stays inside the root directory, which is canonical. Symlinks are followed; ".." after one is
/// resolved physically.
[[nodiscard]] bool isConfined(const QString& rootDirectory, const QString& base);

/// True if a network client may see the entry: its base is relative and confined, no name on the way is hidden, whether
/// ".." is resolved by name or physically, and no symlink leads out of the root directory.
[[nodiscard]] bool isPublic(const QString& rootDirectory, const QString& base);
