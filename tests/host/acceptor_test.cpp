#include "http/acceptor.h"

#include "http/iothread.h"

#include "support/gate.h"
#include "support/rawconnection.h"

#include <gtest/gtest.h>

#include <new>

namespace {

TEST(Acceptor, GoesOnAfterAConnectionThatCannotBeTaken)
{
    Result<ListeningSocket> socket =
        ListeningSocket::open(ListenAddress::fromText(QStringLiteral("127.0.0.1:0")).value());
    ASSERT_TRUE(socket);
    const quint16 port = socket.value().address.port;
    Gate accepted;
    int connections = 0;
    IoThread io;
    const Acceptor acceptor(io, std::move(socket.value()), [&](const FileDescriptor&, const Connection&) {
        if (++connections == 1)
            throw std::bad_alloc();
        accepted.open();
    });
    RawConnection first(port);
    EXPECT_TRUE(first.isClosedByPeer());
    const RawConnection second(port);
    EXPECT_TRUE(accepted.wait());
    io.stop();
}

} // namespace
