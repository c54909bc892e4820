#include "terminal/progressline.h"

#include "language/translatable.h"
#include "process/displaytext.h"
#include "process/output.h"

#include <unistd.h>

namespace {

/// Back to the beginning of the line, which is emptied.
constexpr char lineStart[] = "\r\x1b[K";

QString rateText(int done, qint64 milliseconds)
{
    if (done == 0 || milliseconds == 0)
        return {};
    return translated(QT_TRANSLATE_NOOP("Host", "  %1 files/s"), {QString::number(qint64{done} * 1000 / milliseconds)});
}

} // namespace

ProgressLine::ProgressLine() : m_terminal(Terminal::at(STDERR_FILENO)) {}

ProgressLine::~ProgressLine()
{
    clear();
}

void ProgressLine::show(const QString& text)
{
    if (!m_terminal.isTerminal)
        return;
    // A line as wide as the terminal would wrap on some.
    const QString line = DisplayText::elided(DisplayText::visible(text), m_terminal.width - 1);
    static_cast<void>(writeOutput(STDERR_FILENO, lineStart + line.toUtf8()));
}

void ProgressLine::show(int done, int all, const QString& current)
{
    if (!m_sinceBegin.isValid())
        m_sinceBegin.start();
    const QString rate = rateText(done, m_sinceBegin.elapsed());
    show(translated(
        QT_TRANSLATE_NOOP("Host", "%1 of %2 files%3  %4"),
        {QString::number(done), QString::number(all), rate, current}));
}

void ProgressLine::clear()
{
    if (m_terminal.isTerminal)
        static_cast<void>(writeOutput(STDERR_FILENO, lineStart));
}
