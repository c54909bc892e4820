#include "stdio/wakeup.h"

#include <sys/eventfd.h>
#include <unistd.h>

Wakeup::Wakeup() : m_fileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    Q_ASSERT(m_fileDescriptor >= 0);
}

Wakeup::~Wakeup()
{
    close(m_fileDescriptor);
}

void Wakeup::wake()
{
    static_cast<void>(eventfd_write(m_fileDescriptor, 1));
}
