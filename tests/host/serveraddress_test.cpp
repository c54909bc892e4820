#include "remote/serveraddress.h"

#include "printers.h"

#include <gtest/gtest.h>

namespace {

ServerAddress addressFrom(const char* url)
{
    const Result<ServerAddress> address = ServerAddress::fromUrl(QString::fromUtf8(url));
    EXPECT_TRUE(address) << url;
    return address ? address.value() : ServerAddress();
}

QString readAndWritten(const char* url)
{
    return addressFrom(url).toUrl();
}

TEST(ServerAddress, ReadsHostAndPort)
{
    EXPECT_EQ(addressFrom("http://music.local:8420/").host, "music.local");
    EXPECT_EQ(addressFrom("http://music.local:8420").port, 8420);
    EXPECT_EQ(addressFrom("http://music.local:8420").folder, "");
    EXPECT_EQ(addressFrom("http://music.local").port, 80);
    EXPECT_EQ(addressFrom("http://[::1]:1/").host, "::1");
    EXPECT_EQ(addressFrom("HTTP://Music.Local/").host, "music.local");
    EXPECT_EQ(addressFrom("http://m\xc3\xbcsik.local/").host, "xn--msik-0ra.local");
}

TEST(ServerAddress, ProxyMayServeBelowAFolder)
{
    EXPECT_EQ(addressFrom("http://home.example/music/").folder, "/music");
    EXPECT_EQ(addressFrom("http://home.example/my%20music").folder, "/my%20music");
    EXPECT_EQ(addressFrom("http://home.example/music//").folder, "/music");
}

TEST(ServerAddress, IsWrittenAsAUrl)
{
    EXPECT_EQ(readAndWritten("http://127.0.0.1:8420"), QStringLiteral("http://127.0.0.1:8420/"));
    EXPECT_EQ(readAndWritten("http://[::1]:8420/a"), QStringLiteral("http://[::1]:8420/a/"));
    EXPECT_EQ(readAndWritten("http://home.example:80/"), QStringLiteral("http://home.example/"));
    EXPECT_EQ(addressFrom("http://[::1]:8420/a").hostField(), "[::1]:8420");
    EXPECT_EQ(addressFrom("http://home.example/a").hostField(), "home.example");
}

TEST(ServerAddress, RefusesEverythingElse)
{
    for (const char* url :
         {"",
          "/",
          "music.local",
          "127.0.0.1:8420",
          "localhost:8420",
          "http://",
          "http:///",
          "http://:8420/",
          "http://a:0/",
          "http://a:65536/",
          "http://a:x/",
          "http://user@a/",
          "http://a/?b",
          "http://a/#b",
          "ftp://a/",
          "ws://a/",
          "http://a b/",
          "http://a\r\nb/",
          "http://a/b c/",
          "http://a/b\r\nc"})
        EXPECT_FALSE(ServerAddress::fromUrl(QString::fromUtf8(url))) << url;
}

TEST(ServerAddress, SaysThatHttpsIsNotSpoken)
{
    const Result<ServerAddress> address = ServerAddress::fromUrl(QStringLiteral("https://home.example/"));
    ASSERT_FALSE(address);
    EXPECT_TRUE(address.failure().message.toString().contains(QStringLiteral("needs https")));
}

} // namespace
