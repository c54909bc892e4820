#include "http/conditions.h"
#include "media/httpdate.h"

#include "printers.h"

#include <gtest/gtest.h>

namespace {

constexpr std::time_t modified = 784'111'777;
const QByteArray whenModified = "Sun, 06 Nov 1994 08:49:37 GMT";
const QByteArray before = "Sun, 06 Nov 1994 08:49:36 GMT";

bool isNotModified(std::vector<HeaderField> fields)
{
    return isNotModified(RequestHead{"GET", "/", std::move(fields)}, {"\"tag\"", modified});
}

TEST(Conditions, WithoutOneTheRepresentationIsSent)
{
    EXPECT_FALSE(isNotModified({}));
}

TEST(Conditions, KnownTagIsNotSentAgain)
{
    for (const char* tags :
         {"\"tag\"", "W/\"tag\"", "*", "\"other\", \"tag\"", "\"other\",W/\"tag\"", "\"a, b\" , \"tag\"", ", \"tag\""})
        EXPECT_TRUE(isNotModified({{"If-None-Match", tags}})) << tags;
    EXPECT_TRUE(isNotModified({{"if-none-match", "\"other\""}, {"IF-NONE-MATCH", "\"tag\""}}));
}

TEST(Conditions, UnknownTagIsSent)
{
    for (const char* tags :
         {"", "tag", "\"other\"", "\"TAG\"", "\"tag", "tag\"", "\"a\"tag\"", "\"other, \"tag\"", "\"*\"", "\"tag2\""})
        EXPECT_FALSE(isNotModified({{"If-None-Match", tags}})) << tags;
}

TEST(Conditions, WeakTagEqualsItself)
{
    const RequestHead head{"GET", "/", {{"If-None-Match", "\"tag\""}}};
    EXPECT_TRUE(isNotModified(head, {"W/\"tag\""}));
}

TEST(Conditions, TimeCountsThroughTheSecondOfTheChange)
{
    EXPECT_TRUE(isNotModified({{"If-Modified-Since", whenModified}}));
    EXPECT_TRUE(isNotModified({{"If-Modified-Since", "Mon, 07 Nov 1994 08:49:37 GMT"}}));
    EXPECT_FALSE(isNotModified({{"If-Modified-Since", before}}));
}

TEST(Conditions, TimeDoesNotCountBesideATag)
{
    EXPECT_FALSE(isNotModified({{"If-None-Match", "\"other\""}, {"If-Modified-Since", whenModified}}));
    EXPECT_FALSE(isNotModified({{"If-None-Match", ""}, {"If-Modified-Since", whenModified}}));
    EXPECT_TRUE(isNotModified({{"If-None-Match", "\"tag\""}, {"If-Modified-Since", before}}));
}

TEST(Conditions, MalformedOrRepeatedTimeDoesNotCount)
{
    EXPECT_FALSE(isNotModified({{"If-Modified-Since", "yesterday"}}));
    EXPECT_FALSE(isNotModified({{"If-Modified-Since", whenModified}, {"If-Modified-Since", whenModified}}));
}

TEST(Conditions, UnknownTimeOfChangeNeverMatches)
{
    const RequestHead head{"GET", "/", {{"If-Modified-Since", whenModified}}};
    EXPECT_FALSE(isNotModified(head, {"\"tag\""}));
}

TEST(HttpDate, IsWrittenInOneForm)
{
    EXPECT_EQ(toHttpDate(modified), whenModified);
    EXPECT_EQ(toHttpDate(0), QByteArray("Thu, 01 Jan 1970 00:00:00 GMT"));
    EXPECT_EQ(toHttpDate(-1), QByteArray("Wed, 31 Dec 1969 23:59:59 GMT"));
    EXPECT_EQ(toHttpDate(67'768'036'191'676'799), QByteArray("Wed, 31 Dec 2147485547 23:59:59 GMT"));
}

TEST(HttpDate, IsReadInThree)
{
    for (const char* text :
         {"Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT", "Sun Nov  6 08:49:37 1994"})
        EXPECT_EQ(fromHttpDate(text), modified) << text;
    EXPECT_EQ(fromHttpDate("Tuesday, 01-Jan-30 00:00:00 GMT"), 1'893'456'000);
}

TEST(HttpDate, OtherTextsAreNone)
{
    for (const char* text :
         {"", "0", "784111777", "1994-11-06T08:49:37Z", "Sun, 06 Nov 1994 08:49:37", "Sun, 06 Nov 1994 08:49:37 CET",
          "Sun, 31 Feb 1994 08:49:37 GMT", "Sun, 06 Nov 1994 25:49:37 GMT"})
        EXPECT_FALSE(fromHttpDate(text)) << text;
    EXPECT_FALSE(fromHttpDate({}));
    EXPECT_FALSE(fromHttpDate(whenModified + QByteArray(1, '\0')));
}

} // namespace
