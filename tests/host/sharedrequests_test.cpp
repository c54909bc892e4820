#include "rpc/sharedrequests.h"

#include "content/failures.h"

#include "support/gate.h"

#include "printers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace {

using testing::Each;
using testing::ElementsAre;

/// Requests whose n-th computation gives the answer n; the first one waits at a gate.
class SharedRequestsTest : public testing::Test
{
protected:
    ~SharedRequestsTest() override
    {
        mayEnd.open();
        for (std::thread& thread : threads)
            thread.join();
    }

    [[nodiscard]] Result<QByteArray> compute()
    {
        const int number = ++computations;
        if (number == 1) {
            begun.open();
            EXPECT_TRUE(mayEnd.wait());
        }
        return QByteArray::number(number);
    }

    void run(const QByteArray& key)
    {
        requests.run(
            key, [this] { return compute(); },
            [this](const Result<QByteArray>& answer) {
                const std::lock_guard lock(mutex);
                answers.push_back(answer ? answer.value() : "failed");
            });
    }

    /// Begins the first computation in a thread of its own.
    void begin(const QByteArray& key)
    {
        threads.emplace_back([this, key] { run(key); });
        EXPECT_TRUE(begun.wait());
    }

    void finish()
    {
        mayEnd.open();
        for (std::thread& thread : threads)
            thread.join();
        threads.clear();
    }

    SharedRequests requests;
    Gate begun;
    Gate mayEnd;
    std::atomic<int> computations = 0;
    std::mutex mutex;
    std::vector<QByteArray> answers;
    std::vector<std::thread> threads;
};

TEST_F(SharedRequestsTest, ThoseThatArriveDuringAComputationShareTheNext)
{
    begin("key");
    for (int i = 0; i < 3; ++i)
        run("key");
    EXPECT_EQ(computations, 1) << "joining does not compute, and does not wait";
    finish();
    EXPECT_EQ(computations, 2);
    EXPECT_THAT(answers, ElementsAre("1", "2", "2", "2"));
}

TEST_F(SharedRequestsTest, ManyClientsCostFewComputations)
{
    begin("key");
    std::vector<std::thread> clients;
    for (int i = 1; i < 64; ++i)
        clients.emplace_back([this] { run("key"); });
    for (std::thread& client : clients)
        client.join();
    finish();
    EXPECT_EQ(answers.size(), 64U);
    EXPECT_EQ(computations, 2);
}

TEST_F(SharedRequestsTest, OnlyARequestThatIsBeingComputedCanBeJoined)
{
    const auto receive = [this](const Result<QByteArray>& answer) {
        const std::lock_guard lock(mutex);
        answers.push_back("joined " + answer.value());
    };
    EXPECT_FALSE(requests.isComputing("key"));
    EXPECT_FALSE(requests.join("key", receive));
    begin("key");
    EXPECT_TRUE(requests.isComputing("key"));
    EXPECT_FALSE(requests.isComputing("other"));
    EXPECT_TRUE(requests.join("key", receive));
    finish();
    EXPECT_THAT(answers, ElementsAre("1", "joined 2"));
    EXPECT_FALSE(requests.join("key", receive));
}

TEST_F(SharedRequestsTest, DifferentKeysDoNotWaitForEachOther)
{
    begin("one");
    run("two");
    EXPECT_THAT(answers, ElementsAre("2"));
    finish();
    EXPECT_THAT(answers, ElementsAre("2", "1"));
}

TEST_F(SharedRequestsTest, NoneGetsAnAnswerFromBeforeItsQuestion)
{
    mayEnd.open();
    for (int i = 0; i < 3; ++i)
        run("key");
    EXPECT_THAT(answers, ElementsAre("1", "2", "3"));
}

TEST_F(SharedRequestsTest, FailuresAreSharedToo)
{
    int failures = 0;
    const auto receive = [&failures](const Result<QByteArray>& answer) {
        failures += !answer && answer.failure().kind == Failure::Kind::Busy ? 1 : 0;
    };
    const auto fail = [&]() -> Result<QByteArray> {
        if (++computations == 1)
            requests.run("key", {}, receive);
        return Failures::busy();
    };
    requests.run("key", fail, receive);
    EXPECT_EQ(failures, 2);
    EXPECT_EQ(computations, 2);
}

TEST_F(SharedRequestsTest, EndsWhenItsComputationThrows)
{
    const auto fail = [&]() -> Result<QByteArray> {
        if (++computations == 1)
            run("key");
        throw std::bad_alloc();
    };
    requests.run("key", fail, [this](const Result<QByteArray>& answer) { answers.push_back(answer ? "" : "busy"); });
    EXPECT_THAT(answers, ElementsAre("busy", "failed"));
    EXPECT_FALSE(requests.isComputing("key"));
}

TEST_F(SharedRequestsTest, AnswersTheOthersWhenAReceiverThrows)
{
    begin("key");
    requests.run("key", {}, [](const Result<QByteArray>&) { throw std::bad_alloc(); });
    run("key");
    finish();
    EXPECT_THAT(answers, ElementsAre("1", "2"));
    EXPECT_FALSE(requests.isComputing("key"));
}

TEST_F(SharedRequestsTest, OneThatArrivesDuringASharedAnswerWaitsForTheOneAfterIt)
{
    begin("key");
    requests.run(
        "key", [this] { return compute(); }, [this](const Result<QByteArray>&) { run("key"); });
    finish();
    EXPECT_EQ(computations, 3);
    EXPECT_THAT(answers, ElementsAre("1", "3"));
}

} // namespace
