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

    /// The file name of the end that the program opens.
    [[nodiscard]] QString fileName() const;
    /// As if somebody typed it.
    void type(const QByteArray& text) const;
    /// Everything written, without carriage returns. Returns when the other end is closed.
    [[nodiscard]] QByteArray readAll() const;
    /// Returns as soon as the output contains the text, or everything if it never does.
    [[nodiscard]] QByteArray readUntil(const QByteArray& text) const;

private:
    int m_fileDescriptor;
};
