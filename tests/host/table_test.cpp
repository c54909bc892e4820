#include "terminal/table.h"

#include "process/displaytext.h"
#include "terminal/roletext.h"

#include "printers.h"

#include <tavo/tavoroles.h>

#include <gtest/gtest.h>

namespace {

constexpr Terminal pipe = {};
constexpr Terminal narrow = {true, 20, false};
constexpr Terminal colourful = {true, 80, true};

Table table(const QList<QStringList>& rows)
{
    Table result({QStringLiteral("A"), QStringLiteral("TITLE")});
    for (const QStringList& row : rows)
        result.addRow(row);
    return result;
}

TEST(Table, ColumnsAreAligned)
{
    EXPECT_EQ(
        table({{QStringLiteral("long cell"), QStringLiteral("x")}, {QStringLiteral("s"), QStringLiteral("y")}})
            .toText(pipe),
        "A          TITLE\nlong cell  x\ns          y\n");
}

TEST(Table, WideCharactersCountTwice)
{
    const QString wide = QString::fromUtf8("\u65e5\u672c");
    EXPECT_EQ(
        table({{wide, QStringLiteral("x")}, {QStringLiteral("abcd"), QStringLiteral("y")}}).toText(pipe),
        "A     TITLE\n" + wide.toUtf8() + "  x\nabcd  y\n");
}

TEST(Table, OneRowIsOneLine)
{
    EXPECT_EQ(
        table({{QStringLiteral("a\nb"), QStringLiteral("\x1b[2J\r")}}).toText(pipe),
        "A     TITLE\na\\nb  \\x1b[2J\\r\n");
}

TEST(Table, NoLineIsWiderThanTheTerminal)
{
    const QStringList row = {QString(30, QLatin1Char('x')), QString::fromUtf8("\u65e5").repeated(20)};
    const QString text = QString::fromUtf8(table({row, row}).toText(narrow));
    for (const QString& line : text.split(QLatin1Char('\n')))
        EXPECT_LE(DisplayText::width(line), narrow.width) << line.toStdString();
    EXPECT_TRUE(text.contains(QChar(0x2026)));
}

TEST(Table, LinesEndWithoutBlanks)
{
    EXPECT_EQ(table({{QStringLiteral("a"), QString()}}).toText(pipe), "A  TITLE\na\n");
}

TEST(Table, ColumnsStayReadableOnATerminalThatIsTooNarrowForThem)
{
    const QStringList row = {QString(30, QLatin1Char('x')), QString(30, QLatin1Char('y'))};
    const QString text = QString::fromUtf8(table({row}).toText({true, 3, false}));
    EXPECT_TRUE(text.contains(QStringLiteral("xxx")) && text.contains(QStringLiteral("yyy"))) << text.toStdString();
}

TEST(Table, PipeGetsEverything)
{
    const QString title(500, QLatin1Char('x'));
    EXPECT_TRUE(table({{QStringLiteral("a"), title}}).toText(pipe).contains(title.toUtf8()));
}

TEST(Table, OnlyAColourfulTerminalGetsColours)
{
    Table rows({QStringLiteral("A")});
    rows.addRow({QStringLiteral("dir/")}, Table::Style::Container);
    rows.addRow({QStringLiteral("file")});
    EXPECT_EQ(rows.toText(narrow), "A\ndir/\nfile\n");
    EXPECT_EQ(rows.toText(colourful), "\x1b[1mA\x1b[0m\n\x1b[1;34mdir/\x1b[0m\nfile\n");
}

TEST(RoleText, ValuesReadAsAPersonWouldSayThem)
{
    EXPECT_EQ(roleText(TavoRoles::ContainerPlayable(), true), QStringLiteral("yes"));
    EXPECT_EQ(roleText(TavoRoles::ContainerPlayable(), false), QStringLiteral("no"));
    EXPECT_EQ(roleText(TavoRoles::Flags(), QVariantHash{{CMFlags::File(), true}}), QStringLiteral("file"));
    EXPECT_EQ(roleText(TavoRoles::Title(), QStringLiteral("x")), QStringLiteral("x"));
    EXPECT_EQ(roleText(QStringLiteral("unknown"), QVariant()), QStringLiteral("-"));
    EXPECT_EQ(roleText(TavoRoles::MediaData(), QVariantHash{{QStringLiteral("a"), 1}}), QStringLiteral("{\"a\":1}"));
}

TEST(RoleText, TimeIsLocal)
{
    qputenv("TZ", "UTC-2");
    EXPECT_EQ(roleText(TavoRoles::Timestamp(), 86400U), QStringLiteral("1970-01-02 02:00:00"));
}

TEST(RoleText, TimeOfNothingIsNoTime)
{
    EXPECT_EQ(roleText(TavoRoles::Timestamp(), 0xFFFFFFFFU), QStringLiteral("-"));
}

TEST(DurationText, HoursAreOnlyShownIfThereAreAny)
{
    EXPECT_EQ(durationText(0), QStringLiteral("0:00"));
    EXPECT_EQ(durationText(61499), QStringLiteral("1:01"));
    EXPECT_EQ(durationText(61500), QStringLiteral("1:02"));
    EXPECT_EQ(durationText(3723000), QStringLiteral("1:02:03"));
    EXPECT_EQ(durationText(QVariant()), QStringLiteral("-"));
}

} // namespace
