#include "exec/workerthread.h"

#include "support/gate.h"

#include "printers.h"

#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

TEST(WorkerThread, RunsFunctionsInItsThreadAndWaitsForThem)
{
    WorkerThread thread;
    QThread* ranIn = nullptr;
    thread.run([&ranIn] { ranIn = QThread::currentThread(); });
    EXPECT_EQ(ranIn, thread.thread());
    EXPECT_NE(ranIn, QThread::currentThread());
}

TEST(WorkerThread, RunsFunctionsDirectlyInItself)
{
    WorkerThread thread;
    std::vector<int> order;
    thread.run([&] {
        thread.post([&order] { order.push_back(3); });
        thread.run([&order] { order.push_back(1); });
        order.push_back(2);
    });
    thread.run([] {});
    EXPECT_THAT(order, testing::ElementsAre(1, 2, 3));
}

TEST(WorkerThread, CallerGetsWhatTheFunctionThrows)
{
    WorkerThread thread;
    EXPECT_THROW(thread.run([] { throw std::runtime_error("no memory"); }), std::runtime_error);
    EXPECT_THROW(thread.run([] { throw 1; }), int);
    EXPECT_TRUE(thread.answersWithin(std::chrono::minutes(1)));
}

TEST(WorkerThread, KeepsTheOrderOfWhatIsPosted)
{
    WorkerThread thread;
    std::vector<int> order;
    for (int i = 0; i < 100; ++i)
        thread.post([&order, i] { order.push_back(i); });
    thread.run([&order] { order.push_back(100); });
    ASSERT_EQ(order.size(), 101U);
    EXPECT_TRUE(std::is_sorted(order.cbegin(), order.cend()));
}

TEST(WorkerThread, EndRunsWhatWasPostedBefore)
{
    int ran = 0;
    {
        WorkerThread thread;
        for (int i = 0; i < 100; ++i)
            thread.post([&ran] { ++ran; });
    }
    EXPECT_EQ(ran, 100);
}

TEST(WorkerThread, PostDoesNotWait)
{
    Gate gate;
    bool hasRun = false;
    WorkerThread thread;
    thread.post([&] { hasRun = gate.wait(); });
    gate.open();
    thread.run([] {});
    EXPECT_TRUE(hasRun);
}

TEST(WorkerThread, HasAnEventLoop)
{
    WorkerThread thread;
    Gate fired;
    std::unique_ptr<QTimer> timer;
    thread.run([&] {
        timer = std::make_unique<QTimer>();
        QObject::connect(timer.get(), &QTimer::timeout, [&fired] { fired.open(); });
        timer->start(0);
    });
    EXPECT_TRUE(fired.wait());
    thread.run([&timer] { timer.reset(); });
}

TEST(WorkerThread, AnswersWhenItIsNotBusy)
{
    WorkerThread thread;
    std::promise<void> mayEnd;
    thread.post([end = mayEnd.get_future().share()] { end.wait(); });
    EXPECT_FALSE(thread.answersWithin(std::chrono::milliseconds(1)));
    mayEnd.set_value();
    EXPECT_TRUE(thread.answersWithin(std::chrono::minutes(1)));
}

} // namespace
