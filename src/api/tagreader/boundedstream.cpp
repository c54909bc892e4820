#include "boundedstream_p.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// No recording is longer. TagLib walks through a file's whole length even where it can read nothing.
constexpr long longestFile = 1L << 34;
/// TagLib reads nested containers by recursion: this is enough for a thousand levels, and real files have ten.
constexpr long deepestStack = 256L * 1024;

bool isReadable(const struct stat& file)
{
    return S_ISREG(file.st_mode) && file.st_size <= longestFile;
}

/// Checks the file before opening it, since opening a device or a pipe can have effects by itself. Returns -1 for
/// anything but a regular file.
int openRegularFile(const QByteArray& path, long& length)
{
    const char* name = path.constData();
    struct stat file = {};
    // Truncated at a null byte, the path would name another file.
    if (path.contains('\0') || stat(name, &file) != 0 || !isReadable(file))
        return -1;
    // If it has become a pipe in the meantime, the flags keep open() from waiting.
    const int descriptor = open(name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return -1;
    if (fstat(descriptor, &file) != 0 || !isReadable(file)) {
        close(descriptor);
        return -1;
    }
    length = file.st_size;
    return descriptor;
}

/// Returns -1 for anything but a regular file.
int duplicateOf(int descriptor, long& length)
{
    struct stat file = {};
    if (fstat(descriptor, &file) != 0 || !isReadable(file))
        return -1;
    length = file.st_size;
    return fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
}

const char* stackPosition()
{
    return static_cast<const char*>(__builtin_frame_address(0));
}

} // namespace

BoundedStream::BoundedStream(QByteArray name)
    : m_name(std::move(name)), m_descriptor(openRegularFile(m_name, m_length)), m_stack(stackPosition()),
      m_request(CMRequestContext::current())
{
}

BoundedStream::BoundedStream(int descriptor)
    : m_descriptor(duplicateOf(descriptor, m_length)), m_stack(stackPosition()), m_request(CMRequestContext::current())
{
}

BoundedStream::~BoundedStream()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

TagLib::ByteVector BoundedStream::readBlock(unsigned long length)
{
    length = allowedLength(length);
    if (length == 0 || (m_request && m_request->isCancelled()))
        return {};
    TagLib::ByteVector block = length <= shortBlock ? readThroughWindow(length) : readDirectly(length);
    m_position += static_cast<long>(block.size());
    return block;
}

unsigned long BoundedStream::allowedLength(unsigned long wanted)
{
    if (!isOpen() || m_position >= m_length || m_left.reads == 0 || std::abs(stackPosition() - m_stack) > deepestStack)
        return 0;
    const auto rest = static_cast<unsigned long>(m_length - m_position);
    unsigned long length = std::min({wanted, rest, m_left.block, m_left.total});
    if (length <= shortBlock) {
        length = std::min(length, m_left.searched);
        m_left.searched -= length;
    }
    m_left.total -= length;
    --m_left.reads;
    return length;
}

TagLib::ByteVector BoundedStream::readThroughWindow(unsigned long length)
{
    const Window& window = windowOver(m_position, m_position + static_cast<long>(length));
    const auto offset = static_cast<unsigned long>(m_position - window.start);
    if (offset >= window.length)
        return {};
    return {window.bytes.data() + offset, static_cast<unsigned int>(std::min(length, window.length - offset))};
}

const BoundedStream::Window& BoundedStream::windowOver(long start, long end)
{
    for (size_t i = 0; i < m_windows.size(); ++i) {
        const Window& window = m_windows[i];
        if (start >= window.start && end <= window.start + static_cast<long>(window.length)) {
            m_lastWindow = i;
            return window;
        }
    }
    m_lastWindow = 1 - m_lastWindow;
    Window& window = m_windows[m_lastWindow];
    window.start = start - start % static_cast<long>(shortBlock);
    window.length = readAt(window.start, window.bytes.data(), window.bytes.size());
    return window;
}

TagLib::ByteVector BoundedStream::readDirectly(unsigned long length) const
{
    TagLib::ByteVector block(static_cast<unsigned int>(length), '\0');
    block.resize(static_cast<unsigned int>(readAt(m_position, block.data(), length)));
    return block;
}

unsigned long BoundedStream::readAt(long position, char* to, unsigned long length) const
{
    unsigned long done = 0;
    while (done < length) {
        const ssize_t count = pread(m_descriptor, to + done, length - done, position + static_cast<long>(done));
        if (count <= 0 && !(count < 0 && errno == EINTR))
            break;
        done += count > 0 ? static_cast<unsigned long>(count) : 0;
    }
    return done;
}

void BoundedStream::seek(long offset, Position from)
{
    const long base = from == Beginning ? 0 : from == Current ? m_position : m_length;
    long position = 0;
    // As in a file, an invalid position changes nothing.
    if (!__builtin_add_overflow(base, offset, &position) && position >= 0)
        m_position = position;
}
