#include "model/cmreply.h"

#include "printers.h"
#include "tavo/tavoroles.h"

#include <QElapsedTimer>
#include <QSemaphore>
#include <QThread>
#include <QVariant>

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace {

/// In milliseconds. Only a failing test waits so long.
constexpr int patience = 20000;

CMError error(const char* name)
{
    return {QLatin1String(name), TrString(TrCharData{"Test", "refused"}, QList<TrArg>())};
}

class CallingWatcher : public CMReplyWatcher
{
public:
    using Function = std::function<void(const CMVoidReply&)>;

    explicit CallingWatcher(Function function) : m_function(std::move(function)) {}
    void replyFinished(const CMVoidReply& reply) override { m_function(reply); }

private:
    Function m_function;
};

class CountingWatcher : public CMReplyWatcher
{
public:
    void replyFinished(const CMVoidReply& /*reply*/) override { ++calls; }

    std::atomic<int> calls = 0;
};

/// A thread that its destructor joins.
class Joined
{
public:
    explicit Joined(std::function<void()> function) : m_thread(std::move(function)) {}
    ~Joined() { m_thread.join(); }
    Q_DISABLE_COPY_MOVE(Joined)

private:
    std::thread m_thread;
};

template<typename T>
T sample(int number);

template<>
QVariant sample(int number)
{
    return number;
}

template<>
QVariantList sample(int number)
{
    return {number, QVariant()};
}

template<>
TavoRowsRoles sample(int number)
{
    TavoRowsRoles page;
    page.setRowsCount(number);
    return page;
}

QVariant plain(const QVariant& value)
{
    return value;
}

QVariant plain(const QVariantList& value)
{
    return value;
}

QVariant plain(const TavoRowsRoles& value)
{
    return value.__variant();
}

template<typename T>
class EveryReply : public testing::Test
{
protected:
    CMReply<T> m_reply{new CMReplyData<T>};
};

struct ValueName
{
    template<typename T>
    static std::string GetName(int /*index*/)
    {
        return QMetaType::typeName(qMetaTypeId<T>());
    }
};

using ReplyTypes = testing::Types<QVariant, QVariantList, TavoRowsRoles>;
TYPED_TEST_SUITE(EveryReply, ReplyTypes, ValueName);

TYPED_TEST(EveryReply, StartsUnfinished)
{
    EXPECT_FALSE(this->m_reply.isFinished());
    EXPECT_FALSE(this->m_reply.isError());
    EXPECT_TRUE(this->m_reply.error().isEmpty());
    EXPECT_EQ(plain(this->m_reply.value()), plain(TypeParam()));
}

TYPED_TEST(EveryReply, ValueFinishesIt)
{
    this->m_reply.setValue(sample<TypeParam>(1));
    EXPECT_TRUE(this->m_reply.isFinished());
    EXPECT_FALSE(this->m_reply.isError());
    EXPECT_EQ(plain(this->m_reply.value()), plain(sample<TypeParam>(1)));
}

TYPED_TEST(EveryReply, ErrorFinishesIt)
{
    this->m_reply.setError(error("first"));
    EXPECT_TRUE(this->m_reply.isFinished());
    EXPECT_TRUE(this->m_reply.isError());
    EXPECT_EQ(this->m_reply.error().name(), QStringLiteral("first"));
    EXPECT_EQ(plain(this->m_reply.value()), plain(TypeParam()));
}

TYPED_TEST(EveryReply, FirstValueStands)
{
    this->m_reply.setValue(sample<TypeParam>(1));
    this->m_reply.setValue(sample<TypeParam>(2));
    this->m_reply.setError(error("late"));
    EXPECT_FALSE(this->m_reply.isError());
    EXPECT_TRUE(this->m_reply.error().isEmpty());
    EXPECT_EQ(plain(this->m_reply.value()), plain(sample<TypeParam>(1)));
}

TYPED_TEST(EveryReply, FirstErrorStands)
{
    this->m_reply.setError(error("first"));
    this->m_reply.setError(error("late"));
    this->m_reply.setValue(sample<TypeParam>(2));
    EXPECT_TRUE(this->m_reply.isError());
    EXPECT_EQ(this->m_reply.error().name(), QStringLiteral("first"));
    EXPECT_EQ(plain(this->m_reply.value()), plain(TypeParam()));
}

TYPED_TEST(EveryReply, ErrorOfAnUntypedHandleFinishesIt)
{
    CMVoidReply untyped = this->m_reply;
    untyped.setError(error("first"));
    EXPECT_EQ(this->m_reply.error().name(), QStringLiteral("first"));
}

TYPED_TEST(EveryReply, LaterCompletionCallsNoWatcherAgain)
{
    CountingWatcher watcher;
    this->m_reply.addWatcher(&watcher);
    this->m_reply.setValue(sample<TypeParam>(1));
    this->m_reply.setValue(sample<TypeParam>(2));
    this->m_reply.setError(error("late"));
    EXPECT_EQ(watcher.calls, 1);
}

TYPED_TEST(EveryReply, WatcherFindsTheValueSet)
{
    QVariant seen;
    CallingWatcher watcher([&](const CMVoidReply& reply) {
        if (reply.isFinished())
            seen = plain(this->m_reply.value());
    });
    this->m_reply.addWatcher(&watcher);
    this->m_reply.setValue(sample<TypeParam>(1));
    EXPECT_EQ(seen, plain(sample<TypeParam>(1)));
}

/// The two ways to finish a reply. All tests of Completion run with both.
using Finish = void (*)(CMReply<QVariant>&);

void finishWithValue(CMReply<QVariant>& reply)
{
    reply.setValue(1);
}

void finishWithError(CMReply<QVariant>& reply)
{
    reply.setError(error("refused"));
}

class Completion : public testing::TestWithParam<Finish>
{
protected:
    void finish() { GetParam()(m_reply); }

    CMReply<QVariant> m_reply{new CMReplyData<QVariant>};
};

INSTANTIATE_TEST_SUITE_P(ByValue, Completion, testing::Values(&finishWithValue));
INSTANTIATE_TEST_SUITE_P(ByError, Completion, testing::Values(&finishWithError));

TEST_P(Completion, WatchersAreCalledInTheirOrder)
{
    std::vector<int> order;
    CallingWatcher first([&](const CMVoidReply&) { order.push_back(1); });
    CallingWatcher second([&](const CMVoidReply&) { order.push_back(2); });
    CallingWatcher third([&](const CMVoidReply&) { order.push_back(3); });
    m_reply.addWatcher(&second);
    m_reply.addWatcher(&first);
    m_reply.addWatcher(&third);
    finish();
    EXPECT_EQ(order, (std::vector<int>{2, 1, 3}));
}

TEST_P(Completion, WatchersRunInTheCompletingThread)
{
    std::optional<std::thread::id> ran;
    CallingWatcher watcher([&](const CMVoidReply&) { ran = std::this_thread::get_id(); });
    m_reply.addWatcher(&watcher);
    std::thread::id completing;
    {
        const Joined thread([&] {
            completing = std::this_thread::get_id();
            finish();
        });
    }
    EXPECT_EQ(ran, completing);
}

TEST_P(Completion, LockIsReleasedWhenWatchersAreCalled)
{
    std::future_status status = std::future_status::deferred;
    CallingWatcher watcher([&](const CMVoidReply& reply) {
        const auto asked = std::async(std::launch::async, [reply] { return reply.isFinished(); });
        status = asked.wait_for(std::chrono::milliseconds(patience));
    });
    m_reply.addWatcher(&watcher);
    finish();
    EXPECT_EQ(status, std::future_status::ready);
}

TEST_P(Completion, WaitersAreWokenBeforeWatchersAreCalled)
{
    QSemaphore waiting;
    QSemaphore woken;
    bool wokenFirst = false;
    CallingWatcher watcher([&](const CMVoidReply&) { wokenFirst = woken.tryAcquire(2, patience); });
    m_reply.addWatcher(&watcher);
    const auto waitForIt = [&] {
        waiting.release();
        if (m_reply.waitForFinished())
            woken.release();
    };
    const Joined one(waitForIt);
    const Joined other(waitForIt);
    waiting.acquire(2);
    finish();
    EXPECT_TRUE(wokenFirst);
}

TEST_P(Completion, WatcherMayFinishAgainAndWatchAgain)
{
    CountingWatcher late;
    CallingWatcher watcher([&](const CMVoidReply& reply) {
        CMVoidReply handle = reply;
        handle.setError(error("late"));
        handle.addWatcher(&late);
    });
    m_reply.addWatcher(&watcher);
    finish();
    EXPECT_EQ(late.calls, 1);
    EXPECT_NE(m_reply.error().name(), QStringLiteral("late"));
}

TEST_P(Completion, WatcherAddedLaterIsCalledAtOnceInTheAddingThread)
{
    finish();
    std::optional<std::thread::id> ran;
    bool finished = false;
    CallingWatcher watcher([&](const CMVoidReply& reply) {
        ran = std::this_thread::get_id();
        finished = reply.isFinished();
    });
    m_reply.addWatcher(&watcher);
    EXPECT_EQ(ran, std::this_thread::get_id());
    EXPECT_TRUE(finished);
}

TEST_P(Completion, RemovedWatcherIsNotCalled)
{
    CountingWatcher removed;
    CountingWatcher kept;
    m_reply.addWatcher(&removed);
    m_reply.addWatcher(&kept);
    EXPECT_TRUE(m_reply.removeWatcher(&removed));
    EXPECT_FALSE(m_reply.removeWatcher(&removed));
    finish();
    EXPECT_EQ(removed.calls, 0);
    EXPECT_EQ(kept.calls, 1);
}

TEST_P(Completion, WatcherThatWasCalledCannotBeRemoved)
{
    CountingWatcher watcher;
    m_reply.addWatcher(&watcher);
    finish();
    EXPECT_FALSE(m_reply.removeWatcher(&watcher));
}

TEST_P(Completion, WatcherCannotBeRemovedWhileWatchersAreCalled)
{
    std::optional<bool> removed;
    CountingWatcher second;
    CallingWatcher first([&](const CMVoidReply&) { removed = m_reply.removeWatcher(&second); });
    m_reply.addWatcher(&first);
    m_reply.addWatcher(&second);
    finish();
    EXPECT_EQ(removed, false);
    EXPECT_EQ(second.calls, 1);
}

TEST_P(Completion, WithoutWatchersOnlyWakesWaiters)
{
    QSemaphore waiting;
    bool finished = false;
    {
        const Joined waiter([&] {
            waiting.release();
            finished = m_reply.waitForFinished(patience);
        });
        waiting.acquire();
        finish();
    }
    EXPECT_TRUE(finished);
}

TEST_P(Completion, WakesEveryWaiter)
{
    finish();
    EXPECT_TRUE(m_reply.waitForFinished());
    EXPECT_TRUE(m_reply.waitForFinished(0));
    EXPECT_TRUE(m_reply.waitForFinished(-7));
}

TEST(Wait, ReturnsAtItsTimeLimit)
{
    const CMVoidReply reply(new CMReplyData<QVariant>);
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(reply.waitForFinished(0));
    EXPECT_LT(timer.elapsed(), patience);
    EXPECT_FALSE(reply.waitForFinished(30));
    EXPECT_GE(timer.elapsed(), 30);
    EXPECT_LT(timer.elapsed(), patience);
}

TEST(Wait, HasNoLimitBelowZero)
{
    for (const int limit : {-1, -2, std::numeric_limits<int>::min()}) {
        CMVoidReply reply(new CMReplyData<QVariant>);
        QSemaphore goOn;
        bool finished = false;
        {
            const Joined waiter([&] {
                goOn.release();
                finished = reply.waitForFinished(limit);
            });
            goOn.acquire();
            EXPECT_FALSE(reply.waitForFinished(20));
            reply.setError(error("refused"));
        }
        EXPECT_TRUE(finished) << limit;
    }
}

/// Copies share a token, which expires with the last copy.
struct Traced
{
    std::shared_ptr<int> token;
};

TEST(Lifetime, DataIsFreedWithItsLastHandle)
{
    Traced traced{std::make_shared<int>()};
    const std::weak_ptr<int> observed = traced.token;
    {
        CMReply<Traced> reply(new CMReplyData<Traced>);
        reply.setValue(traced);
        traced = {};
        const CMVoidReply other = reply;
        reply = CMReply<Traced>();
        EXPECT_FALSE(observed.expired());
        EXPECT_TRUE(other.isFinished());
    }
    EXPECT_TRUE(observed.expired());
}

TEST(Lifetime, UnfinishedDataIsFreedToo)
{
    Traced traced{std::make_shared<int>()};
    const std::weak_ptr<int> observed = traced.token;
    {
        const CMVoidReply reply(new CMReplyData<Traced>(std::exchange(traced, {})));
        EXPECT_FALSE(observed.expired());
    }
    EXPECT_TRUE(observed.expired());
}

TEST(Lifetime, CompletionKeepsTheDataUntilTheLastWatcherIsCalled)
{
    Traced traced{std::make_shared<int>()};
    const std::weak_ptr<int> observed = traced.token;
    auto* data = new CMReplyData<Traced>;
    CMReply<Traced> reply(data);
    CallingWatcher droppingTheOnlyHandle([&](const CMVoidReply&) { reply = CMReply<Traced>(); });
    bool aliveAtTheEnd = false;
    CallingWatcher last([&](const CMVoidReply& handle) { aliveAtTheEnd = handle.isFinished() && !observed.expired(); });
    reply.addWatcher(&droppingTheOnlyHandle);
    reply.addWatcher(&last);
    data->setValue(std::exchange(traced, {}));
    EXPECT_TRUE(aliveAtTheEnd);
    EXPECT_TRUE(observed.expired());
}

TEST(Lifetime, CompletionFreesDataWithoutHandles)
{
    Traced traced{std::make_shared<int>()};
    const std::weak_ptr<int> observed = traced.token;
    auto* data = new CMReplyData<Traced>;
    data->setValue(std::exchange(traced, {}));
    EXPECT_TRUE(observed.expired());
}

TEST(Lifetime, HandleThatAWatcherKeepsHoldsTheData)
{
    Traced traced{std::make_shared<int>()};
    const std::weak_ptr<int> observed = traced.token;
    CMVoidReply kept;
    CallingWatcher keeping([&](const CMVoidReply& reply) { kept = reply; });
    {
        CMReply<Traced> reply(new CMReplyData<Traced>);
        reply.addWatcher(&keeping);
        reply.setValue(std::exchange(traced, {}));
    }
    EXPECT_FALSE(observed.expired());
    kept = CMVoidReply();
    EXPECT_TRUE(observed.expired());
}

TEST(Lifetime, CompletionReplacesTheInitialValue)
{
    Traced initial{std::make_shared<int>()};
    const std::weak_ptr<int> observed = initial.token;
    CMReply<Traced> reply(new CMReplyData<Traced>(std::exchange(initial, {})));
    EXPECT_FALSE(observed.expired());
    reply.setValue(Traced());
    EXPECT_TRUE(observed.expired());
}

TEST(HandleWithoutData, IgnoresValuesAndErrors)
{
    CMReply<QVariant> reply;
    reply.setValue(1);
    reply.setError(error("refused"));
    EXPECT_FALSE(reply.isFinished());
    EXPECT_FALSE(reply.isError());
    EXPECT_TRUE(reply.error().isEmpty());
    EXPECT_FALSE(reply.value().isValid());
}

TEST(HandleWithoutData, EndsAWaitAtOnce)
{
    EXPECT_FALSE(CMVoidReply().waitForFinished());
    EXPECT_FALSE(CMVoidReply().waitForFinished(patience));
}

TEST(HandleWithoutData, CannotBeWatched)
{
    CountingWatcher watcher;
    EXPECT_DEATH(CMVoidReply().addWatcher(&watcher), "m_d");
    EXPECT_DEATH(CMVoidReply().removeWatcher(&watcher), "m_d");
}

/// The outcome of a reply that a thread saw: the number in the value or the name of the error.
QString outcomeOf(const CMReply<QVariant>& reply)
{
    return reply.isError() ? reply.error().name() : reply.value().toString();
}

TEST(ManyThreads, AgreeOnOneOutcome)
{
    constexpr int rounds = 200;
    constexpr size_t completing = 4;
    constexpr size_t waiting = 4;
    for (int round = 0; round < rounds; ++round) {
        CMReply<QVariant> reply(new CMReplyData<QVariant>);
        CountingWatcher early;
        CountingWatcher late;
        reply.addWatcher(&early);
        std::vector<QString> outcomes(waiting);
        {
            std::vector<std::unique_ptr<Joined>> threads;
            QSemaphore start;
            for (size_t i = 0; i < completing; ++i) {
                threads.push_back(std::make_unique<Joined>([&start, reply, i]() mutable {
                    start.acquire();
                    if (i % 2 == 0)
                        reply.setValue(QString::number(i));
                    else
                        reply.setError({QString::number(i), TrString()});
                    reply = CMReply<QVariant>();
                }));
            }
            for (QString& outcome : outcomes) {
                threads.push_back(std::make_unique<Joined>([&start, &outcome, reply] {
                    start.acquire();
                    if (reply.waitForFinished())
                        outcome = outcomeOf(reply);
                }));
            }
            threads.push_back(std::make_unique<Joined>([&start, &late, reply]() mutable {
                start.acquire();
                reply.addWatcher(&late);
            }));
            start.release(static_cast<int>(threads.size()));
        }
        EXPECT_EQ(early.calls, 1);
        EXPECT_EQ(late.calls, 1);
        EXPECT_EQ(outcomes, std::vector<QString>(waiting, outcomeOf(reply)));
        EXPECT_FALSE(outcomeOf(reply).isEmpty());
    }
}

TEST(ManyThreads, FreeTheDataOnce)
{
    constexpr int rounds = 500;
    for (int round = 0; round < rounds; ++round) {
        std::weak_ptr<int> observed;
        {
            CMReply<Traced> reply(new CMReplyData<Traced>);
            Traced traced{std::make_shared<int>()};
            observed = traced.token;
            QSemaphore start;
            const Joined one([&start, reply, traced]() mutable {
                start.acquire();
                reply.setValue(std::exchange(traced, {}));
            });
            const Joined other([&start, reply]() mutable {
                start.acquire();
                reply.setError(error("refused"));
            });
            const Joined dropping([&start, reply]() mutable {
                start.acquire();
                reply = CMReply<Traced>();
            });
            reply = CMReply<Traced>();
            start.release(3);
        }
        EXPECT_TRUE(observed.expired());
    }
}

} // namespace
