#include "process/displaytext.h"

#include "printers.h"

#include <gtest/gtest.h>

namespace {

using namespace DisplayText;

TEST(DisplayText, ControlCharactersAreSpeltOut)
{
    EXPECT_EQ(visible(QStringLiteral("a\nb\tc\rd")), QStringLiteral("a\\nb\\tc\\rd"));
    EXPECT_EQ(visible(QStringLiteral("\x1b[31m")), QStringLiteral("\\x1b[31m"));
    EXPECT_EQ(visible(QString(QChar(0)) + QChar(0x7F) + QChar(0x9B)), QStringLiteral("\\x00\\x7f\\x9b"));
}

TEST(DisplayText, LineSeparatorsAreSpeltOut)
{
    EXPECT_EQ(visible(QString(QChar(0x2028)) + QChar(0x2029)), QStringLiteral("\\u2028\\u2029"));
}

TEST(DisplayText, ChangesOfTheWritingDirectionAreSpeltOut)
{
    EXPECT_EQ(visible(QStringLiteral("a") + QChar(0x202E) + QStringLiteral("3pm")), QStringLiteral("a\\u202e3pm"));
    EXPECT_EQ(visible(QString(QChar(0x2066)) + QChar(0x200F)), QStringLiteral("\\u2066\\u200f"));
}

TEST(DisplayText, OtherTextStaysAsItIs)
{
    const QString text = QString::fromUtf8("Bj\u00f6rk \u65e5\u672c \U0001F3B5 100% \"#?\\");
    EXPECT_EQ(visible(text), text);
}

TEST(DisplayText, WideCharactersTakeTwoColumns)
{
    EXPECT_EQ(width(QStringLiteral("abc")), 3);
    EXPECT_EQ(width(QString::fromUtf8("\u65e5\u672c")), 4);
    EXPECT_EQ(width(QString::fromUtf8("\uac00")), 2);
    EXPECT_EQ(width(QString::fromUtf8("\U0001F3B5")), 2);
}

TEST(DisplayText, CombiningMarksTakeNone)
{
    EXPECT_EQ(width(QString::fromUtf8("o\u0308")), 1);
    EXPECT_EQ(width(QString::fromUtf8("a\u200bb")), 2);
}

TEST(DisplayText, LongTextEndsInAnEllipsis)
{
    EXPECT_EQ(elided(QStringLiteral("abcdef"), 6), QStringLiteral("abcdef"));
    EXPECT_EQ(elided(QStringLiteral("abcdefg"), 6), QString::fromUtf8("abcde\u2026"));
}

TEST(DisplayText, WideCharactersAreNotCutInTwo)
{
    EXPECT_EQ(elided(QString::fromUtf8("\u65e5\u672c\u8a9e"), 5), QString::fromUtf8("\u65e5\u672c\u2026"));
    EXPECT_EQ(elided(QString::fromUtf8("\u65e5\u672c\u8a9e"), 4), QString::fromUtf8("\u65e5\u2026"));
    EXPECT_EQ(elided(QString::fromUtf8("\U0001F3B5\U0001F3B5\U0001F3B5"), 3), QString::fromUtf8("\U0001F3B5\u2026"));
}

TEST(DisplayText, MarksStayWithTheirLetter)
{
    EXPECT_EQ(elided(QString::fromUtf8("o\u0308xyz"), 3), QString::fromUtf8("o\u0308x\u2026"));
}

} // namespace
