#pragma once

#include <utility>

#include <unistd.h>

/// Owns a file descriptor and closes it at the end.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    /// Takes a new descriptor; a negative one is none.
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        reset(other.release());
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    /// Negative if there is none.
    [[nodiscard]] int get() const { return m_descriptor; }
    /// Leaves the descriptor to the caller.
    [[nodiscard]] int release() { return std::exchange(m_descriptor, -1); }

private:
    void reset(int descriptor = -1)
    {
        const int previous = std::exchange(m_descriptor, descriptor);
        if (previous >= 0)
            close(previous);
    }

    int m_descriptor = -1;
};
