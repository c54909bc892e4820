#include "support/terminal.h"

#include <array>
#include <cstdlib>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

PseudoTerminal::PseudoTerminal(int columns) : m_fileDescriptor(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
{
    const bool ready = grantpt(m_fileDescriptor) == 0 && unlockpt(m_fileDescriptor) == 0;
    Q_ASSERT(ready);
    const winsize size{24, static_cast<unsigned short>(columns), 0, 0};
    ioctl(m_fileDescriptor, TIOCSWINSZ, &size);
}

PseudoTerminal::~PseudoTerminal()
{
    close(m_fileDescriptor);
}

QString PseudoTerminal::fileName() const
{
    std::array<char, 64> name{};
    ptsname_r(m_fileDescriptor, name.data(), name.size());
    return QString::fromLocal8Bit(name.data());
}

void PseudoTerminal::type(const QByteArray& text) const
{
    const ssize_t written = write(m_fileDescriptor, text.constData(), static_cast<std::size_t>(text.size()));
    Q_ASSERT(written == text.size());
}

QByteArray PseudoTerminal::readAll() const
{
    // No text holds it.
    return readUntil(QByteArray("\0\0", 2));
}

QByteArray PseudoTerminal::readUntil(const QByteArray& text) const
{
    QByteArray all;
    std::array<char, 4096> chunk{};
    while (!all.contains(text)) {
        const ssize_t size = read(m_fileDescriptor, chunk.data(), chunk.size());
        if (size <= 0)
            break;
        all.append(chunk.data(), static_cast<int>(size));
    }
    return all.replace("\r\n", "\n");
}
