#include "http/accesslog.h"

#include "printers.h"

#include <gtest/gtest.h>

namespace {

TEST(AccessLine, NamesRequestAndAnswer)
{
    const Access access{"GET", "/media/file/a%20b.mp3",           206,
                        65536, std::chrono::microseconds(12'900), *IpAddress::fromText("192.168.1.5")};
    EXPECT_EQ(accessLine(access), QByteArray("GET /media/file/a%20b.mp3 206 65536 12ms 192.168.1.5"));
}

TEST(AccessLine, LeavesTheQueryOut)
{
    const Access access{"GET", "/session?token=secret", 101, 0, {}, {}};
    EXPECT_EQ(accessLine(access), QByteArray("GET /session 101 0 0ms ::"));
}

TEST(AccessLine, WithoutARequestHasItsPlaces)
{
    const Access access{"", "", 408, 0, {}, {}};
    EXPECT_EQ(accessLine(access), QByteArray("- - 408 0 0ms ::"));
}

TEST(AccessLine, IsOneLineWhateverWasSent)
{
    const Access access{"GET\n", "/\r\nGET /forged\x1B[2J\xE2\x80\xAE", 400, 0, {}, {}};
    EXPECT_EQ(accessLine(access), QByteArray("GET%0A /%0D%0AGET%20/forged%1B[2J%E2%80%AE 400 0 0ms ::"));
}

} // namespace
