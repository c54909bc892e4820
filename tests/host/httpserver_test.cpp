#include "http/httpserver.h"

#include "support/gate.h"
#include "support/rawconnection.h"
#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "keptlog.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

TEST(HttpServer, DoesNotWaitForAnIoThreadThatHangs)
{
    TemporaryTree tree;
    tree.addDirectory(QStringLiteral("root"));
    const auto host = startHost(settingsFor(tree.absolute(QStringLiteral("root"))));
    RequestExecutor executor;
    SharedRequests sharedRequests;
    Gate hangs;
    Gate mayGoOn;
    KeptLog log("tavo.http", log4cplus::INFO_LOG_LEVEL);
    log.setObserver([&](const KeptLog::Line&) {
        hangs.open();
        EXPECT_TRUE(mayGoOn.wait());
    });
    Result<ListeningSocket> socket = ListeningSocket::open({*IpAddress::fromText("127.0.0.1")});
    ASSERT_TRUE(socket);
    RawConnection connection(socket.value().address.port);
    HttpServer::Settings settings;
    settings.sockets.push_back(std::move(socket.value()));
    const auto server = HttpServer::start({*host, executor, sharedRequests}, std::move(settings));
    ASSERT_TRUE(server);
    // The I/O thread logs the answer.
    connection.send("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    ASSERT_TRUE(hangs.wait());
    EXPECT_FALSE(server.value()->stop(std::chrono::milliseconds(1)));
    mayGoOn.open();
}

} // namespace
