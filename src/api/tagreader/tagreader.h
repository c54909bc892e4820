#pragma once

#include "tagreader/tagreaderexport.h"

#include <QDir>
#include <QString>
#include <QVariant>

/// Makes items of files: what a client has to know of a file to play it or to file it in a library.
///
/// A reader has no state that reading changes: one reader serves any number of files, from several threads at once.
class TAVO_TAGREADER_EXPORT TagReader
{
public:
    /// The item of the file `path`, absolute or relative to `root`: a QVariantHash of roles (TavoRoles).
    ///
    /// `rows` are the file's values of CMAllRoles(), in that order; invalid ones are left out of the item. Without rows
    /// the item is made from the path, its own path prefixed with `serviceId`. The item's title and its media record
    /// (TavoMediaData) are completed from the tags; what the file does not say is absent. A file that cannot be read,
    /// or that is no regular file, gives the item that the rows alone tell of. A damaged or hostile file costs bounded
    /// time and memory. Never throws.
    [[nodiscard]] virtual QVariant
    readItem(const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const = 0;

    virtual ~TagReader();

protected:
    TagReader() = default;

private:
    Q_DISABLE_COPY(TagReader)
};
