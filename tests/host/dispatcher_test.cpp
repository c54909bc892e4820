#include "rpc/dispatcher.h"

#include "content/contenthost.h"
#include "exec/workerthread.h"
#include "rpc/jsonrpc.h"

#include "support/fifo.h"
#include "support/gate.h"
#include "support/memorysink.h"
#include "support/rpcrequest.h"
#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "eventloop.h"
#include "printers.h"

#include <model/cmrequestcontext.h>
#include <tavo/tavokeys.h>

#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <future>
#include <new>
#include <thread>
#include <utility>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::chrono::seconds longTime{20};

QJsonObject at(const char* path)
{
    return {{QStringLiteral("path"), QString::fromUtf8(path)}};
}

int codeOf(const QJsonObject& answer)
{
    return answer[QStringLiteral("error")].toObject()[QStringLiteral("code")].toInt();
}

std::string messageOf(const QJsonObject& answer)
{
    return answer[QStringLiteral("error")].toObject()[QStringLiteral("message")].toString().toStdString();
}

QString methodOf(const QJsonObject& message)
{
    return message[QStringLiteral("method")].toString();
}

/// Paths and versions of the notifications among the messages.
QStringList changesIn(const QList<QJsonObject>& messages)
{
    QStringList changes;
    for (const QJsonObject& message : messages) {
        const QJsonObject change = message[QStringLiteral("params")].toObject();
        if (methodOf(message) == QLatin1String("rowsChanged"))
            changes.append(change[QStringLiteral("path")].toString());
    }
    return changes;
}

/// A sink that has no memory for the next messages.
class FailingSink : public MemorySink
{
public:
    void failNext(int messages) { m_failures = messages; }

    void send(Message message) override
    {
        if (m_failures > 0) {
            --m_failures;
            throw std::bad_alloc();
        }
        MemorySink::send(std::move(message));
    }

private:
    std::atomic<int> m_failures = 0;
};

class DispatcherTest : public testing::Test
{
protected:
    ~DispatcherTest() override
    {
        dispatcher.reset();
        EXPECT_TRUE(executor->stop(longTime));
    }

    /// Serves the tree with the usual worker, or with another module's.
    void start(const RequestExecutor::Settings& settings = {}, const char* module = TAVO_MODULE)
    {
        HostSettings hostSettings = settingsFor(tree.root());
        hostSettings.moduleFile = QString::fromUtf8(module);
        host = startHost(hostSettings);
        executor = std::make_unique<RequestExecutor>(settings);
        connect();
    }

    void startScripted(const RequestExecutor::Settings& settings = {}) { start(settings, MODULE_SCRIPTED_WORKER); }

    void connect(const Dispatcher::Profile& profile = {}, int capacity = 1024 * 1024)
    {
        dispatcher.reset();
        sink = std::make_shared<MemorySink>(capacity);
        dispatcher = newDispatcher(profile, sink);
    }

    [[nodiscard]] std::unique_ptr<Dispatcher>
    newDispatcher(const Dispatcher::Profile& profile, const std::shared_ptr<MemorySink>& itsSink)
    {
        return std::make_unique<Dispatcher>(
            Services{*host, *executor, sharedListings}, profile, itsSink, [this] { ++readyCalls; });
    }

    [[nodiscard]] QJsonObject call(const char* method, const QJsonObject& parameters = {})
    {
        const int id = ++lastId;
        dispatcher->accept(rpcRequest(id, method, parameters));
        return sink->readAnswer(id);
    }

    /// One thread for each lane.
    [[nodiscard]] static RequestExecutor::Settings narrow()
    {
        RequestExecutor::Settings settings;
        settings.quickThreads = 1;
        settings.longPageThreads = 1;
        settings.walkThreads = 1;
        return settings;
    }

    /// True if requests of another client are answered now.
    [[nodiscard]] bool servesOthers()
    {
        const auto otherSink = std::make_shared<MemorySink>();
        const auto other = newDispatcher({}, otherSink);
        other->accept(rpcRequest(1, "describe"));
        return !otherSink->readAnswer(1).isEmpty();
    }

    TemporaryTree tree;
    std::unique_ptr<ContentHost> host;
    SharedListings sharedListings;
    std::unique_ptr<RequestExecutor> executor;
    std::atomic<int> readyCalls = 0;
    std::shared_ptr<MemorySink> sink;
    std::unique_ptr<Dispatcher> dispatcher;
    int lastId = 100;
};

TEST_F(DispatcherTest, AnswersEachMethod)
{
    tree.addFile(QStringLiteral("a/song.mp3"));
    start();
    const QString result = QStringLiteral("result");
    EXPECT_EQ(call("describe")[result].toObject()[QStringLiteral("protocol")], 1);
    EXPECT_EQ(call("rows", at("/"))[result].toObject()[QStringLiteral("count")], 1);
    EXPECT_EQ(call("rows", at("/file/a"))[result].toObject()[QStringLiteral("count")], 1);
    EXPECT_EQ(call("data", at("/file/a"))[result].toArray().size(), 7);
    EXPECT_EQ(call("menu", at("/file/a/song.mp3"))[result].toObject()[QStringLiteral("containerType")], 100);
    EXPECT_EQ(call("open", at("/file/a"))[result], true);
    EXPECT_EQ(call("open", at("/"))[result], true);
    EXPECT_EQ(call("close", at("/file/a"))[result], true);
    const QString count = host->mountAt(QStringLiteral("file"))->countFiles().toEncoded();
    const QJsonObject countAll{{QStringLiteral("path"), count}, {QStringLiteral("value"), QString()}};
    EXPECT_EQ(call("set", countAll)[result], 1);
}

TEST_F(DispatcherTest, PagesOfADirectoryAreRightHoweverManyClientsAskAtATime)
{
    constexpr int files = 100;
    constexpr int requests = 128;
    constexpr int pageSize = 7;
    const auto nameOf = [](int file) { return QStringLiteral("%1.mp3").arg(file, 3, 10, QLatin1Char('0')); };
    for (int file = 0; file < files; ++file)
        tree.addFile(nameOf(file));
    start();
    std::array<std::shared_ptr<MemorySink>, 16> sinks;
    std::array<std::unique_ptr<Dispatcher>, 16> clients;
    for (std::size_t i = 0; i < clients.size(); ++i) {
        sinks[i] = std::make_shared<MemorySink>();
        clients[i] = newDispatcher({}, sinks[i]);
    }
    const auto clientOf = [&](int request) { return static_cast<std::size_t>(request) % clients.size(); };
    const auto firstOf = [](int request) { return request * 37 % (files + pageSize); };
    for (int i = 0; i < requests; ++i) {
        QJsonObject page = at("/file");
        page[QStringLiteral("first")] = firstOf(i);
        page[QStringLiteral("last")] = firstOf(i) + pageSize - 1;
        page[QStringLiteral("roles")] = QJsonArray{QStringLiteral("title")};
        clients[clientOf(i)]->accept(rpcRequest(i, "rows", page));
    }
    for (int i = 0; i < requests; ++i) {
        QJsonArray expected;
        for (int file = firstOf(i); file < std::min(firstOf(i) + pageSize, files); ++file)
            expected.append(QJsonArray{nameOf(file)});
        const QJsonObject answer = sinks[clientOf(i)]->readAnswer(i);
        EXPECT_EQ(answer[QStringLiteral("result")].toObject()[QStringLiteral("rows")].toArray(), expected);
    }
}

TEST_F(DispatcherTest, SetWithoutAValueSetsNull)
{
    startScripted();
    const QJsonObject answer = call("set", at("/file/service"));
    EXPECT_TRUE(answer[QStringLiteral("result")].isNull()) << QJsonDocument(answer).toJson().toStdString();
    EXPECT_EQ(codeOf(answer), 0);
}

TEST_F(DispatcherTest, RequestWithoutIdIsServedAndNotAnswered)
{
    tree.addDirectory(QStringLiteral("a"));
    start();
    dispatcher->accept(R"({"jsonrpc":"2.0","method":"open","params":{"path":"/file/a"}})");
    dispatcher->accept(R"({"jsonrpc":"2.0","method":"open","params":{"path":"/file/missing"}})");
    ASSERT_TRUE(processEventsUntil([this] { return dispatcher->isIdle(); }));
    EXPECT_THAT(trackedBases(*host), testing::Contains(QStringLiteral("a")));
    EXPECT_THAT(sink->read(), IsEmpty());
}

TEST_F(DispatcherTest, ErrorsHaveTheirCodes)
{
    startScripted();
    EXPECT_EQ(codeOf(call("rows", at("/file/../x"))), JsonRpc::WorkerRefused);
    EXPECT_EQ(codeOf(call("rows", at("/file/silence"))), JsonRpc::WorkerUnanswered);
    EXPECT_EQ(codeOf(call("rows", {{QStringLiteral("path"), 1}})), JsonRpc::InvalidParameters);
    EXPECT_EQ(codeOf(call("rows")), JsonRpc::InvalidParameters);
    EXPECT_EQ(codeOf(call("nonsense")), JsonRpc::MethodNotFound);
    dispatcher->accept("{");
    EXPECT_EQ(codeOf(sink->read().value(0)), JsonRpc::ParseError);
    dispatcher->accept("[]");
    EXPECT_EQ(codeOf(sink->read().value(0)), JsonRpc::InvalidRequest);
    dispatcher->refuseTooLong();
    EXPECT_EQ(codeOf(sink->read().value(0)), JsonRpc::InvalidRequest);
}

TEST_F(DispatcherTest, RefusalNamesTheWorkersError)
{
    start();
    const QJsonObject answer = call("rows", at("/file/../x"));
    const QJsonObject data = answer[QStringLiteral("error")].toObject()[QStringLiteral("data")].toObject();
    EXPECT_EQ(data[QStringLiteral("name")], TavoErrorAccessViolation());
    EXPECT_EQ(data[QStringLiteral("message")].toString().toStdString(), messageOf(answer));
    EXPECT_TRUE(data.contains(QStringLiteral("title")));
}

TEST_F(DispatcherTest, AnswerWithMoreTextThanTheLimitIsTooLarge)
{
    startScripted();
    Dispatcher::Profile profile;
    profile.limits.answer = 5000;
    connect(profile);
    EXPECT_EQ(codeOf(call("rows", at("/file/20"))), 0);
    EXPECT_EQ(codeOf(call("rows", at("/file/60"))), JsonRpc::AnswerTooLarge);
    EXPECT_EQ(codeOf(call("rows", at("/file/20"))), 0);
}

TEST_F(DispatcherTest, AnswerThatCannotBeSentBecomesAShortError)
{
    start();
    const auto failing = std::make_shared<FailingSink>();
    dispatcher = newDispatcher({}, failing);
    sink = failing;
    // Answered in the executor, in the worker thread and in this one.
    for (const char* method : {"rows", "open", "nonsense"}) {
        failing->failNext(1);
        const QJsonObject answer = call(method, at("/file/"));
        EXPECT_EQ(codeOf(answer), JsonRpc::WorkerRefused) << method;
        EXPECT_THAT(messageOf(answer), HasSubstr("std::bad_alloc"));
    }
    EXPECT_TRUE(processEventsUntil([this] { return dispatcher->isIdle(); }));
}

TEST_F(DispatcherTest, RequestWithoutAnAnswerIsNoLongerUnderWay)
{
    start();
    const auto failing = std::make_shared<FailingSink>();
    dispatcher = newDispatcher({}, failing);
    for (const char* method : {"rows", "open", "nonsense"}) {
        failing->failNext(2);
        dispatcher->accept(rpcRequest(1, method, at("/file/")));
        EXPECT_TRUE(processEventsUntil([this] { return dispatcher->isIdle(); })) << method;
    }
    EXPECT_THAT(failing->read(), IsEmpty());
}

TEST_F(DispatcherTest, ReadyHandlerMayEndIt)
{
    start();
    // The handler is called in the executor, in the worker thread and in this one.
    for (const char* method : {"rows", "open", "nonsense"}) {
        const auto itsSink = std::make_shared<MemorySink>();
        const std::thread::id caller = std::this_thread::get_id();
        std::unique_ptr<Dispatcher> ending;
        Gate accepted;
        Gate ended;
        ending = std::make_unique<Dispatcher>(
            Services{*host, *executor, sharedListings}, Dispatcher::Profile(), itsSink, [&] {
                EXPECT_TRUE(std::this_thread::get_id() == caller || accepted.wait());
                ending.reset();
                ended.open();
            });
        ending->accept(rpcRequest(1, method, at("/file/")));
        accepted.open();
        EXPECT_TRUE(ended.wait()) << method;
        EXPECT_FALSE(itsSink->readAnswer(1).isEmpty()) << method;
    }
    EXPECT_TRUE(servesOthers());
}

TEST_F(DispatcherTest, EndWaitsForTheReadyHandler)
{
    start();
    Gate called;
    Gate mayReturn;
    std::atomic<bool> hasReturned = false;
    auto ending = std::make_unique<Dispatcher>(
        Services{*host, *executor, sharedListings}, Dispatcher::Profile(), std::make_shared<MemorySink>(), [&] {
            called.open();
            EXPECT_TRUE(mayReturn.wait());
            hasReturned = true;
        });
    ending->accept(rpcRequest(1, "describe"));
    ASSERT_TRUE(called.wait());
    std::thread releasing([&mayReturn] { mayReturn.open(); });
    ending.reset();
    EXPECT_TRUE(hasReturned);
    releasing.join();
}

TEST_F(DispatcherTest, RequestsAreRefusedWhereTooManyWait)
{
    RequestExecutor::Settings settings;
    settings.waiting = 0;
    start(settings);
    EXPECT_EQ(codeOf(call("describe")), JsonRpc::Overloaded);
}

TEST_F(DispatcherTest, RequestsThatTakeTooLongAreAnsweredOnce)
{
    RequestExecutor::Settings settings;
    settings.runningPerClient = 1;
    settings.timeLimit = std::chrono::milliseconds(20);
    startScripted(settings);
    std::future<void> hanging;
    Fifo fifo(tree.absolute(QStringLiteral("slow")));
    const Dispatcher::Task first = dispatcher->acceptOrTake(rpcRequest(1, "data", at("/file/slow")));
    ASSERT_TRUE(first);
    hanging = std::async(std::launch::async, first);
    fifo.waitForReader();
    EXPECT_EQ(codeOf(sink->readAnswer(1)), JsonRpc::Cancelled);
    EXPECT_TRUE(processEventsUntil([this] { return dispatcher->isIdle(); }));
    EXPECT_TRUE(processEventsUntil([this] { return codeOf(call("describe")) == 0; })) << "the client goes on";
    fifo.release();
    hanging.get();
    EXPECT_THAT(sink->read(), IsEmpty());
}

TEST_F(DispatcherTest, RootWhereRequestsHangIsRefusedByName)
{
    RequestExecutor::Settings settings = narrow();
    settings.hangingPerRoot = 1;
    settings.timeLimit = std::chrono::milliseconds(20);
    startScripted(settings);
    Fifo fifo(tree.absolute(QStringLiteral("slow")));
    // A busy machine may refuse the request before it begins.
    ASSERT_TRUE(processEventsUntil([this] { return codeOf(call("data", at("/file/slow"))) == JsonRpc::Cancelled; }));
    fifo.waitForReader();
    const QJsonObject refused = call("data", at("/file/other"));
    EXPECT_EQ(codeOf(refused), JsonRpc::Overloaded);
    EXPECT_EQ(messageOf(refused), "'/file/' does not answer: earlier requests still wait for it");
    EXPECT_TRUE(processEventsUntil([this] { return codeOf(call("describe")) == 0; })) << "the rest is served";
    fifo.release();
}

TEST_F(DispatcherTest, RequestThatJoinsOneThatHangsIsGivenUpToo)
{
    RequestExecutor::Settings settings;
    settings.timeLimit = std::chrono::milliseconds(20);
    startScripted(settings);
    std::future<void> hanging;
    Fifo fifo(tree.absolute(QStringLiteral("fifo")));
    const Dispatcher::Task first = dispatcher->acceptOrTake(rpcRequest(1, "rows", at("/file/fifo")));
    ASSERT_TRUE(first);
    hanging = std::async(std::launch::async, first);
    fifo.waitForReader();
    ASSERT_FALSE(dispatcher->acceptOrTake(rpcRequest(2, "rows", at("/file/fifo")))) << "joining needs no thread";
    EXPECT_EQ(codeOf(sink->readAnswer(1)), JsonRpc::Cancelled);
    EXPECT_EQ(codeOf(sink->readAnswer(2)), JsonRpc::Cancelled);
    EXPECT_TRUE(processEventsUntil([this] { return dispatcher->isIdle(); }));
    // The second one's turn to compute finds the FIFO without a writer.
    tree.remove(QStringLiteral("fifo"));
    fifo.release();
    hanging.get();
    EXPECT_THAT(sink->read(), IsEmpty());
}

TEST_F(DispatcherTest, StoppingHostAnswersWhatWaits)
{
    Fifo fifo(tree.absolute(QStringLiteral("fifo")));
    startScripted(narrow());
    dispatcher->accept(rpcRequest(1, "data", at("/file/fifo")));
    fifo.waitForReader();
    dispatcher->accept(rpcRequest(2, "describe"));
    EXPECT_FALSE(executor->stop(std::chrono::milliseconds(1)));
    const QJsonObject stopped = sink->readAnswer(2);
    EXPECT_EQ(codeOf(stopped), JsonRpc::Cancelled);
    EXPECT_EQ(messageOf(stopped), "the host is stopping");
    fifo.release();
    EXPECT_TRUE(sink->readAnswer(1).contains(QStringLiteral("result"))) << "it has run to its end";
}

TEST_F(DispatcherTest, ExceptionOfARequestIsItsFailure)
{
    startScripted();
    for (int round = 0; round < 3; ++round) {
        const QJsonObject answer = call("rows", at("/file/throw"));
        EXPECT_EQ(codeOf(answer), JsonRpc::WorkerRefused);
        EXPECT_THAT(messageOf(answer), HasSubstr("no memory for it"));
        EXPECT_EQ(codeOf(call("rows", at("/file/throw%20number"))), JsonRpc::WorkerRefused);
        EXPECT_EQ(codeOf(call("rows", at("/file/3"))), 0);
    }
}

TEST_F(DispatcherTest, NothingMoreIsReadBeyondSixtyFourRequests)
{
    Fifo fifo(tree.absolute(QStringLiteral("fifo")));
    startScripted(narrow());
    EXPECT_TRUE(dispatcher->isIdle());
    dispatcher->accept(rpcRequest(1, "data", at("/file/fifo")));
    fifo.waitForReader();
    for (int id = 2; id <= 63; ++id)
        dispatcher->accept(rpcRequest(id, "describe"));
    EXPECT_TRUE(dispatcher->isReady());
    dispatcher->accept(rpcRequest(64, "describe"));
    EXPECT_FALSE(dispatcher->isReady());
    EXPECT_FALSE(dispatcher->isIdle());
    const int calls = readyCalls;
    fifo.release();
    EXPECT_TRUE(processEventsUntil([this] { return dispatcher->isReady(); }));
    EXPECT_TRUE(processEventsUntil([this] { return dispatcher->isIdle(); }));
    EXPECT_GT(readyCalls, calls);
    EXPECT_EQ(sink->read().size(), 64);
}

TEST_F(DispatcherTest, FullSinkPausesTheClientUntilThereIsRoom)
{
    startScripted(narrow());
    connect({}, 1000);
    dispatcher->accept(rpcRequest(1, "rows", at("/file/20")));
    ASSERT_TRUE(processEventsUntil([this] { return dispatcher->isIdle(); }));
    ASSERT_TRUE(sink->isFull()) << "one answer may be longer than the room";
    EXPECT_FALSE(dispatcher->isReady());
    dispatcher->accept(rpcRequest(2, "describe"));
    EXPECT_TRUE(servesOthers());
    EXPECT_EQ(sink->sent(), 1);
    const int calls = readyCalls;
    EXPECT_EQ(sink->read().size(), 1);
    EXPECT_FALSE(sink->readAnswer(2).isEmpty());
    EXPECT_TRUE(dispatcher->isReady());
    EXPECT_GT(readyCalls, calls);
}

TEST_F(DispatcherTest, NotificationsThatFillTheSinkPauseTheClient)
{
    tree.addDirectory(QStringLiteral("a"));
    start(narrow());
    connect({}, 60);
    ASSERT_EQ(codeOf(call("open", at("/file/a"))), 0);
    tree.addFile(QStringLiteral("a/new.mp3"));
    ASSERT_TRUE(processEventsUntil([this] { return sink->isFull(); }));
    host->workerThread().run([] {});
    const int sent = sink->sent();
    dispatcher->accept(rpcRequest(1, "describe"));
    EXPECT_TRUE(servesOthers());
    EXPECT_EQ(sink->sent(), sent);
    static_cast<void>(sink->read());
    EXPECT_FALSE(sink->readAnswer(1).isEmpty());
}

TEST_F(DispatcherTest, CallerRunsARequestThatMayBeginAtOnce)
{
    start();
    const Dispatcher::Task task = dispatcher->acceptOrTake(rpcRequest(1, "describe"));
    ASSERT_TRUE(task);
    EXPECT_TRUE(servesOthers());
    EXPECT_EQ(sink->sent(), 0);
    task();
    EXPECT_EQ(sink->sent(), 1);
    EXPECT_FALSE(dispatcher->acceptOrTake(rpcRequest(2, "open", at("/file/")))) << "nothing is left to do";
    EXPECT_FALSE(sink->readAnswer(2).isEmpty());
}

TEST_F(DispatcherTest, DestroyedOneClosesWhatItHadOpen)
{
    tree.addDirectory(QStringLiteral("a/b"));
    start();
    ASSERT_EQ(codeOf(call("open", at("/file/a/b"))), 0);
    ASSERT_EQ(trackedBases(*host).size(), 3);
    dispatcher.reset();
    EXPECT_THAT(trackedBases(*host), IsEmpty());
}

TEST_F(DispatcherTest, DestroyedOneCancelsWhatIsUnderWay)
{
    startScripted(narrow());
    const QString walk = host->mountAt(QStringLiteral("file"))->prepareLibrary().toEncoded();
    dispatcher->accept(rpcRequest(1, "set", {{QStringLiteral("path"), walk}}));
    dispatcher->accept(rpcRequest(2, "set", {{QStringLiteral("path"), walk}}));
    dispatcher.reset();
    Gate laneIsFree;
    RequestExecutor::Job job;
    job.lane = RequestExecutor::Lane::Walk;
    job.context = std::make_shared<CMRequestContext>();
    job.run = [&laneIsFree](const RequestExecutor::Slot&) { laneIsFree.open(); };
    job.refuse = [](RequestExecutor::Refusal) {};
    executor->submit(executor->addClient(), std::move(job));
    EXPECT_TRUE(laneIsFree.wait());
}

TEST_F(DispatcherTest, SinkGetsNothingAfterTheEnd)
{
    Fifo fifo(tree.absolute(QStringLiteral("fifo")));
    startScripted(narrow());
    dispatcher->accept(rpcRequest(1, "data", at("/file/fifo")));
    fifo.waitForReader();
    dispatcher->accept(rpcRequest(2, "describe"));
    dispatcher.reset();
    fifo.release();
    ASSERT_TRUE(executor->stop(longTime));
    EXPECT_EQ(sink->sent(), 0);
}

TEST_F(DispatcherTest, ResetsOfOnePathReplaceEachOther)
{
    tree.addDirectory(QStringLiteral("a"));
    start();
    ASSERT_EQ(codeOf(call("open", at("/file/a"))), 0);
    int sent = sink->sent();
    for (int i = 0; i < 3; ++i) {
        tree.addFile(QStringLiteral("a/%1.mp3").arg(i));
        ASSERT_TRUE(sink->waitForSent(++sent));
    }
    EXPECT_EQ(changesIn(sink->read()).size(), 1);
}

TEST_F(DispatcherTest, ResetsOnTheTwoSidesOfAnOpeningStayApart)
{
    tree.addDirectory(QStringLiteral("a"));
    tree.addDirectory(QStringLiteral("b"));
    start();
    ASSERT_EQ(codeOf(call("open", at("/file/a"))), 0);
    int sent = sink->sent();
    tree.addFile(QStringLiteral("a/1.mp3"));
    ASSERT_TRUE(sink->waitForSent(++sent));
    dispatcher->accept(rpcRequest(1, "open", at("/file/b")));
    ASSERT_TRUE(sink->waitForSent(++sent));
    ASSERT_TRUE(processEventsUntil([this] { return dispatcher->isIdle(); }));
    host->workerThread().run([] {});
    tree.addFile(QStringLiteral("a/2.mp3"));
    ASSERT_TRUE(processEventsUntil([&] { return sink->sent() > sent; }));
    const QList<QJsonObject> messages = sink->read();
    ASSERT_EQ(messages.size(), 3);
    EXPECT_EQ(methodOf(messages.at(0)), QStringLiteral("rowsChanged"));
    EXPECT_EQ(messages.at(1)[QStringLiteral("id")], 1);
    EXPECT_EQ(methodOf(messages.at(2)), QStringLiteral("rowsChanged"));
}

TEST_F(DispatcherTest, CloseComesBehindTheResetsBeforeIt)
{
    tree.addDirectory(QStringLiteral("a"));
    start();
    ASSERT_EQ(codeOf(call("open", at("/file/a"))), 0);
    const int sent = sink->sent();
    tree.addFile(QStringLiteral("a/1.mp3"));
    ASSERT_TRUE(sink->waitForSent(sent + 1));
    tree.remove(QStringLiteral("a"));
    const auto isClose = [](const QJsonObject& message) {
        const QJsonObject change = message[QStringLiteral("params")].toObject();
        return change[QStringLiteral("changes")].toArray().contains(QStringLiteral("close"));
    };
    QList<bool> closes;
    ASSERT_TRUE(processEventsUntil([&] {
        for (const QJsonObject& message : sink->read())
            closes.append(isClose(message));
        return closes.contains(true);
    }));
    EXPECT_EQ(closes.indexOf(true), closes.size() - 1);
    EXPECT_GT(closes.size(), 1);
}

TEST_F(DispatcherTest, NetworkClientsAreServedAsSuch)
{
    tree.addFile(QStringLiteral(".hidden/song.mp3"));
    start();
    Dispatcher::Profile profile;
    profile.reach = Reach::Network;
    connect(profile);
    EXPECT_EQ(codeOf(call("rows", at("/file/.hidden"))), JsonRpc::WorkerRefused);
    EXPECT_EQ(codeOf(call("open", at("/file/.hidden"))), JsonRpc::WorkerRefused);
    connect();
    EXPECT_EQ(codeOf(call("rows", at("/file/.hidden"))), 0);
}

TEST_F(DispatcherTest, ClientOpensOnlyAsManyPathsAsItsLimit)
{
    tree.addDirectory(QStringLiteral("a"));
    start();
    Dispatcher::Profile profile;
    profile.limits.openPaths = 1;
    connect(profile);
    EXPECT_EQ(codeOf(call("open", at("/file/a"))), 0);
    EXPECT_EQ(codeOf(call("open", at("/file/"))), JsonRpc::WorkerRefused);
}

} // namespace
