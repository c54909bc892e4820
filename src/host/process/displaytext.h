#pragma once

#include <QString>

/// Text as a terminal shows it.
namespace DisplayText {

/// The text on one line, with nothing in it that a terminal would obey: control characters, line separators and
/// changes of the writing direction are spelt out ("\n", "\x1b", "\u202e").
[[nodiscard]] QString visible(const QString& text);

/// Terminal columns that a visible text takes.
[[nodiscard]] int width(const QString& text);

/// The text, or as much of it as fits into `width` columns with an ellipsis behind.
[[nodiscard]] QString elided(const QString& text, int width);

} // namespace DisplayText
