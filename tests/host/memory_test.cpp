#include "rpc/dispatcher.h"

#include "content/contenthost.h"
#include "exec/workerthread.h"

#include "support/memorysink.h"
#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include <malloc.h>

namespace {

/// Bytes that are allocated, in all arenas.
size_t allocated()
{
    return mallinfo2().uordblks + mallinfo2().hblkhd;
}

TEST(Memory, IdleClientTakesNoMoreThanTwentyFourKilobytes)
{
    constexpr size_t count = 1000;
    constexpr size_t most = size_t{24} * 1024;
    TemporaryTree tree;
    tree.addDirectory(QStringLiteral("a"));
    const auto host = startHost(settingsFor(tree.root()));
    RequestExecutor executor;
    SharedListings sharedListings;
    std::vector<std::pair<std::shared_ptr<MemorySink>, std::unique_ptr<Dispatcher>>> clients;
    const auto addClient = [&] {
        auto sink = std::make_shared<MemorySink>();
        auto dispatcher =
            std::make_unique<Dispatcher>(Services{*host, executor, sharedListings}, Dispatcher::Profile(), sink, [] {});
        dispatcher->accept(R"({"jsonrpc":"2.0","id":1,"method":"rows","params":["/file/"]})");
        dispatcher->accept(R"({"jsonrpc":"2.0","id":2,"method":"open","params":["/file/a"]})");
        EXPECT_FALSE(sink->readAnswer(1).isEmpty());
        EXPECT_FALSE(sink->readAnswer(2).isEmpty());
        clients.emplace_back(std::move(sink), std::move(dispatcher));
    };
    // The first one pays for what all share.
    addClient();
    const size_t before = allocated();
    for (size_t i = 0; i < count; ++i)
        addClient();
    host->workerThread().run([] {});
    const size_t each = (allocated() - before) / count;
    RecordProperty("bytes", static_cast<int>(each));
    EXPECT_LE(each, most);
    EXPECT_GT(each, size_t{500}) << "the measurement finds the clients";
    clients.clear();
}

} // namespace
