#pragma once

#include "stdio/wakeup.h"

#include <QByteArray>

/// Reads lines from a file descriptor, waiting for them. For one thread at a time, but for cancel().
class LineReader
{
public:
    struct Line
    {
        enum class Kind {
            Text,
            /// Was longer than the limit; its text is dropped.
            TooLong,
            /// The input has ended, or reading was cancelled.
            End
        };

        Kind kind;
        /// Without the newline.
        QByteArray text = {};
    };

    /// `limit`: bytes that a line may have. The descriptor stays the caller's.
    LineReader(int fileDescriptor, int limit);

    [[nodiscard]] int limit() const { return m_limit; }
    /// A last line needs no newline.
    [[nodiscard]] Line next();
    /// From any thread: nothing more is read; next() gives the end once it has given what was read before.
    void cancel();

private:
    [[nodiscard]] QByteArray take(int end);
    /// Forgets all that comes before `end`; the next line begins behind it.
    void skipTo(int end);
    /// Waits for more input, or for its end.
    void fill();
    [[nodiscard]] ssize_t waitAndRead(char* data, size_t size);

    int m_fileDescriptor;
    int m_limit;
    Wakeup m_cancelled;
    QByteArray m_buffer;
    /// Where the line begins in the buffer, and from where on a newline is to be looked for.
    int m_begin = 0;
    int m_searched = 0;
    /// The rest of a line that is too long is being passed over.
    bool m_skipping = false;
    bool m_ended = false;
};
