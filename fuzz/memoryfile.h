#pragma once

#include "check.h"

#include <QByteArray>

#include <cstddef>

#include <sys/mman.h>
#include <unistd.h>

/// A file in memory without a name. setContent() sets the descriptor's position to the start.
class MemoryFile
{
public:
    MemoryFile() : m_descriptor(memfd_create("fuzz", MFD_CLOEXEC)) { FUZZ_CHECK(m_descriptor >= 0); }
    ~MemoryFile() { close(m_descriptor); }
    Q_DISABLE_COPY_MOVE(MemoryFile)

    [[nodiscard]] int descriptor() const { return m_descriptor; }

    void setContent(const void* content, size_t size) const
    {
        FUZZ_CHECK(lseek(m_descriptor, 0, SEEK_SET) == 0 && ftruncate(m_descriptor, 0) == 0);
        FUZZ_CHECK(pwrite(m_descriptor, content, size, 0) == static_cast<ssize_t>(size));
    }

    [[nodiscard]] QByteArray content() const
    {
        QByteArray content(static_cast<int>(lseek(m_descriptor, 0, SEEK_END)), '\0');
        FUZZ_CHECK(pread(m_descriptor, content.data(), static_cast<size_t>(content.size()), 0) == content.size());
        return content;
    }

private:
    const int m_descriptor;
};
