#pragma once

#include "media/medialibrary.h"

#include <memory>
#include <optional>

/// A part of an open file that is sent to a client behind a head, without a copy in this process.
class FilePart
{
public:
    enum class Step {
        /// All is sent.
        Done,
        /// Call send() again when others have had their turn.
        Again,
        /// Call send() again when the socket takes more.
        SocketFull,
        /// The next bytes are on the disk: call load() in a thread that may wait, then send() again.
        Cold,
        /// The client is gone, or the file has become shorter.
        Failed
    };

    /// `first`: offset in the file. `length`: bytes, at least 1.
    FilePart(std::shared_ptr<const MediaFile> file, qint64 first, qint64 length)
        : m_file(std::move(file)), m_first(first), m_next(first), m_end(first + length)
    {
    }

    [[nodiscard]] qint64 length() const { return m_end - m_first; }
    /// Bytes of the file.
    [[nodiscard]] qint64 sent() const { return m_next - m_first; }

    /// Is sent before the part. Call before send().
    void setHead(QByteArray head) { m_head = std::move(head); }
    /// Sends bytes from the page cache to the socket, which must not block. Does not wait for the disk.
    [[nodiscard]] Step send(int socket);
    /// Reads the next bytes into the page cache. Waits for the disk.
    void load();

private:
    /// Nothing if all of it is sent.
    [[nodiscard]] std::optional<Step> sendHead(int socket);
    [[nodiscard]] qint64 windowEnd() const;
    [[nodiscard]] bool isResident(qint64 from, qint64 to) const;

    std::shared_ptr<const MediaFile> m_file;
    /// The rest that has not been sent.
    QByteArray m_head;
    qint64 m_first;
    qint64 m_next;
    qint64 m_end;
    /// The bytes before it are assumed to be in the page cache.
    qint64 m_warmEnd = 0;
};
