#include "http/filepart.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/uio.h>

namespace {

/// Bytes: looked at or loaded at a time, sent in one turn, and between two probes.
constexpr qint64 window = qint64{1} << 20;
constexpr qint64 turn = qint64{1} << 20;
constexpr qint64 probeDistance = qint64{128} << 10;

/// Whether the byte is in the page cache. If the file system does not know, it is assumed to be on the disk.
bool isResidentAt(int file, qint64 offset)
{
    char byte = 0;
    iovec target = {&byte, 1};
    // Sending reports a failure, or that the file has become shorter.
    return preadv2(file, &target, 1, offset, RWF_NOWAIT) >= 0 || (errno != EAGAIN && errno != EOPNOTSUPP);
}

} // namespace

FilePart::Step FilePart::send(int socket)
{
    if (const std::optional<Step> waiting = sendHead(socket))
        return *waiting;
    const qint64 turnEnd = std::min(m_next + turn, m_end);
    while (m_next < turnEnd) {
        if (m_next >= m_warmEnd) {
            if (!isResident(m_next, windowEnd()))
                return Step::Cold;
            m_warmEnd = windowEnd();
        }
        const auto length = static_cast<std::size_t>(std::min(m_warmEnd, turnEnd) - m_next);
        off64_t offset = m_next;
        const ssize_t sent = sendfile64(socket, m_file->descriptor.get(), &offset, length);
        if (sent == 0)
            return Step::Failed;
        if (sent < 0 && errno != EINTR)
            return errno == EAGAIN ? Step::SocketFull : Step::Failed;
        m_next += std::max(sent, ssize_t{0});
    }
    return m_next < m_end ? Step::Again : Step::Done;
}

std::optional<FilePart::Step> FilePart::sendHead(int socket)
{
    while (!m_head.isEmpty()) {
        // To have one packet with the beginning of the part (MSG_MORE) would make the client read later.
        const auto length = static_cast<std::size_t>(m_head.size());
        const ssize_t sent = ::send(socket, m_head.constData(), length, MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR)
            return errno == EAGAIN ? Step::SocketFull : Step::Failed;
        m_head.remove(0, static_cast<int>(std::max(sent, ssize_t{0})));
    }
    return std::nullopt;
}

void FilePart::load()
{
    const int file = m_file->descriptor.get();
    const qint64 end = windowEnd();
    static_cast<void>(readahead(file, m_next, static_cast<std::size_t>(end - m_next)));
    char byte = 0;
    for (qint64 offset = m_next; offset < end; offset += probeDistance)
        static_cast<void>(!pread64(file, &byte, 1, offset));
    static_cast<void>(!pread64(file, &byte, 1, end - 1));
    m_warmEnd = end;
}

qint64 FilePart::windowEnd() const
{
    return std::min(m_next + window, m_end);
}

bool FilePart::isResident(qint64 from, qint64 to) const
{
    for (qint64 offset = from; offset < to; offset += probeDistance) {
        if (!isResidentAt(m_file->descriptor.get(), offset))
            return false;
    }
    return isResidentAt(m_file->descriptor.get(), to - 1);
}
