#pragma once

#include "tavo/tavoroles.h"

/// MIME types by file-name extension, from the system's shared MIME database. Thread-safe.
struct TAVO_API_EXPORT MimeTypes
{
    /// `extension` has no dot and any case; `fallback` is returned for one that the database does not know.
    /// The database is asked once for an extension, later answers come from memory.
    [[nodiscard]] static QString extensionToMimeType(const QString& extension, const QString& fallback);
};

struct TAVO_API_EXPORT CMGlobal
{
    /// The type of a row that stands for a file of this MIME type; File for whatever is no medium.
    [[nodiscard]] static TavoRolesType::Enum mimeTypeToRolesType(const QString& mimeType);
};
