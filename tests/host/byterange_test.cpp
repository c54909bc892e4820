#include "media/byterange.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

constexpr qint64 fileSize = 1000;
constexpr std::string_view etag = "\"0123abcd\"";
constexpr qint64 modified = 784111777;

std::string textOf(const ByteRange& range)
{
    switch (range.kind) {
    case ByteRange::Kind::Whole:
        return "whole";
    case ByteRange::Kind::Unsatisfiable:
        return "unsatisfiable";
    case ByteRange::Kind::Part:
        break;
    }
    return std::to_string(range.first) + "-" + std::to_string(range.last);
}

struct Case
{
    std::string header;
    std::string answer;
};

void expectAnswers(const std::vector<Case>& cases, qint64 size = fileSize)
{
    for (const Case& sample : cases)
        EXPECT_EQ(textOf(parseRange(sample.header, size)), sample.answer) << sample.header;
}

TEST(ByteRange, OneRangeIsAPart)
{
    expectAnswers({
        {"bytes=0-0", "0-0"},
        {"bytes=0-499", "0-499"},
        {"bytes=500-999", "500-999"},
        {"bytes=999-999", "999-999"},
        {"bytes=0-", "0-999"},
        {"bytes=999-", "999-999"},
        {"bytes=000-0001", "0-1"},
    });
}

TEST(ByteRange, EndBehindTheFileIsTheFilesEnd)
{
    expectAnswers({
        {"bytes=0-1000", "0-999"},
        {"bytes=990-1000000", "990-999"},
        {"bytes=0-9223372036854775807", "0-999"},
        {"bytes=0-9223372036854775808", "0-999"},
        {"bytes=0-18446744073709551615", "0-999"},
        {"bytes=0-99999999999999999999999999999999999999", "0-999"},
    });
}

TEST(ByteRange, SuffixIsTheFilesLastBytes)
{
    expectAnswers({
        {"bytes=-1", "999-999"},
        {"bytes=-1000", "0-999"},
        {"bytes=-1001", "0-999"},
        {"bytes=-9223372036854775808", "0-999"},
        {"bytes=-99999999999999999999999999999999999999", "0-999"},
    });
}

TEST(ByteRange, RangeBehindTheFileIsUnsatisfiable)
{
    expectAnswers({
        {"bytes=1000-", "unsatisfiable"},
        {"bytes=1000-2000", "unsatisfiable"},
        {"bytes=9223372036854775807-", "unsatisfiable"},
        {"bytes=18446744073709551616-18446744073709551617", "unsatisfiable"},
        {"bytes=-0", "unsatisfiable"},
    });
}

TEST(ByteRange, SeveralRangesAreTheWholeFile)
{
    std::string thousand = "bytes=0-0";
    for (int i = 0; i < 1000; ++i)
        thousand += ",0-0";
    expectAnswers(
        {{"bytes=0-1,3-4", "whole"}, {"bytes=0-1, -1", "whole"}, {"bytes=0-1,", "whole"}, {thousand, "whole"}});
}

TEST(ByteRange, MalformedRangeIsTheWholeFile)
{
    for (const char* header :
         {"",
          "bytes",
          "bytes=",
          "bytes=-",
          "bytes=--1",
          "bytes=5",
          "bytes=2-1",
          "bytes=999-0",
          "bytes=a-b",
          "bytes=0x1-2",
          "bytes=1-2-3",
          "bytes=+1-2",
          "bytes=1 -2",
          "bytes=1- 2",
          "bytes 0-1",
          "bytes =0-1",
          "items=0-1",
          "bytes\x1d"
          "0-1=0-1",
          "=0-1",
          "bytes=1.0-2",
          "bytes=\xd9\xa1-2",
          "bytes=-5-"})
        EXPECT_EQ(textOf(parseRange(header, fileSize)), "whole") << header;
}

TEST(ByteRange, NumberWithNulIsMalformed)
{
    EXPECT_EQ(textOf(parseRange(std::string_view("bytes=0-1\0", 10), fileSize)), "whole");
}

TEST(ByteRange, UnitIsInAnyCaseAndBlanksSurroundTheValue)
{
    expectAnswers({{"Bytes=1-2", "1-2"}, {"BYTES=1-2", "1-2"}, {" \tbytes=1-2 ", "1-2"}, {"bytes= 1-2", "1-2"}});
}

TEST(ByteRange, RangeOfAnEmptyFileIsTheWholeFile)
{
    expectAnswers({{"bytes=0-", "whole"}, {"bytes=-1", "whole"}, {"bytes=0-0", "whole"}}, 0);
}

TEST(ByteRange, LargestFileHasItsLastByte)
{
    constexpr qint64 largest = std::numeric_limits<qint64>::max();
    expectAnswers(
        {{"bytes=-1", "9223372036854775806-9223372036854775806"}, {"bytes=9223372036854775807-", "unsatisfiable"}},
        largest);
    EXPECT_EQ(parseRange("bytes=0-", largest).length(), largest);
}

TEST(IfRange, PresentETagOrDateMatches)
{
    for (const char* header : {"\"0123abcd\"", " \"0123abcd\" ", "Sun, 06 Nov 1994 08:49:37 GMT"})
        EXPECT_TRUE(ifRangeMatches(header, etag, modified)) << header;
}

TEST(IfRange, AnythingElseDoesNot)
{
    for (const char* header :
         {"", "\"0123abce\"", "W/\"0123abcd\"", "0123abcd", "*", "\"0123abcd\", \"x\"", "Sun, 06 Nov 1994 08:49:36 GMT",
          "Sun, 06 Nov 1994 08:49:38 GMT", "Sunday, 06-Nov-94 08:49:37 GMT", "Mon, 06 Nov 1994 08:49:37 GMT"})
        EXPECT_FALSE(ifRangeMatches(header, etag, modified)) << header;
}

TEST(RequestedRange, CountsOnlyForThePresentStateOfTheFile)
{
    const auto asked = [](auto range, auto ifRange) {
        return textOf(requestedRange(range, ifRange, etag, modified, fileSize));
    };
    EXPECT_EQ(asked("bytes=1-2", std::nullopt), "1-2");
    EXPECT_EQ(asked("bytes=1-2", "\"0123abcd\""), "1-2");
    EXPECT_EQ(asked("bytes=1-2", "\"old\""), "whole");
    EXPECT_EQ(asked("bytes=5000-", "\"old\""), "whole");
    EXPECT_EQ(asked("bytes=5000-", std::nullopt), "unsatisfiable");
    EXPECT_EQ(asked(std::nullopt, std::nullopt), "whole");
    EXPECT_EQ(asked(std::nullopt, "\"0123abcd\""), "whole");
}

} // namespace
