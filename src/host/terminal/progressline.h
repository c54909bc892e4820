#pragma once

#include "terminal/terminal.h"

#include <QElapsedTimer>
#include <QString>

/// One line on standard error that tells how far something is; nothing at all where that is no terminal.
class ProgressLine
{
public:
    ProgressLine();
    /// Leaves no trace.
    ~ProgressLine();
    Q_DISABLE_COPY_MOVE(ProgressLine)

    /// Shows the text alone.
    void show(const QString& text);
    /// Shows how many files of how many are done, how fast it goes, and what is at work now. The first call begins.
    void show(int done, int all, const QString& current);
    void clear();

private:
    const Terminal m_terminal;
    QElapsedTimer m_sinceBegin;
};
