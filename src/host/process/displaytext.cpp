#include "process/displaytext.h"

#include <algorithm>
#include <array>

namespace {

struct Range
{
    uint first;
    uint last;
};

/// Blocks whose characters take two columns.
constexpr std::array<Range, 22> wideRanges = {
    {{0x1100, 0x115F},   {0x231A, 0x231B},   {0x2329, 0x232A},   {0x23E9, 0x23EC},  {0x25FD, 0x25FE}, {0x2614, 0x2615},
     {0x2648, 0x2653},   {0x26C4, 0x26C5},   {0x2E80, 0x303E},   {0x3041, 0x4DBF},  {0x4E00, 0xA4CF}, {0xA960, 0xA97C},
     {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE10, 0xFE19},   {0xFE30, 0xFE6F},  {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6},
     {0x17000, 0x18CFF}, {0x1B000, 0x1B2FF}, {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}}};

bool isWide(uint codePoint)
{
    return std::any_of(wideRanges.cbegin(), wideRanges.cend(), [codePoint](const Range& range) {
        return codePoint >= range.first && codePoint <= range.last;
    });
}

int columnsOf(uint codePoint)
{
    switch (QChar::category(codePoint)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
        return 0;
    default:
        return isWide(codePoint) ? 2 : 1;
    }
}

/// The code point at `index` and how many units it takes.
struct CodePoint
{
    uint value;
    int units;
};

CodePoint codePointAt(const QString& text, int index)
{
    const QChar unit = text.at(index);
    if (unit.isHighSurrogate() && index + 1 < text.size() && text.at(index + 1).isLowSurrogate())
        return {QChar::surrogateToUcs4(unit, text.at(index + 1)), 2};
    return {unit.unicode(), 1};
}

bool isDirectionChange(QChar c)
{
    const ushort unit = c.unicode();
    return unit == 0x061C || unit == 0x200E || unit == 0x200F || (unit >= 0x202A && unit <= 0x202E) ||
           (unit >= 0x2066 && unit <= 0x2069);
}

bool isObeyed(QChar c)
{
    switch (c.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return isDirectionChange(c);
    }
}

QString spelt(QChar c)
{
    switch (c.unicode()) {
    case '\n':
        return QStringLiteral("\\n");
    case '\r':
        return QStringLiteral("\\r");
    case '\t':
        return QStringLiteral("\\t");
    default:
        return c.unicode() < 0x100 ? QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'))
                                   : QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
    }
}

} // namespace

QString DisplayText::visible(const QString& text)
{
    if (std::none_of(text.cbegin(), text.cend(), isObeyed))
        return text;
    QString result;
    for (const QChar c : text)
        result += isObeyed(c) ? spelt(c) : QString(c);
    return result;
}

int DisplayText::width(const QString& text)
{
    int columns = 0;
    for (int i = 0; i < text.size();) {
        const CodePoint codePoint = codePointAt(text, i);
        columns += columnsOf(codePoint.value);
        i += codePoint.units;
    }
    return columns;
}

QString DisplayText::elided(const QString& text, int width)
{
    if (DisplayText::width(text) <= width)
        return text;
    int columns = 0;
    int end = 0;
    while (end < text.size()) {
        const CodePoint codePoint = codePointAt(text, end);
        columns += columnsOf(codePoint.value);
        if (columns > width - 1)
            break;
        end += codePoint.units;
    }
    return text.left(end) + QChar(0x2026);
}
