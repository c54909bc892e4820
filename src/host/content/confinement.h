#pragma once

class QString;

/// Whether what the base of a path names is the root directory or lies below it: by its text, and where ".." follows a
/// link, by where that leads. What is only a link is followed, as its owner means it to be.
[[nodiscard]] bool isConfined(const QString& rootDirectory, const QString& base);
