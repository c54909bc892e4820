#include "exec/heartbeat.h"

#include "exec/workerthread.h"
#include "support/gate.h"

#include "eventloop.h"

#include <model/cmrequestcontext.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

namespace {

constexpr std::chrono::milliseconds interval{1};

class Beating : public testing::Test
{
protected:
    ~Beating() override { gate->open(); }

    [[nodiscard]] static RequestExecutor::Settings oneThread()
    {
        RequestExecutor::Settings settings;
        settings.quickThreads = 1;
        return settings;
    }

    /// Occupies the only thread for quick requests until the gate opens.
    void blockExecutor()
    {
        const auto begun = std::make_shared<Gate>();
        RequestExecutor::Job job;
        job.context = std::make_shared<CMRequestContext>();
        job.run = [gate = gate, begun](const RequestExecutor::Slot&) {
            begun->open();
            EXPECT_TRUE(gate->wait());
        };
        job.refuse = [](RequestExecutor::Refusal) {};
        executor.submit(client, std::move(job));
        ASSERT_TRUE(begun->wait());
    }

    [[nodiscard]] bool beats()
    {
        const int before = count;
        return processEventsUntil([this, before] { return count > before; });
    }

    /// Whether there are beats while the timer of the heartbeat fires many times.
    [[nodiscard]] bool beatsMeanwhile()
    {
        constexpr int manyTimes = 50;
        const int before = count;
        int ticks = 0;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&ticks] { ++ticks; });
        timer.start(interval);
        EXPECT_TRUE(processEventsUntil([&ticks] { return ticks >= manyTimes; }));
        return count > before;
    }

    const std::shared_ptr<Gate> gate = std::make_shared<Gate>();
    std::atomic<bool> isAnswered = true;
    std::atomic<int> count = 0;
    WorkerThread workers;
    RequestExecutor executor{oneThread()};
    std::shared_ptr<RequestExecutor::Client> client = executor.addClient();
    Heartbeat heartbeat{executor, workers, interval, [this] { return isAnswered.load(); }, [this] { ++count; }};
};

TEST_F(Beating, GoesOnWhileRequestsAreAnswered)
{
    EXPECT_TRUE(beats());
    EXPECT_TRUE(beats());
}

TEST_F(Beating, StopsWhileTheExecutorIsStuck)
{
    EXPECT_TRUE(beats());
    blockExecutor();
    // The beat of the request before may still be on its way.
    workers.run([] {});
    EXPECT_FALSE(beatsMeanwhile());
    gate->open();
    EXPECT_TRUE(beats());
}

TEST_F(Beating, StopsWhileTheWorkerThreadIsStuck)
{
    const auto begun = std::make_shared<Gate>();
    workers.post([begun, gate = gate] {
        begun->open();
        EXPECT_TRUE(gate->wait());
    });
    ASSERT_TRUE(begun->wait());
    EXPECT_FALSE(beatsMeanwhile());
    gate->open();
    EXPECT_TRUE(beats());
}

TEST_F(Beating, StopsWhileRequestsFail)
{
    isAnswered = false;
    EXPECT_FALSE(beatsMeanwhile());
    isAnswered = true;
    EXPECT_TRUE(beats());
}

} // namespace
