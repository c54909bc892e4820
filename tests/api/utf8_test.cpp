#include "tavo/tavoutf8.h"

#include "printers.h"

#include <gtest/gtest.h>

namespace {

QString decoded(const QByteArray& bytes)
{
    return TavoUtf8::decode(bytes.constData(), bytes.size());
}

TEST(Utf8, DecodesLikeQt)
{
    for (const char* bytes : {"", "a", "\xC3\xA4", "\xE6\x97\xA5\xE6\x9C\xAC", "\xEF", "\xEF\xBB", "\xFF x"})
        EXPECT_EQ(decoded(bytes), QString::fromUtf8(bytes)) << bytes;
}

TEST(Utf8, KeepsAByteOrderMarkWhereverItStands)
{
    const QString mark = QChar(QChar::ByteOrderMark);
    for (const QString& text : {mark, mark + "x", mark + mark + "x", "x" + mark})
        EXPECT_EQ(decoded(text.toUtf8()), text);
}

TEST(Utf8, ReadsNoFurtherThanTheSize)
{
    EXPECT_EQ(TavoUtf8::decode("abc", 2), "ab");
    EXPECT_EQ(TavoUtf8::decode("\xEF\xBB\xBFx", 2), QString::fromUtf8("\xEF\xBB"));
    EXPECT_EQ(TavoUtf8::decode("abc", 0), QString());
}

} // namespace
