#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// A pipe between threads of the test, or from a program to it.
class Pipe
{
public:
    Pipe();
    ~Pipe();
    /// A new one that lasts as long as the process: a blocked write to it may outlive the test.
    [[nodiscard]] static Pipe& lasting();
    Q_DISABLE_COPY_MOVE(Pipe)

    [[nodiscard]] int readingEnd() const { return m_readingEnd; }
    [[nodiscard]] int writingEnd() const { return m_writingEnd; }

    /// The file name under which a program can open the writing end.
    [[nodiscard]] QString writingFileName() const;

    /// Writes until the pipe takes no more.
    void fill() const;
    /// Writes all bytes; waits for the reader.
    void write(const QByteArray& bytes) const;
    /// Waits for at least one byte; empty at the end.
    [[nodiscard]] QByteArray read() const;
    /// Waits for that many lines, or for the end.
    [[nodiscard]] QList<QByteArray> readLines(int count) const;

    void closeReadingEnd();
    void closeWritingEnd();

private:
    int m_readingEnd = -1;
    int m_writingEnd = -1;
};
