#include "stdio/stdioserver.h"

#include "content/contenthost.h"
#include "rpc/jsonrpc.h"

#include "support/fifo.h"
#include "support/memorysink.h"
#include "support/pipe.h"
#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <future>
#include <memory>

namespace {

constexpr std::chrono::seconds longTime{20};

QByteArray requestText(int id, const char* method, const QJsonArray& parameters = {})
{
    const QJsonObject request{
        {QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
        {QStringLiteral("id"), id},
        {QStringLiteral("method"), QString::fromUtf8(method)},
        {QStringLiteral("params"), parameters}};
    return QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n';
}

QJsonObject objectFrom(const QByteArray& line)
{
    return QJsonDocument::fromJson(line).object();
}

QSet<int> idsIn(const QList<QByteArray>& lines)
{
    QSet<int> ids;
    for (const QByteArray& line : lines)
        ids.insert(objectFrom(line)[QStringLiteral("id")].toInt());
    return ids;
}

/// A server in a thread of its own. It serves a scripted worker, whose answers may wait for a FIFO.
class StdioServerTest : public testing::Test
{
protected:
    StdioServerTest()
    {
        std::signal(SIGPIPE, SIG_IGN);
        HostSettings settings = settingsFor(tree.root());
        settings.moduleFile = QStringLiteral(MODULE_SCRIPTED_WORKER);
        host = startHost(settings);
        server = std::make_unique<StdioServer>(
            Services{*host, executor, sharedListings}, input.readingEnd(), output.writingEnd(),
            [this](int errorNumber) { failure.set_value(errorNumber); });
        serving = std::async(std::launch::async, [this] { return server->serve(); }).share();
    }

    ~StdioServerTest() override
    {
        server->stop();
        fifo.release();
        EXPECT_TRUE(executor.stop(longTime));
        server->finish(std::chrono::milliseconds::zero());
        serving.wait();
        output.closeReadingEnd();
    }

    /// Sends a request that is answered when the FIFO is released.
    void sendSlowRequest(int id)
    {
        input.write(requestText(id, "data", {QStringLiteral("/file/fifo")}));
        fifo.waitForReader();
    }

    /// Sends requests whose answers are longer than a pipe and the queue take, and waits until the first one comes.
    void sendTooMuch()
    {
        for (int id = 1; id <= tooMany; ++id)
            input.write(requestText(id, "rows", {QStringLiteral("/file/1000"), 0, 999}));
        firstPart = output.read();
    }

    [[nodiscard]] QJsonObject readMessage() { return objectFrom(output.readLines(1).value(0)); }

    [[nodiscard]] bool isServing() const { return serving.wait_for(longTime.zero()) != std::future_status::ready; }

    static constexpr int tooMany = 30;
    TemporaryTree tree;
    Fifo fifo{tree.absolute(QStringLiteral("fifo"))};
    Pipe input;
    Pipe& output = Pipe::lasting();
    std::promise<int> failure;
    std::unique_ptr<ContentHost> host;
    SharedListings sharedListings;
    RequestExecutor executor;
    std::unique_ptr<StdioServer> server;
    std::shared_future<bool> serving;
    QByteArray firstPart;
};

TEST_F(StdioServerTest, EndsWithItsInputOnceEverythingIsAnswered)
{
    sendSlowRequest(1);
    constexpr int last = 100;
    QSet<int> ids = {1};
    for (int id = 2; id <= last; ++id) {
        input.write(requestText(id, "describe"));
        ids.insert(id);
    }
    input.closeWritingEnd();
    QList<QByteArray> answers = output.readLines(last - 1);
    EXPECT_TRUE(isServing());
    fifo.release();
    answers += output.readLines(1);
    EXPECT_EQ(idsIn(answers), ids);
    EXPECT_EQ(answers.size(), last);
    EXPECT_TRUE(serving.get());
}

TEST_F(StdioServerTest, RequestThatIsServedHoldsNoOtherUp)
{
    sendSlowRequest(1);
    input.write(requestText(2, "describe"));
    EXPECT_EQ(readMessage()[QStringLiteral("id")], 2);
    fifo.release();
    EXPECT_EQ(readMessage()[QStringLiteral("id")], 1);
}

TEST_F(StdioServerTest, StopEndsItWhileItWaitsForInput)
{
    input.write(requestText(1, "describe"));
    EXPECT_EQ(readMessage()[QStringLiteral("id")], 1);
    server->stop();
    EXPECT_FALSE(serving.get());
}

TEST_F(StdioServerTest, StopEndsItWhileItWaitsForAnswers)
{
    const QString walk = host->mountAt(QStringLiteral("file"))->prepareLibrary().toEncoded();
    input.write(requestText(1, "set", {walk}));
    input.closeWritingEnd();
    server->stop();
    EXPECT_FALSE(serving.get());
}

TEST_F(StdioServerTest, StopEndsItWhileNobodyReads)
{
    sendTooMuch();
    server->stop();
    server->finish(std::chrono::milliseconds(1));
    EXPECT_FALSE(serving.get());
}

TEST_F(StdioServerTest, ClientThatDoesNotReadHoldsNoOtherUp)
{
    sendTooMuch();
    for (int round = 0; round < 10; ++round) {
        const auto sink = std::make_shared<MemorySink>();
        Dispatcher other({*host, executor, sharedListings}, {}, sink, [] {});
        other.accept(requestText(1, "describe"));
        EXPECT_FALSE(sink->readAnswer(1).isEmpty());
    }
}

TEST_F(StdioServerTest, ClientThatReadsLateGetsAllItsAnswers)
{
    sendTooMuch();
    input.closeWritingEnd();
    const int newlines = firstPart.count('\n');
    const QByteArray rest = output.readLines(tooMany - newlines).join('\n');
    EXPECT_EQ(idsIn((firstPart + rest).split('\n')).size(), tooMany);
    EXPECT_TRUE(serving.get());
}

TEST_F(StdioServerTest, LineThatIsTooLongIsRefusedAndPassedOver)
{
    const auto writing = std::async(std::launch::async, [this] {
        input.write(QByteArray(3 * 1024 * 1024, 'x') + '\n' + requestText(1, "describe"));
        input.closeWritingEnd();
    });
    const QList<QByteArray> messages = output.readLines(2);
    EXPECT_TRUE(serving.get());
    ASSERT_EQ(messages.size(), 2);
    const QJsonObject error = objectFrom(messages.at(0))[QStringLiteral("error")].toObject();
    EXPECT_EQ(error[QStringLiteral("code")], JsonRpc::InvalidRequest);
    EXPECT_EQ(objectFrom(messages.at(1))[QStringLiteral("id")], 1);
}

TEST_F(StdioServerTest, OutputThatFailsIsReported)
{
    output.closeReadingEnd();
    input.write(requestText(1, "describe"));
    EXPECT_EQ(failure.get_future().get(), EPIPE);
    input.closeWritingEnd();
    EXPECT_FALSE(serving.get());
}

} // namespace
