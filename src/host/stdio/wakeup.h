#pragma once

#include <QtGlobal>

/// Makes a file descriptor readable, for threads that wait for descriptors. Thread-safe.
class Wakeup
{
public:
    Wakeup();
    ~Wakeup();
    Q_DISABLE_COPY_MOVE(Wakeup)

    /// Readable from the first wake() on.
    [[nodiscard]] int fileDescriptor() const { return m_fileDescriptor; }
    void wake();

private:
    int m_fileDescriptor;
};
