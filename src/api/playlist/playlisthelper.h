#pragma once

#include "playlist/playlistexport.h"

#include <QVariant>

class CMGetRowsRequest;

/// What a worker's context menu offers for its items.
struct TAVO_PLAYLIST_EXPORT PlayListHelper
{
    /// The rows of the context menu of one item, all of them, whatever page the request asks for.
    ///
    /// The request's base is "menu/context/" + the item's encoded path, as plain text. Each row is an action, the
    /// QVariantList of the values of the request's roles in their order: to activate it, set the row's value (the
    /// item's encoded path) on the row's path. Empty if no item of the request's own worker follows "menu/context/".
    /// Thread-safe.
    [[nodiscard]] static QVariantList playListRows(const CMGetRowsRequest& request);
};
