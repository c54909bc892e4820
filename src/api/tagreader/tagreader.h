#pragma once

#include "tagreader/tagreaderexport.h"

#include <QDir>
#include <QString>
#include <QVariant>

/// Makes items from files: the values that a client needs to play a file or to file it in a library.
///
/// Reading changes nothing in a reader, so one reader serves any number of files, from several threads at once.
class TAVO_TAGREADER_EXPORT TagReader
{
public:
    /// Makes the item of the file `path`, absolute or relative to `root`: a QVariantHash of roles (TavoRoles).
    ///
    /// `rows` are the file's values of CMAllRoles(), in that order; the item leaves out the invalid ones. Without rows
    /// the item is made from the path, and the item's own path has the prefix `serviceId`. The tags complete the item's
    /// title and its media record (TavoMediaData); a field that the file does not have is absent. A file that cannot be
    /// read, or that is no regular file, gives the item of the rows alone. A damaged or hostile file costs bounded time
    /// and memory.
    ///
    /// The calling thread's CMRequestContext, if it has one, limits the work: once the request is cancelled or
    /// exhausted, readItem() returns an invalid QVariant without opening the file. It takes each item's approximate
    /// size in JSON from the context's bytes; an item for which too few are left, or whose request was cancelled
    /// meanwhile, is invalid. Without a context there is no such limit.
    ///
    /// The caller owns the item. Never throws.
    [[nodiscard]] virtual QVariant
    readItem(const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const = 0;

    /// No readItem() may be running.
    virtual ~TagReader();

protected:
    TagReader() = default;

private:
    Q_DISABLE_COPY(TagReader)
};
