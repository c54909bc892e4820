#pragma once

#include "terminal/terminal.h"

#include <QByteArray>
#include <QStringList>
#include <QVector>

/// Rows of text in aligned columns, one row a line whatever the texts hold.
class Table
{
public:
    enum class Style { Plain, Container, Current };

    explicit Table(const QStringList& headings);

    /// One cell for each heading.
    void addRow(const QStringList& cells, Style style = Style::Plain);
    /// UTF-8. Where the terminal is too narrow, the widest columns give way.
    [[nodiscard]] QByteArray toText(const Terminal& terminal) const;

private:
    struct Row
    {
        QStringList cells;
        Style style;
    };

    /// As in the terminal's escape sequence; null: the usual one.
    [[nodiscard]] static const char* colourOf(Style style);
    [[nodiscard]] QVector<int> columnWidths(int limit) const;

    QStringList m_headings;
    QVector<Row> m_rows;
    QVector<int> m_widths;
};
