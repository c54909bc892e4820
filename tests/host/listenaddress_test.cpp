#include "http/listeningsocket.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

QByteArray readAndWritten(const char* text)
{
    const Result<ListenAddress> address = ListenAddress::fromText(QString::fromLatin1(text));
    return address ? address.value().toText() : QByteArray();
}

TEST(ListenAddress, ReadsAddressAndPort)
{
    EXPECT_EQ(readAndWritten("127.0.0.1:8420"), "127.0.0.1:8420");
    EXPECT_EQ(readAndWritten("0.0.0.0:0"), "0.0.0.0:0");
    EXPECT_EQ(readAndWritten("[::1]:65535"), "[::1]:65535");
    EXPECT_EQ(readAndWritten("[0:0::0]:1"), "[::]:1");
}

TEST(ListenAddress, RefusesEverythingElse)
{
    for (const char* text :
         {"", ":", "8420", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:x", "::1:8420",
          "[::1]", "[127.0.0.1]:1", "[]:1", "localhost:8420", "[::1:8420"})
        EXPECT_FALSE(ListenAddress::fromText(QString::fromLatin1(text))) << text;
}

TEST(ListeningSocket, GetsAFreePort)
{
    const Result<ListeningSocket> socket = ListeningSocket::open({*IpAddress::fromText("127.0.0.1"), 0});
    ASSERT_TRUE(socket);
    EXPECT_NE(socket.value().address.port, 0);
    EXPECT_TRUE(socket.value().address.address.isLoopback());
}

TEST(ListeningSocket, NamesTheAddressThatIsTaken)
{
    const Result<ListeningSocket> first = ListeningSocket::open({*IpAddress::fromText("::1"), 0});
    ASSERT_TRUE(first);
    const Result<ListeningSocket> second = ListeningSocket::open(first.value().address);
    ASSERT_FALSE(second);
    const QString address = QString::fromLatin1(first.value().address.toText());
    EXPECT_TRUE(second.failure().message.toString().contains(address))
        << second.failure().message.toString().toStdString();
}

TEST(ListeningSocket, TakesNoOtherDescriptor)
{
    EXPECT_FALSE(ListeningSocket::adopt(FileDescriptor(dup(0))));
}

} // namespace
