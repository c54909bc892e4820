#include "exec/requestexecutor.h"

#include "support/gate.h"

#include "eventloop.h"
#include "printers.h"

#include <model/cmrequestcontext.h>

#include <QDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <new>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Lane = RequestExecutor::Lane;
using Refusal = RequestExecutor::Refusal;
using Client = std::shared_ptr<RequestExecutor::Client>;
using Settings = RequestExecutor::Settings;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::chrono::seconds longTime{20};

/// What has become of one job.
struct Fate
{
    std::shared_ptr<CMRequestContext> context = std::make_shared<CMRequestContext>();
    Gate begun;
    Gate mayEnd;
    std::atomic<int> ended = 0;
    std::mutex mutex;
    std::vector<Refusal> refusals;

    [[nodiscard]] std::vector<Refusal> refused()
    {
        const std::lock_guard lock(mutex);
        return refusals;
    }
    [[nodiscard]] bool waitForEnd()
    {
        return processEventsUntil([this] { return ended == 1; });
    }
    [[nodiscard]] bool waitForRefusal()
    {
        return processEventsUntil([this] { return !refused().empty(); });
    }
};
using SharedFate = std::shared_ptr<Fate>;

class Executor : public testing::Test
{
protected:
    ~Executor() override
    {
        for (const SharedFate& fate : fates)
            fate->mayEnd.open();
    }

    void start(const Settings& settings)
    {
        executor = std::make_unique<RequestExecutor>(settings);
        alice = executor->addClient();
        bob = executor->addClient();
    }

    /// One thread for each lane.
    [[nodiscard]] static Settings narrow()
    {
        Settings settings;
        settings.quickThreads = 1;
        settings.longPageThreads = 1;
        settings.walkThreads = 1;
        return settings;
    }

    /// One thread for each lane, which is soon replaced when its job hangs.
    [[nodiscard]] static Settings impatient()
    {
        Settings settings = narrow();
        settings.timeLimit = std::chrono::milliseconds(20);
        return settings;
    }

    [[nodiscard]] RequestExecutor::Job jobFor(const SharedFate& fate, Lane lane) const
    {
        RequestExecutor::Job job;
        job.lane = lane;
        job.root = root;
        job.context = fate->context;
        job.run = [fate](const RequestExecutor::Slot&) {
            fate->begun.open();
            EXPECT_EQ(CMRequestContext::current(), fate->context.get());
            EXPECT_TRUE(fate->mayEnd.wait());
            ++fate->ended;
        };
        job.refuse = [fate](Refusal refusal) {
            const std::lock_guard lock(fate->mutex);
            fate->refusals.push_back(refusal);
        };
        return job;
    }

    [[nodiscard]] SharedFate newFate()
    {
        fates.push_back(std::make_shared<Fate>());
        return fates.back();
    }

    /// A job that runs until its gate is opened.
    SharedFate block(const Client& client, Lane lane = Lane::Quick)
    {
        const SharedFate fate = newFate();
        executor->submit(client, jobFor(fate, lane));
        return fate;
    }

    /// A job that ends at once.
    SharedFate pass(const Client& client, Lane lane = Lane::Quick)
    {
        const SharedFate fate = newFate();
        fate->mayEnd.open();
        executor->submit(client, jobFor(fate, lane));
        return fate;
    }

    /// True if jobs of the client run through the lane now.
    [[nodiscard]] bool runs(const Client& client, Lane lane = Lane::Quick)
    {
        bool haveEnded = true;
        for (int i = 0; i < 10; ++i)
            haveEnded = pass(client, lane)->waitForEnd() && haveEnded;
        return haveEnded;
    }

    /// A job that has timed out and still runs. One that a busy machine has kept waiting is not the one.
    [[nodiscard]] SharedFate hang(const Client& client, Lane lane = Lane::Quick)
    {
        SharedFate fate;
        EXPECT_TRUE(processEventsUntil([&] {
            fate = block(client, lane);
            return fate->waitForRefusal() && fate->begun.isOpen();
        }));
        return fate;
    }

    /// Waits until a job of the client runs through the lane.
    [[nodiscard]] bool becomesFree(const Client& client, Lane lane = Lane::Quick)
    {
        return processEventsUntil([&] {
            const SharedFate next = pass(client, lane);
            return processEventsUntil([&] { return next->ended == 1 || !next->refused().empty(); }) && next->ended == 1;
        });
    }

    [[nodiscard]] static int begunOf(const std::vector<SharedFate>& jobs)
    {
        return static_cast<int>(
            std::count_if(jobs.cbegin(), jobs.cend(), [](const SharedFate& fate) { return fate->begun.isOpen(); }));
    }

    [[nodiscard]] static bool waitForBegun(const std::vector<SharedFate>& jobs, int count)
    {
        return processEventsUntil([&] { return begunOf(jobs) >= count; });
    }

    /// Of the jobs that are made.
    QString root;
    std::vector<SharedFate> fates;
    std::unique_ptr<RequestExecutor> executor;
    Client alice;
    Client bob;
};

TEST_F(Executor, RunsEachJobOnceInItsContext)
{
    start({});
    std::vector<SharedFate> jobs;
    for (const Lane lane : {Lane::Quick, Lane::LongPage, Lane::Walk})
        jobs.push_back(pass(alice, lane));
    for (const SharedFate& job : jobs) {
        EXPECT_TRUE(job->waitForEnd());
        EXPECT_THAT(job->refused(), IsEmpty());
    }
    executor.reset();
    for (const SharedFate& job : jobs)
        EXPECT_EQ(job->ended, 1);
}

TEST_F(Executor, JobThatThrowsIsRefused)
{
    start(narrow());
    const SharedFate fate = newFate();
    RequestExecutor::Job job = jobFor(fate, Lane::Quick);
    job.run = [](const RequestExecutor::Slot&) { throw std::bad_alloc(); };
    executor->submit(alice, job);
    ASSERT_TRUE(fate->waitForRefusal());
    EXPECT_THAT(fate->refused(), ElementsAre(Refusal::Failed));
    EXPECT_TRUE(runs(alice));
}

TEST_F(Executor, ClientsTakeTurns)
{
    start(narrow());
    const SharedFate first = block(alice);
    ASSERT_TRUE(first->begun.wait());
    QStringList order;
    Gate done;
    const auto add = [&](const Client& client, const char* name) {
        RequestExecutor::Job job = jobFor(newFate(), Lane::Quick);
        job.run = [&order, &done, name](const RequestExecutor::Slot&) {
            order.append(QString::fromUtf8(name));
            if (order.size() == 6)
                done.open();
        };
        executor->submit(client, std::move(job));
    };
    const Client carol = executor->addClient();
    for (const char* name : {"a1", "a2", "a3"})
        add(alice, name);
    for (const char* name : {"b1", "b2"})
        add(bob, name);
    add(carol, "c1");
    first->mayEnd.open();
    ASSERT_TRUE(done.wait());
    EXPECT_EQ(order.join(u' '), QStringLiteral("a1 b1 c1 a2 b2 a3"));
}

TEST_F(Executor, WalksHoldNobodyUp)
{
    start({});
    const std::vector<SharedFate> walks = {block(alice, Lane::Walk), block(alice, Lane::Walk)};
    ASSERT_TRUE(waitForBegun(walks, 2));
    EXPECT_TRUE(runs(alice, Lane::Quick));
    EXPECT_TRUE(runs(alice, Lane::LongPage));
    EXPECT_TRUE(runs(bob, Lane::Quick));
    EXPECT_TRUE(runs(bob, Lane::LongPage));
}

TEST_F(Executor, LongPagesHoldNoQuickRequestUp)
{
    start({});
    const std::vector<SharedFate> pages = {block(alice, Lane::LongPage), block(alice, Lane::LongPage)};
    ASSERT_TRUE(waitForBegun(pages, 2));
    EXPECT_TRUE(runs(alice));
    EXPECT_TRUE(runs(bob));
    EXPECT_TRUE(runs(bob, Lane::Walk));
}

TEST_F(Executor, FourJobsOfAClientRunAtMost)
{
    Settings settings;
    settings.quickThreads = 8;
    start(settings);
    std::vector<SharedFate> jobs;
    for (int i = 0; i < 6; ++i)
        jobs.push_back(block(alice));
    ASSERT_TRUE(waitForBegun(jobs, 4));
    EXPECT_TRUE(runs(bob));
    EXPECT_EQ(begunOf(jobs), 4);
    jobs.front()->mayEnd.open();
    EXPECT_TRUE(waitForBegun(jobs, 5));
    EXPECT_TRUE(runs(bob));
    EXPECT_EQ(begunOf(jobs), 5);
}

TEST_F(Executor, OneClientLeavesAQuickThreadToTheOthers)
{
    start({});
    std::vector<SharedFate> jobs;
    for (int i = 0; i < 6; ++i)
        jobs.push_back(block(alice));
    ASSERT_TRUE(waitForBegun(jobs, 4));
    EXPECT_TRUE(runs(bob));
}

TEST_F(Executor, FourCountInAllLanesTogether)
{
    start({});
    const std::vector<SharedFate> jobs = {
        block(alice, Lane::Walk), block(alice, Lane::Walk), block(alice, Lane::LongPage), block(alice)};
    ASSERT_TRUE(waitForBegun(jobs, 4));
    const std::vector<SharedFate> more = {pass(alice), pass(alice, Lane::LongPage)};
    EXPECT_TRUE(runs(bob));
    EXPECT_TRUE(runs(bob, Lane::LongPage));
    EXPECT_EQ(begunOf(more), 0);
    jobs.front()->mayEnd.open();
    EXPECT_TRUE(waitForBegun(more, 2));
}

TEST_F(Executor, TwoWalksOfAClientRunAtMost)
{
    Settings settings;
    settings.walkThreads = 4;
    start(settings);
    const std::vector<SharedFate> walks = {
        block(alice, Lane::Walk), block(alice, Lane::Walk), block(alice, Lane::Walk)};
    ASSERT_TRUE(waitForBegun(walks, 2));
    EXPECT_TRUE(runs(bob, Lane::Walk));
    EXPECT_EQ(begunOf(walks), 2);
    walks.front()->mayEnd.open();
    EXPECT_TRUE(waitForBegun(walks, 3));
}

TEST_F(Executor, JobThatKeepsItsSlotCountsAsRunning)
{
    Settings settings;
    settings.runningPerClient = 1;
    start(settings);
    RequestExecutor::Slot kept;
    const SharedFate keeper = newFate();
    RequestExecutor::Job job = jobFor(keeper, Lane::Quick);
    job.run = [&kept, keeper](const RequestExecutor::Slot& slot) {
        kept = slot;
        ++keeper->ended;
    };
    executor->submit(alice, std::move(job));
    ASSERT_TRUE(keeper->waitForEnd());
    const SharedFate next = pass(alice);
    EXPECT_TRUE(runs(bob));
    EXPECT_FALSE(next->begun.isOpen());
    kept.reset();
    EXPECT_TRUE(next->waitForEnd());
}

TEST_F(Executor, PausedClientsDoNotBegin)
{
    start(narrow());
    executor->setPaused(alice, true);
    const SharedFate paused = pass(alice);
    EXPECT_TRUE(runs(bob));
    EXPECT_FALSE(paused->begun.isOpen());
    executor->setPaused(alice, false);
    EXPECT_TRUE(paused->waitForEnd());
}

TEST_F(Executor, PauseComesBeforeTheTurnOfAJobThatWaits)
{
    start(narrow());
    const SharedFate first = block(bob);
    ASSERT_TRUE(first->begun.wait());
    const SharedFate waiting = pass(alice);
    executor->setPaused(alice, true);
    first->mayEnd.open();
    EXPECT_TRUE(runs(bob));
    EXPECT_FALSE(waiting->begun.isOpen());
}

TEST_F(Executor, WaitingTimeOfAPausedClientStandsStill)
{
    using Clock = std::chrono::steady_clock;
    Settings settings;
    settings.runningPerClient = 1;
    settings.timeLimit = std::chrono::milliseconds(200);
    start(settings);
    // A walk has no time limit.
    const std::vector<SharedFate> running = {block(alice, Lane::Walk), block(bob, Lane::Walk)};
    ASSERT_TRUE(waitForBegun(running, 2));
    executor->setPaused(alice, true);
    const SharedFate paused = pass(alice);
    const SharedFate later = pass(bob);
    ASSERT_TRUE(later->waitForRefusal());
    EXPECT_THAT(paused->refused(), IsEmpty());
    const Clock::time_point resumed = Clock::now();
    executor->setPaused(alice, false);
    ASSERT_TRUE(paused->waitForRefusal());
    EXPECT_GE(Clock::now() - resumed, settings.timeLimit);
}

TEST_F(Executor, RemovedClientsJobsAreDroppedOrCancelled)
{
    start(narrow());
    const SharedFate running = block(alice);
    ASSERT_TRUE(running->begun.wait());
    const SharedFate waiting = pass(alice);
    const SharedFate others = pass(bob);
    executor->removeClient(alice);
    const SharedFate late = pass(alice);
    EXPECT_TRUE(running->context->isCancelled());
    running->mayEnd.open();
    EXPECT_TRUE(others->waitForEnd());
    EXPECT_FALSE(others->context->isCancelled());
    EXPECT_TRUE(executor->stop(longTime));
    for (const SharedFate& dropped : {waiting, late}) {
        EXPECT_FALSE(dropped->begun.isOpen());
        EXPECT_THAT(dropped->refused(), IsEmpty());
    }
    EXPECT_EQ(waiting.use_count(), 2) << "the job is destroyed";
}

TEST_F(Executor, StopRefusesWhatWaitsAndCancelsWhatRuns)
{
    start(narrow());
    const SharedFate running = block(alice);
    ASSERT_TRUE(running->begun.wait());
    const SharedFate waiting = pass(bob);
    EXPECT_FALSE(executor->stop(std::chrono::milliseconds(1))) << "a job hangs";
    EXPECT_TRUE(running->context->isCancelled());
    EXPECT_THAT(waiting->refused(), ElementsAre(Refusal::Stopping));
    EXPECT_THAT(pass(bob)->refused(), ElementsAre(Refusal::Stopping));
    running->mayEnd.open();
    EXPECT_TRUE(executor->stop(longTime));
    EXPECT_EQ(running->ended, 1);
    EXPECT_THAT(running->refused(), IsEmpty());
    EXPECT_FALSE(waiting->begun.isOpen());
}

TEST_F(Executor, RequestsThatTakeTooLongAreGivenUp)
{
    Settings settings = narrow();
    settings.runningPerClient = 1;
    settings.timeLimit = std::chrono::milliseconds(20);
    start(settings);
    const SharedFate walk = block(alice, Lane::Walk);
    ASSERT_TRUE(walk->begun.wait());
    // A job that is taken begins in time, however late its thread is.
    const SharedFate running = newFate();
    const std::function<void()> task = executor->submitOrTake(bob, jobFor(running, Lane::Quick));
    ASSERT_TRUE(task);
    const auto ending = std::async(std::launch::async, task);
    const SharedFate waiting = pass(alice);
    ASSERT_TRUE(running->waitForRefusal());
    ASSERT_TRUE(waiting->waitForRefusal());
    EXPECT_TRUE(running->context->isCancelled());
    EXPECT_THAT(running->refused(), ElementsAre(Refusal::TimedOut));
    EXPECT_THAT(waiting->refused(), ElementsAre(Refusal::Busy));
    EXPECT_FALSE(waiting->begun.isOpen());

    // The next ones are refused in turn, the first no second time, the walk not at all.
    EXPECT_TRUE(pass(alice)->waitForRefusal());
    EXPECT_EQ(running->refused().size(), 1U);
    EXPECT_THAT(walk->refused(), IsEmpty());
    EXPECT_FALSE(walk->context->isCancelled());
    running->mayEnd.open();
    EXPECT_TRUE(running->waitForEnd());
}

TEST_F(Executor, ThreadsWhoseJobsHangAreReplaced)
{
    start(impatient());
    for (const Lane lane : {Lane::Quick, Lane::LongPage}) {
        const SharedFate hanging = hang(alice, lane);
        EXPECT_TRUE(becomesFree(bob, lane));
        EXPECT_EQ(hanging->ended, 0);
    }
}

TEST_F(Executor, ThreadWhoseWalkOutlivesItsClientIsReplaced)
{
    start(impatient());
    const SharedFate walk = block(alice, Lane::Walk);
    ASSERT_TRUE(walk->begun.wait());
    executor->removeClient(alice);
    EXPECT_TRUE(pass(bob, Lane::Walk)->waitForEnd());
    EXPECT_EQ(walk->ended, 0);
}

TEST_F(Executor, JobsThatHangDoNotCountAsTheirClients)
{
    Settings settings = impatient();
    settings.runningPerClient = 1;
    start(settings);
    const std::vector<SharedFate> hanging = {hang(alice), hang(alice)};
    EXPECT_TRUE(becomesFree(alice));
    for (const SharedFate& job : hanging)
        job->mayEnd.open();
    for (const SharedFate& job : hanging)
        EXPECT_TRUE(job->waitForEnd());
    const SharedFate running = newFate();
    EXPECT_TRUE(executor->submitOrTake(alice, jobFor(running, Lane::Quick))) << "the client has a job less, not two";
    EXPECT_FALSE(executor->submitOrTake(alice, jobFor(newFate(), Lane::Quick)));
}

class HangingRoot : public Executor
{
protected:
    static constexpr int mostHanging = 2;

    void startImpatient()
    {
        Settings settings = impatient();
        settings.hangingPerRoot = mostHanging;
        start(settings);
    }

    [[nodiscard]] std::vector<SharedFate> hangAtBad()
    {
        root = QStringLiteral("bad");
        std::vector<SharedFate> jobs;
        for (int i = 0; i < mostHanging; ++i)
            jobs.push_back(hang(alice));
        return jobs;
    }
};

TEST_F(HangingRoot, IsRefusedWhereTooMuchHangs)
{
    startImpatient();
    const std::vector<SharedFate> hanging = hangAtBad();
    for (const Lane lane : {Lane::Quick, Lane::Walk})
        EXPECT_THAT(pass(bob, lane)->refused(), ElementsAre(Refusal::RootHangs));
    EXPECT_FALSE(executor->hold(bob, jobFor(newFate(), Lane::Quick)));
    root = QStringLiteral("good");
    EXPECT_TRUE(becomesFree(alice));
    EXPECT_TRUE(becomesFree(bob));

    for (const SharedFate& job : hanging)
        job->mayEnd.open();
    root = QStringLiteral("bad");
    EXPECT_TRUE(becomesFree(bob)) << "the root answers again";
}

TEST_F(HangingRoot, RefusesWaitingJobsWhereTooMuchHangs)
{
    startImpatient();
    root = QStringLiteral("bad");
    const SharedFate walk = block(alice, Lane::Walk);
    ASSERT_TRUE(walk->begun.wait());
    const SharedFate waiting = pass(bob, Lane::Walk);
    executor->setPaused(bob, true);
    const std::vector<SharedFate> hanging = hangAtBad();
    ASSERT_TRUE(waiting->waitForRefusal());
    EXPECT_THAT(waiting->refused(), ElementsAre(Refusal::RootHangs));
}

TEST_F(HangingRoot, LeavesAThreadOfEachLaneToTheOthers)
{
    start({});
    for (const Lane lane : {Lane::Quick, Lane::LongPage, Lane::Walk}) {
        root = QStringLiteral("bad");
        for (int i = 0; i < 5; ++i) {
            const Client client = executor->addClient();
            block(client, lane);
            block(client, lane);
        }
        root = QStringLiteral("good");
        EXPECT_TRUE(runs(alice, lane));
    }
}

TEST_F(HangingRoot, HoldsUpNoOtherJobsOfItsClient)
{
    Settings settings = narrow();
    settings.quickThreads = 2;
    start(settings);
    root = QStringLiteral("bad");
    const SharedFate running = block(bob);
    ASSERT_TRUE(running->begun.wait());
    const SharedFate waiting = pass(alice);
    root = QStringLiteral("good");
    EXPECT_TRUE(runs(alice));
    EXPECT_FALSE(waiting->begun.isOpen());
    running->mayEnd.open();
    EXPECT_TRUE(waiting->waitForEnd());
}

TEST_F(HangingRoot, CannotUseUpTheThreadsByReconnectingClients)
{
    const auto threads = [] { return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs).size(); };
    startImpatient();
    const int before = threads();
    for (int i = 0; i < 20; ++i) {
        root = QStringLiteral("bad");
        const Client client = executor->addClient();
        const SharedFate job = block(client);
        EXPECT_TRUE(job->waitForRefusal());
        executor->removeClient(client);
        root = QStringLiteral("good");
        EXPECT_TRUE(becomesFree(alice));
    }
    EXPECT_LE(threads(), before + mostHanging);
}

TEST_F(HangingRoot, KeepsNoClientThatHasGone)
{
    startImpatient();
    root = QStringLiteral("bad");
    const SharedFate walk = block(alice, Lane::Walk);
    ASSERT_TRUE(walk->begun.wait());
    pass(bob, Lane::Walk);
    executor->removeClient(bob);
    EXPECT_EQ(bob.use_count(), 1);
}

TEST_F(Executor, SpareThreadEndsWhenNothingHangs)
{
    const auto threads = [] { return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs).size(); };
    start(impatient());
    const int before = threads();
    const SharedFate hanging = hang(alice);
    ASSERT_TRUE(becomesFree(bob));
    EXPECT_EQ(threads(), before + 1);
    hanging->mayEnd.open();
    EXPECT_TRUE(processEventsUntil([&] { return threads() == before; }));
    EXPECT_TRUE(becomesFree(bob));
}

TEST_F(Executor, JobThatKeepsItsSlotTooLongIsGivenUp)
{
    Settings settings;
    settings.runningPerClient = 1;
    settings.timeLimit = std::chrono::milliseconds(20);
    start(settings);
    RequestExecutor::Slot kept;
    const SharedFate keeper = newFate();
    RequestExecutor::Job job = jobFor(keeper, Lane::Quick);
    job.run = [&kept](RequestExecutor::Slot slot) { kept = std::move(slot); };
    const std::function<void()> task = executor->submitOrTake(alice, std::move(job));
    ASSERT_TRUE(task);
    task();
    ASSERT_TRUE(keeper->waitForRefusal());
    EXPECT_THAT(keeper->refused(), ElementsAre(Refusal::TimedOut));
    EXPECT_TRUE(keeper->context->isCancelled());
    // The thread that refuses holds the job for a moment more.
    EXPECT_TRUE(processEventsUntil([&keeper] { return keeper.use_count() == 3; })) << "the job exists as its slot does";
    EXPECT_TRUE(becomesFree(alice)) << "the client may run another one";
    kept.reset();
    EXPECT_EQ(keeper.use_count(), 2);
}

TEST_F(Executor, TooManyWaitingJobsAreRefused)
{
    Settings settings = narrow();
    settings.waiting = 2;
    start(settings);
    const SharedFate running = block(alice);
    ASSERT_TRUE(running->begun.wait());
    const std::vector<SharedFate> waiting = {pass(alice), pass(bob)};
    EXPECT_THAT(pass(bob)->refused(), ElementsAre(Refusal::Busy));
    EXPECT_THAT(pass(alice, Lane::Walk)->refused(), ElementsAre(Refusal::Busy));
    running->mayEnd.open();
    for (const SharedFate& job : waiting)
        EXPECT_TRUE(job->waitForEnd());
    EXPECT_TRUE(pass(bob)->waitForEnd());
}

TEST_F(Executor, DroppedJobsNoLongerCountAsWaiting)
{
    Settings settings = narrow();
    settings.waiting = 1;
    start(settings);
    const SharedFate running = block(bob);
    ASSERT_TRUE(running->begun.wait());
    pass(alice);
    executor->removeClient(alice);
    const SharedFate waiting = pass(bob);
    EXPECT_THAT(waiting->refused(), IsEmpty());
    running->mayEnd.open();
    EXPECT_TRUE(waiting->waitForEnd());
}

class Taking : public Executor
{
protected:
    [[nodiscard]] std::function<void()> take(const SharedFate& fate, Lane lane = Lane::Quick)
    {
        fate->mayEnd.open();
        return executor->submitOrTake(alice, jobFor(fate, lane));
    }
};

TEST_F(Taking, JobThatMayBeginIsTheCallersToRun)
{
    start({});
    for (const Lane lane : {Lane::Quick, Lane::LongPage}) {
        const SharedFate fate = newFate();
        const std::function<void()> task = take(fate, lane);
        ASSERT_TRUE(task);
        EXPECT_TRUE(runs(bob, lane));
        EXPECT_FALSE(fate->begun.isOpen());
        task();
        EXPECT_EQ(fate->ended, 1);
    }
}

TEST_F(Taking, WalksRunInTheirThreads)
{
    start({});
    const SharedFate walk = newFate();
    EXPECT_FALSE(take(walk, Lane::Walk));
    EXPECT_TRUE(walk->waitForEnd());
}

TEST_F(Taking, JobThatMustWaitIsSubmitted)
{
    Settings settings;
    settings.runningPerClient = 1;
    start(settings);
    const SharedFate running = block(alice);
    ASSERT_TRUE(running->begun.wait());
    const SharedFate waiting = newFate();
    EXPECT_FALSE(take(waiting));
    running->mayEnd.open();
    EXPECT_TRUE(waiting->waitForEnd());
}

TEST_F(Taking, OneJobOfAClientIsTakenAtATime)
{
    start({});
    const std::function<void()> task = take(newFate());
    ASSERT_TRUE(task);
    const SharedFate second = newFate();
    EXPECT_FALSE(take(second)) << "a thread of the client's is left";
    EXPECT_TRUE(second->waitForEnd());
    task();
    const std::function<void()> third = take(newFate());
    ASSERT_TRUE(third);
    third();
}

TEST_F(Taking, TakenJobsCountAsRunning)
{
    Settings settings;
    settings.runningPerClient = 1;
    start(settings);
    const std::function<void()> task = take(newFate());
    ASSERT_TRUE(task);
    const SharedFate next = pass(alice);
    EXPECT_TRUE(runs(bob));
    EXPECT_FALSE(next->begun.isOpen());
    EXPECT_FALSE(executor->stop(std::chrono::milliseconds(1)));
    task();
    EXPECT_TRUE(executor->stop(longTime));
}

TEST_F(Taking, PausedOrStoppedNothingIsTaken)
{
    start({});
    executor->setPaused(alice, true);
    const SharedFate paused = newFate();
    EXPECT_FALSE(take(paused));
    EXPECT_TRUE(executor->stop(longTime));
    EXPECT_THAT(paused->refused(), ElementsAre(Refusal::Stopping));
    const SharedFate late = newFate();
    EXPECT_FALSE(take(late));
    EXPECT_THAT(late->refused(), ElementsAre(Refusal::Stopping));
}

/// Jobs that others answer.
class Holding : public Executor
{
protected:
    [[nodiscard]] RequestExecutor::Slot hold(const SharedFate& fate)
    {
        return executor->hold(alice, jobFor(fate, Lane::Quick));
    }
};

TEST_F(Holding, HeldJobsCountAsRunningAndAreNotCalled)
{
    Settings settings;
    settings.runningPerClient = 1;
    start(settings);
    const SharedFate held = newFate();
    RequestExecutor::Slot slot = hold(held);
    ASSERT_TRUE(slot);
    const SharedFate next = pass(alice);
    EXPECT_TRUE(runs(bob));
    EXPECT_FALSE(next->begun.isOpen());
    slot.reset();
    EXPECT_TRUE(next->waitForEnd());
    EXPECT_FALSE(held->begun.isOpen());
    EXPECT_TRUE(executor->stop(longTime));
}

TEST_F(Holding, JobThatMayNotBeginAtOnceIsLeftAlone)
{
    Settings settings;
    settings.runningPerClient = 1;
    start(settings);
    const SharedFate refused = newFate();
    RequestExecutor::Slot slot = hold(newFate());
    EXPECT_FALSE(hold(refused)) << "the client's other job runs";
    slot.reset();
    executor->setPaused(alice, true);
    EXPECT_FALSE(hold(refused));
    executor->setPaused(alice, false);
    EXPECT_TRUE(executor->stop(longTime));
    EXPECT_FALSE(hold(refused));
    EXPECT_THAT(refused->refused(), IsEmpty());
}

TEST_F(Holding, JobThatIsHeldTooLongIsGivenUp)
{
    Settings settings;
    settings.timeLimit = std::chrono::milliseconds(20);
    start(settings);
    const SharedFate held = newFate();
    const RequestExecutor::Slot slot = hold(held);
    EXPECT_TRUE(held->waitForRefusal());
    EXPECT_THAT(held->refused(), ElementsAre(Refusal::TimedOut));
    EXPECT_TRUE(held->context->isCancelled());
}

} // namespace
