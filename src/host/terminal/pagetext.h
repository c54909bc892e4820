#pragma once

#include "content/content.h"
#include "terminal/table.h"
#include "terminal/terminal.h"

/// The roles that a page shows if nobody says otherwise.
[[nodiscard]] const QStringList& usualColumns();

/// The roles to ask for so that pageText() can show the given ones.
[[nodiscard]] QStringList withType(const QStringList& shown);

/// An empty table for the given roles.
[[nodiscard]] Table pageTable(const QStringList& shown);
/// Adds the page's rows, which were asked for with withType().
void addPage(Table& table, const Content::Page& page, const QStringList& shown);
