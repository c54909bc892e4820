#pragma once

#include <QByteArray>
#include <QString>

/// A FIFO by which a test holds up who reads it.
class Fifo
{
public:
    explicit Fifo(const QString& name);
    /// Releases the reader.
    ~Fifo();
    Q_DISABLE_COPY_MOVE(Fifo)

    /// Waits until somebody has begun to read.
    void waitForReader();
    /// The reader reaches the end.
    void release();

private:
    QByteArray m_name;
    int m_fileDescriptor = -1;
};
