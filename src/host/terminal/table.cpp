#include "terminal/table.h"

#include "process/displaytext.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr int gap = 2;
constexpr int narrowest = 4;

QStringList visible(const QStringList& cells)
{
    QStringList texts;
    texts.reserve(cells.size());
    for (const QString& cell : cells)
        texts.append(DisplayText::visible(cell));
    return texts;
}

QString line(const QStringList& cells, const QVector<int>& widths)
{
    QString text;
    for (int i = 0; i < cells.size(); ++i) {
        const QString cell = DisplayText::elided(cells.at(i), widths.at(i));
        text += cell;
        if (i + 1 < cells.size())
            text += QString(widths.at(i) - DisplayText::width(cell) + gap, QLatin1Char(' '));
    }
    while (text.endsWith(QLatin1Char(' ')))
        text.chop(1);
    return text;
}

QByteArray coloured(const QByteArray& text, const char* colour)
{
    return QByteArray("\x1b[") + colour + 'm' + text + "\x1b[0m";
}

} // namespace

const char* Table::colourOf(Style style)
{
    switch (style) {
    case Style::Plain:
        break;
    case Style::Container:
        return "1;34";
    case Style::Current:
        return "1";
    }
    return nullptr;
}

Table::Table(const QStringList& headings) : m_headings(headings)
{
    for (const QString& heading : headings)
        m_widths.append(DisplayText::width(heading));
}

void Table::addRow(const QStringList& cells, Style style)
{
    Q_ASSERT(cells.size() == m_headings.size());
    m_rows.append({visible(cells), style});
    for (int i = 0; i < cells.size(); ++i)
        m_widths[i] = std::max(m_widths.at(i), DisplayText::width(m_rows.last().cells.at(i)));
}

QVector<int> Table::columnWidths(int limit) const
{
    QVector<int> widths = m_widths;
    int excess = std::accumulate(widths.cbegin(), widths.cend(), gap * (widths.size() - 1)) - limit;
    if (limit == 0)
        return widths;
    for (; excess > 0; --excess) {
        int& widest = *std::max_element(widths.begin(), widths.end());
        if (widest <= narrowest)
            break;
        --widest;
    }
    return widths;
}

QByteArray Table::toText(const Terminal& terminal) const
{
    const QVector<int> widths = columnWidths(terminal.width);
    const QByteArray heading = line(m_headings, widths).toUtf8();
    QByteArray text = (terminal.colours ? coloured(heading, "1") : heading) + '\n';
    for (const Row& row : m_rows) {
        const QByteArray cells = line(row.cells, widths).toUtf8();
        const char* const colour = terminal.colours ? colourOf(row.style) : nullptr;
        text += colour ? coloured(cells, colour) : cells;
        text += '\n';
    }
    return text;
}
