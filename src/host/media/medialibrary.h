#pragma once

#include "process/filedescriptor.h"

#include <QByteArray>
#include <QString>

#include <optional>

class ContentHost;

/// A file that clients may play, opened for reading.
struct MediaFile
{
    /// Of a regular file; O_NONBLOCK and O_CLOEXEC, at offset 0.
    FileDescriptor descriptor;
    /// Bytes when it was opened.
    qint64 size = 0;
    /// Seconds since 1970-01-01 UTC.
    qint64 modified = 0;
    /// A strong validator with its quotes. It changes when the file is written or replaced, and reveals nothing else.
    QByteArray etag;
    /// By the name's extension; "application/octet-stream" if that says nothing.
    QByteArray mimeType;
};

/// Opens the playable files of all roots for network clients.
///
/// Stateless; all functions may be called from any thread and may wait for the disk.
class MediaLibrary
{
public:
    /// The host must outlive the library.
    explicit MediaLibrary(ContentHost& host) : m_host(&host) {}

    /// The file at `base`, decoded, of the root with the ID `prefix`, or nothing, whatever the reason.
    ///
    /// Only a regular file whose name matches the root's patterns is opened. The base is relative; it has no empty
    /// segment and no name that starts with a dot, nor has the path that links on the way lead to. A link that leads
    /// out of the root is followed only if the root follows links.
    [[nodiscard]] std::optional<MediaFile> open(const QString& prefix, const QString& base) const;

private:
    ContentHost* m_host;
};
