#include "support/fifo.h"

#include <QFile>

#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

Fifo::Fifo(const QString& name) : m_name(QFile::encodeName(name))
{
    const int made = mkfifo(m_name.constData(), 0600);
    Q_ASSERT(made == 0);
}

Fifo::~Fifo()
{
    release();
}

void Fifo::waitForReader()
{
    m_fileDescriptor = open(m_name.constData(), O_WRONLY | O_CLOEXEC);
    Q_ASSERT(m_fileDescriptor >= 0);
}

void Fifo::release()
{
    if (m_fileDescriptor >= 0)
        close(std::exchange(m_fileDescriptor, -1));
}
