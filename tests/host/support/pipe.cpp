#include "pipe.h"

#include <array>
#include <list>

#include <fcntl.h>
#include <unistd.h>

namespace {

void closeOnce(int& fileDescriptor)
{
    if (fileDescriptor >= 0)
        close(fileDescriptor);
    fileDescriptor = -1;
}

} // namespace

Pipe::Pipe()
{
    std::array<int, 2> ends{};
    const int made = pipe2(ends.data(), O_CLOEXEC);
    Q_ASSERT(made == 0);
    m_readingEnd = ends[0];
    m_writingEnd = ends[1];
}

Pipe::~Pipe()
{
    closeReadingEnd();
    closeWritingEnd();
}

Pipe& Pipe::lasting()
{
    static std::list<Pipe> pipes;
    return pipes.emplace_back();
}

QString Pipe::writingFileName() const
{
    return QStringLiteral("/proc/self/fd/%1").arg(m_writingEnd);
}

void Pipe::fill() const
{
    fcntl(m_writingEnd, F_SETFL, O_NONBLOCK);
    while (::write(m_writingEnd, "\n", 1) == 1) {
    }
    fcntl(m_writingEnd, F_SETFL, 0);
}

void Pipe::write(const QByteArray& bytes) const
{
    for (int done = 0; done < bytes.size();) {
        const ssize_t written =
            ::write(m_writingEnd, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        Q_ASSERT(written > 0);
        done += static_cast<int>(written);
    }
}

QByteArray Pipe::read() const
{
    std::array<char, 65536> chunk{};
    const ssize_t size = ::read(m_readingEnd, chunk.data(), chunk.size());
    Q_ASSERT(size >= 0);
    return {chunk.data(), static_cast<int>(size)};
}

QList<QByteArray> Pipe::readLines(int count) const
{
    QByteArray text;
    int ends = 0;
    for (QByteArray more = read(); !more.isEmpty(); more = read()) {
        text += more;
        ends += more.count('\n');
        if (ends >= count)
            break;
    }
    QList<QByteArray> lines = text.split('\n');
    if (lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

void Pipe::closeReadingEnd()
{
    closeOnce(m_readingEnd);
}

void Pipe::closeWritingEnd()
{
    closeOnce(m_writingEnd);
}
