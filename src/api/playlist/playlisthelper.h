#pragma once

#include "playlist/playlistexport.h"

#include <QVariant>

class CMGetRowsRequest;

/// Builds the context menus of items.
struct TAVO_PLAYLIST_EXPORT PlayListHelper
{
    /// All rows of the context menu of one item; the request's page and version are ignored. Thread-safe.
    ///
    /// The base of the request's path is "menu/context/" followed by the encoded path of the item. Without an item of
    /// the same worker there are no rows. A row is an action: the QVariantList of its values, in the order of the
    /// request's roles. To activate an action, set its value (the item's encoded path) on its path.
    [[nodiscard]] static QVariantList playListRows(const CMGetRowsRequest& request);
};
