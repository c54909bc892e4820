#pragma once

#include "tavo/tavoroles.h"

/// MIME types by file-name extension.
struct TAVO_API_EXPORT MimeTypes
{
    /// The MIME type of files with this extension, from the system's shared MIME database.
    ///
    /// `extension` has no dot and is in any case. If several types share it, sound comes first, then video.
    /// `fallback` is returned if `extension` is empty or unknown. The file itself is not read.
    /// Thread-safe. The database is asked once for each extension; later answers come from a cache.
    [[nodiscard]] static QString extensionToMimeType(const QString& extension, const QString& fallback);
};

/// Functions that belong to no class of the content model.
struct TAVO_API_EXPORT CMGlobal
{
    /// The type of the row that stands for a file of this MIME type: File for any that is not a medium, a playlist or
    /// a directory. Thread-safe.
    [[nodiscard]] static TavoRolesType::Enum mimeTypeToRolesType(const QString& mimeType);
};
