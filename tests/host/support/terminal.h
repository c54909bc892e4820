#pragma once

#include <QByteArray>
#include <QString>

/// A terminal for programs to write to, held by the test.
class PseudoTerminal
{
public:
    explicit PseudoTerminal(int columns);
    ~PseudoTerminal();
    Q_DISABLE_COPY_MOVE(PseudoTerminal)

    /// Of the end that the program opens.
    [[nodiscard]] QString fileName() const;
    /// What has been written, carriage returns left out, once nobody has the other end open any more.
    [[nodiscard]] QByteArray readAll() const;
    /// As soon as it holds the given text; everything if it never does.
    [[nodiscard]] QByteArray readUntil(const QByteArray& text) const;

private:
    int m_fileDescriptor;
};
