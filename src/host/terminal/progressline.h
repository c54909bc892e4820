#pragma once

#include "terminal/terminal.h"

#include <QElapsedTimer>
#include <QString>

/// A line on standard error that shows the progress of something. Shows nothing if that is no terminal.
class ProgressLine
{
public:
    ProgressLine();
    /// Leaves no trace.
    ~ProgressLine();
    Q_DISABLE_COPY_MOVE(ProgressLine)

    /// Shows the text alone.
    void show(const QString& text);
    /// Shows the files done, their total, the speed, and the current work. The first call starts the clock.
    void show(int done, int all, const QString& current);
    void clear();

private:
    const Terminal m_terminal;
    QElapsedTimer m_sinceBegin;
};
