#pragma once

#include "i18n/trstring.h"

#include <QList>

/// A text of this module for people; `arguments` take the places of %1, %2 and so on.
[[nodiscard]] inline TrString playlistText(const char* sourceText, const QList<TrArg>& arguments = {})
{
    return {TrCharData{"Playlist", sourceText}, arguments};
}
