#pragma once

#include "content/session.h"
#include "terminal/terminal.h"

/// The roles that a page shows if nobody says otherwise.
[[nodiscard]] const QStringList& usualColumns();

/// The roles to ask for so that pageText() can show the given ones.
[[nodiscard]] QStringList withType(const QStringList& shown);

/// The page as a table of the given roles; its rows were asked for with withType().
[[nodiscard]] QByteArray pageText(const Session::Page& page, const QStringList& shown, const Terminal& terminal);
