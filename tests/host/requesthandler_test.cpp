#include "http/requesthandler.h"

#include "exec/rootpools.h"
#include "exec/workerthread.h"
#include "http/iothread.h"
#include "http/keptfiles.h"

#include "support/gate.h"
#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include <model/cmrequestcontext.h>

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

namespace {

TEST(RequestHandler, RootThatHangsLeavesAThreadToOtherRequests)
{
    Gate mayGoOn;
    const TemporaryTree tree;
    // To find a missing root takes the worker thread.
    const auto host = startHost(settingsFor(tree.absolute(QStringLiteral("missing"))));
    ASSERT_TRUE(host);
    host->workerThread().post([&mayGoOn] { EXPECT_TRUE(mayGoOn.wait()); });
    Gate served;
    RequestExecutor executor;
    SharedListings sharedListings;
    AccessPolicy access{AccessSettings()};
    Metrics metrics;
    CoverStore covers(*host, {});
    IoThread io;
    RootPools disk(1);
    KeptFiles files(MediaLibrary(*host), io, disk, {});
    RequestHandler handler({{*host, executor, sharedListings}, access, metrics, covers, files, [] {}});

    HttpRequest request;
    request.head = {"GET", "/media/file/1.mp3", {}};
    request.route.kind = Route::Kind::Media;
    request.route.prefix = QStringLiteral("file");
    request.route.base = QStringLiteral("1.mp3");
    std::vector<std::variant<Answer, RequestHandler::UnderWay>> underWay;
    for (int i = 0; i < RequestExecutor::Settings().quickThreads; ++i)
        underWay.push_back(handler.handle(request, [](const Answer&) {}));
    RequestExecutor::Job other;
    other.context = std::make_shared<CMRequestContext>();
    other.run = [&served](const RequestExecutor::Slot&) { served.open(); };
    other.refuse = [](RequestExecutor::Refusal) {};
    const auto client = executor.addClient();
    executor.submit(client, std::move(other));
    EXPECT_TRUE(served.wait());
    EXPECT_FALSE(mayGoOn.isOpen());
    mayGoOn.open();
}

} // namespace
