#include "http/remoteclient.h"

#include "support/gate.h"
#include "support/memorysink.h"
#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <utility>

namespace {

/// A sink that holds its first message up.
class SlowSink : public MemorySink
{
public:
    void send(Message message) override
    {
        called.open();
        EXPECT_TRUE(mayReturn.wait());
        MemorySink::send(std::move(message));
    }

    Gate called;
    Gate mayReturn;
};

TEST(RemoteClientTest, CallsNoReadyHandlerAfterItsEndWhileALongMessageIsParsed)
{
    TemporaryTree tree;
    HostSettings settings = settingsFor(tree.root());
    settings.moduleFile = QStringLiteral(TAVO_MODULE);
    const std::unique_ptr<ContentHost> host = startHost(settings);
    SharedListings sharedListings;
    RequestExecutor executor{RequestExecutor::Settings()};
    const auto sink = std::make_shared<SlowSink>();
    std::atomic<int> readyCalls = 0;
    auto client = std::make_unique<RemoteClient>(
        Services{*host, executor, sharedListings}, Dispatcher::Profile(), sink, [&readyCalls] { ++readyCalls; });
    EXPECT_FALSE(client->accept(QByteArray(10'000, '['), [] {}));
    EXPECT_TRUE(sink->called.wait());
    client.reset();
    sink->mayReturn.open();
    EXPECT_TRUE(executor.stop(std::chrono::seconds(20)));
    EXPECT_EQ(readyCalls, 0);
}

} // namespace
