#include "http/ipaddress.h"

#include "printers.h"

#include <gtest/gtest.h>

namespace {

IpAddress address(const char* text)
{
    const std::optional<IpAddress> found = IpAddress::fromText(text);
    EXPECT_TRUE(found) << text;
    return found.value_or(IpAddress());
}

TEST(IpAddress, IsWrittenInItsShortestForm)
{
    const struct
    {
        const char* text;
        const char* shortest;
    } cases[] = {
        {"127.0.0.1", "127.0.0.1"},
        {"::1", "::1"},
        {"::", "::"},
        {"0:0:0:0:0:0:0:1", "::1"},
        {"2001:DB8:0:0::7", "2001:db8::7"},
        {"::ffff:192.168.1.5", "192.168.1.5"},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(address(expected.text).toText(), QByteArray(expected.shortest));
}

TEST(IpAddress, OtherTextsAreNone)
{
    for (const char* text :
         {"", "localhost", "127.1", "0x7f.0.0.1", "0177.0.0.1", "1.2.3.4.5", "1.2.3.256", " 1.2.3.4", "1.2.3.4 ",
          "[::1]", "::1%lo", "1.2.3.4:80", ":::"})
        EXPECT_FALSE(IpAddress::fromText(text)) << text;
    EXPECT_FALSE(IpAddress::fromText(std::string_view("1.2.3.4\0x", 9)));
}

TEST(IpAddress, MappedAddressEqualsTheOriginal)
{
    EXPECT_EQ(address("::ffff:1.2.3.4"), address("1.2.3.4"));
    EXPECT_EQ(qHash(address("::ffff:1.2.3.4")), qHash(address("1.2.3.4")));
    EXPECT_NE(address("::1.2.3.4"), address("1.2.3.4"));
}

TEST(IpAddress, KnowsLoopback)
{
    for (const char* text : {"127.0.0.1", "127.8.9.10", "::1", "::ffff:127.0.0.1"})
        EXPECT_TRUE(address(text).isLoopback()) << text;
    for (const char* text : {"0.0.0.0", "::", "128.0.0.1", "192.168.1.5", "::2", "::127.0.0.1", "fe80::1"})
        EXPECT_FALSE(address(text).isLoopback()) << text;
}

TEST(IpAddress, SiteOfVersion6HasHalfOfTheBits)
{
    EXPECT_EQ(address("2001:db8:1:2:3:4:5:6").site(), address("2001:db8:1:2::"));
    EXPECT_EQ(address("192.168.1.5").site(), address("192.168.1.5"));
}

} // namespace
