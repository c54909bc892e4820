#pragma once

#include <QStringList>
#include <QVariant>

/// The headings of the columns that describe an item.
[[nodiscard]] QStringList itemHeadings();
/// The cells below them.
[[nodiscard]] QStringList itemCells(const QVariant& title, const QVariant& mediaData);

/// Of the item's sound, in milliseconds; invalid if it is not known.
[[nodiscard]] QVariant itemDuration(const QVariant& mediaData);
