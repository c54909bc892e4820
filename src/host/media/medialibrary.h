#pragma once

#include "process/filedescriptor.h"

#include <QByteArray>
#include <QString>

#include <optional>

#include <sys/stat.h>

class ContentHost;

/// A file that clients may play, opened for reading.
struct MediaFile
{
    /// Of a regular file; O_NONBLOCK and O_CLOEXEC, at offset 0.
    FileDescriptor descriptor;
    /// From just before it was opened.
    struct stat status = {};
    /// A strong validator with its quotes. It changes when the file is written or replaced.
    QByteArray etag;
    /// By the name's extension. Types that browsers might run as the page's own, such as HTML and SVG, and unknown ones
    /// are "application/octet-stream".
    QByteArray mimeType;

    /// Bytes.
    [[nodiscard]] qint64 size() const { return status.st_size; }
    /// Seconds since 1970-01-01 UTC.
    [[nodiscard]] qint64 modified() const { return status.st_mtim.tv_sec; }
};

/// Opens the playable files of all roots for network clients.
///
/// Stateless; all functions may be called from any thread.
class MediaLibrary
{
public:
    /// The host must outlive the library.
    explicit MediaLibrary(ContentHost& host) : m_host(&host) {}

    /// The file at `base`, decoded, of the root with the ID `prefix`, or nothing, whatever the reason.
    ///
    /// Only a regular file whose name matches the root's patterns is opened. No segment of the base may be empty or
    /// start with a dot. Symlinks below the root are followed unless they lead to a hidden name. Symlinks that lead out
    /// of the root are followed only if the root follows them; names out there may be hidden. Where the kernel cannot
    /// check symlinks while it follows them (before Linux 5.6, and in some sandboxes), none is followed.
    ///
    /// May wait for the disk.
    [[nodiscard]] std::optional<MediaFile> open(const QString& prefix, const QString& base) const;

    /// Whether open() would give this very file, and the file has not changed since it was opened. Does not wait for
    /// the disk: also false if the kernel would have to, or if a symlink leads to the file.
    [[nodiscard]] bool isCurrent(const MediaFile& file, const QString& prefix, const QString& base) const;

private:
    ContentHost* m_host;
};
