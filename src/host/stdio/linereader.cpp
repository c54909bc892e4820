#include "stdio/linereader.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <poll.h>
#include <unistd.h>

namespace {

constexpr int chunkSize = 65536;

} // namespace

LineReader::LineReader(int fileDescriptor, int limit) : m_fileDescriptor(fileDescriptor), m_limit(limit)
{
    m_buffer.reserve(chunkSize);
}

LineReader::Line LineReader::next()
{
    for (;;) {
        const int newline = m_buffer.indexOf('\n', m_searched);
        const bool isComplete = newline >= 0;
        const int end = isComplete ? newline : m_buffer.size();
        m_searched = end;
        if (m_skipping || end - m_begin > m_limit) {
            const bool isNews = !m_skipping;
            m_skipping = !isComplete;
            skipTo(isComplete ? end + 1 : end);
            if (isNews)
                return {Line::Kind::TooLong};
            if (isComplete)
                continue;
        } else if (isComplete) {
            return {Line::Kind::Text, take(end)};
        }
        if (m_ended)
            return m_begin < end ? Line{Line::Kind::Text, take(end)} : Line{Line::Kind::End};
        fill();
    }
}

QByteArray LineReader::take(int end)
{
    QByteArray text = m_buffer.mid(m_begin, end - m_begin);
    skipTo(std::min(end + 1, m_buffer.size()));
    return text;
}

void LineReader::skipTo(int end)
{
    m_begin = end;
    m_searched = end;
}

void LineReader::fill()
{
    m_buffer.remove(0, m_begin);
    m_searched -= m_begin;
    m_begin = 0;
    const int kept = m_buffer.size();
    m_buffer.resize(kept + chunkSize);
    const ssize_t size = waitAndRead(m_buffer.data() + kept, chunkSize);
    m_ended = size <= 0;
    m_buffer.resize(kept + static_cast<int>(std::max(size, ssize_t(0))));
}

ssize_t LineReader::waitAndRead(char* data, size_t size)
{
    std::array<pollfd, 2> waitedFor = {{{m_fileDescriptor, POLLIN, 0}, {m_cancelled.fileDescriptor(), POLLIN, 0}}};
    while (poll(waitedFor.data(), waitedFor.size(), -1) < 0 && errno == EINTR) {
    }
    if (waitedFor[1].revents != 0)
        return 0;
    ssize_t count = -1;
    do
        count = read(m_fileDescriptor, data, size);
    while (count < 0 && errno == EINTR);
    return count;
}

void LineReader::cancel()
{
    m_cancelled.wake();
}
