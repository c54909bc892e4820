#include "model/cmsubscribe.h"

#include "eventloop.h"
#include "model/cmroot.h"
#include "printers.h"
#include "trackingworker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <future>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <thread>
#include <vector>

namespace {

using testing::Each;
using testing::UnorderedElementsAre;

CMPath path(const char* base)
{
    return {QStringLiteral("test"), QLatin1String(base)};
}

QStringList texts(std::initializer_list<const char*> list)
{
    QStringList result;
    for (const char* text : list)
        result.append(QLatin1String(text));
    return result;
}

const QStringList& reset()
{
    static const QStringList changes(CMSubscribe::RowsChangeReset());
    return changes;
}

const QStringList& closed()
{
    static const QStringList changes(CMSubscribe::RowsChangeClose());
    return changes;
}

class Subscription : public testing::Test
{
protected:
    [[nodiscard]] CMSubscribe& subscribe() { return *m_worker.subscribe(); }
    [[nodiscard]] bool open(const char* base, CMChangeReceiver& client) { return subscribe().add(path(base), &client); }
    void close(const char* base, CMChangeReceiver& client) { subscribe().remove(path(base), &client); }
    [[nodiscard]] bool isOpen(const char* base, const CMChangeReceiver& client)
    {
        return subscribe().isClient(path(base), &client);
    }
    [[nodiscard]] int versionOf(const char* base) const { return m_worker.versions.value(QLatin1String(base)); }

    TrackingWorker m_worker;
    KeepingReceiver m_client;
    KeepingReceiver m_other;
};

TEST_F(Subscription, WorkerHearsOfTheFirstClientAndOfTheEndOfTheLast)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a", m_other));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a"}));
    close("a", m_client);
    EXPECT_EQ(m_worker.takeEvents(), QStringList());
    close("a", m_other);
    EXPECT_EQ(m_worker.takeEvents(), texts({"removed a"}));
}

TEST_F(Subscription, AdditionIsAnnouncedJustBeforeTheWorkerHearsOfIt)
{
    QObject::connect(&subscribe(), &CMSubscribe::rowsPathAboutToBeAdded, [this](const CMPath& path) {
        const QMutexLocker lock(&m_worker.mutex);
        m_worker.note("about to add " + path.base());
    });
    EXPECT_TRUE(open("a", m_client));
    subscribe().renew({path("a")});
    EXPECT_EQ(m_worker.takeEvents(), texts({"about to add a", "added a", "removed a", "about to add a", "added a"}));
}

TEST_F(Subscription, ClientThatOpensTwiceCountsOnce)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a", m_client));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a"}));
    close("a", m_client);
    EXPECT_EQ(m_worker.takeEvents(), texts({"removed a"}));
    EXPECT_FALSE(isOpen("a", m_client));
}

TEST_F(Subscription, ClientThatOpensTwiceReceivesAChangeOnce)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a", m_client));
    subscribe().rowsChanged(path("a"), reset(), 1, -1);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a reset 1"}));
}

TEST_F(Subscription, ClosingWhatIsNotOpenDoesNothing)
{
    EXPECT_TRUE(open("a", m_client));
    close("a", m_other);
    close("ab", m_client);
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a"}));
    EXPECT_TRUE(isOpen("a", m_client));
}

TEST_F(Subscription, PathCanBeOpenedAgain)
{
    EXPECT_TRUE(open("a", m_client));
    close("a", m_client);
    EXPECT_TRUE(open("a", m_client));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a", "added a"}));
}

TEST_F(Subscription, PathsAreCountedApart)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a/b", m_client));
    close("a", m_client);
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "added a/b", "removed a"}));
    EXPECT_TRUE(isOpen("a/b", m_client));
}

TEST_F(Subscription, KnowsWhoIsAClient)
{
    EXPECT_FALSE(isOpen("a", m_client));
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(isOpen("a", m_client));
    EXPECT_FALSE(isOpen("a", m_other));
    EXPECT_FALSE(isOpen("a/b", m_client));
}

TEST_F(Subscription, FindsOpenPathsBySegments)
{
    for (const char* base : {"", "a", "a/b", "ab"})
        EXPECT_TRUE(open(base, m_client));
    EXPECT_TRUE(open("a/b", m_other));
    EXPECT_THAT(subscribe().rowsPathsStartingWith(path("a")), UnorderedElementsAre(path("a"), path("a/b")));
    EXPECT_THAT(subscribe().rowsPathsStartingWith(path("a/b")), UnorderedElementsAre(path("a/b")));
    EXPECT_THAT(
        subscribe().rowsPathsStartingWith(path("")),
        UnorderedElementsAre(path(""), path("a"), path("a/b"), path("ab")));
    EXPECT_TRUE(subscribe().rowsPathsStartingWith(path("a/b/c")).isEmpty());
    EXPECT_TRUE(subscribe().rowsPathsStartingWith(CMPath()).isEmpty());
}

TEST_F(Subscription, WorkerGetsNoRequest)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("missing", m_client));
    close("a", m_client);
    EXPECT_EQ(m_worker.asked.available(), 0);
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "added missing", "removed a"}));
}

TEST_F(Subscription, PathOfAnotherWorkerIsRefused)
{
    const CMPath strange(QStringLiteral("other"), QStringLiteral("a"));
    EXPECT_FALSE(subscribe().add(strange, &m_client));
    EXPECT_EQ(m_worker.takeEvents(), QStringList());
    EXPECT_FALSE(subscribe().isClient(strange, &m_client));
}

TEST_F(Subscription, ChangesArriveFromTheEventLoop)
{
    EXPECT_TRUE(open("a", m_client));
    subscribe().rowsChanged(path("a"), reset(), 7, -1);
    EXPECT_EQ(m_client.received(), QStringList());
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a reset 7"}));
}

TEST_F(Subscription, ChangesArriveInTheirOrderAtEveryClientOfThePath)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a", m_other));
    EXPECT_TRUE(open("ab", m_other));
    for (int version = 1; version <= 3; ++version) {
        subscribe().rowsChanged(path("a"), reset(), version, -1);
        subscribe().rowsChanged(path("ab"), reset(), version, -1);
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a reset 1", "a reset 2", "a reset 3"}));
    EXPECT_EQ(
        m_other.received(), texts({"a reset 1", "ab reset 1", "a reset 2", "ab reset 2", "a reset 3", "ab reset 3"}));
}

TEST_F(Subscription, ResetConcernsItsOwnPathOnly)
{
    EXPECT_TRUE(open("a/b", m_client));
    subscribe().rowsChanged(path("a"), reset(), 1, -1);
    subscribe().rowsChanged(path("a/b/c"), reset(), 1, -1);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), QStringList());
    EXPECT_TRUE(isOpen("a/b", m_client));
}

TEST_F(Subscription, NothingArrivesAfterTheClientHasLeft)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("ab", m_client));
    subscribe().rowsChanged(path("a"), reset(), 1, -1);
    subscribe().rowsChanged(path("ab"), reset(), 2, -1);
    close("a", m_client);
    subscribe().rowsChanged(path("a"), reset(), 3, -1);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"ab reset 2"}));
}

class Close : public Subscription
{
protected:
    /// As a worker does that finds the container gone.
    void loseContainer(const char* base)
    {
        m_worker.containers.removeAll(QLatin1String(base));
        m_worker.versions.remove(QLatin1String(base));
        subscribe().rowsChanged(path(base), closed(), 5, -1);
    }
};

TEST_F(Close, EndsEveryClientsSubscription)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a", m_other));
    loseContainer("a");
    EXPECT_FALSE(isOpen("a", m_client));
    EXPECT_FALSE(isOpen("a", m_other));
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a close 5"}));
    EXPECT_EQ(m_other.received(), texts({"a close 5"}));
}

TEST_F(Close, IsARemovalForTheWorkerFromTheEventLoop)
{
    EXPECT_TRUE(open("a", m_client));
    loseContainer("a");
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a"}));
    QCoreApplication::processEvents();
    EXPECT_EQ(m_worker.takeEvents(), texts({"removed a"}));
}

TEST_F(Close, EndsSubscriptionsBelowDeepestFirst)
{
    for (const char* base : {"", "a", "a/b", "a/b/c", "ab"})
        EXPECT_TRUE(open(base, m_client));
    static_cast<void>(m_worker.takeEvents());
    loseContainer("a");
    QCoreApplication::processEvents();
    EXPECT_THAT(
        m_client.received(),
        UnorderedElementsAre(
            QStringLiteral("a close 5"), QStringLiteral("a/b close 5"), QStringLiteral("a/b/c close 5")));
    EXPECT_EQ(m_worker.takeEvents(), texts({"removed a/b/c", "removed a/b", "removed a"}));
    EXPECT_TRUE(isOpen("", m_client));
    EXPECT_TRUE(isOpen("ab", m_client));
}

TEST_F(Close, OfAPathThatNobodyOpenedEndsSubscriptionsBelow)
{
    EXPECT_TRUE(open("a/b", m_client));
    loseContainer("a");
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a/b close 5"}));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a/b", "removed a/b"}));
}

TEST_F(Close, ArrivesOnce)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a/b", m_client));
    loseContainer("a/b");
    loseContainer("a");
    loseContainer("a/b");
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a/b close 5", "a close 5"}));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "added a/b", "removed a/b", "removed a"}));
}

TEST_F(Close, IsTheLastChangeOfAPath)
{
    EXPECT_TRUE(open("a", m_client));
    subscribe().rowsChanged(path("a"), reset(), 4, -1);
    loseContainer("a");
    subscribe().rowsChanged(path("a"), reset(), 6, -1);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a reset 4", "a close 5"}));
}

TEST_F(Close, ComesWithTheOtherChangesOfItsList)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a/b", m_other));
    subscribe().rowsChanged(path("a"), reset() + closed(), 5, -1);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a reset,close 5"}));
    EXPECT_EQ(m_other.received(), texts({"a/b close 5"}));
}

TEST_F(Close, PathThatComesBackIsOpenedAgainAfterItsRemoval)
{
    EXPECT_TRUE(open("a", m_client));
    loseContainer("a");
    m_worker.containers.append(QStringLiteral("a"));
    EXPECT_TRUE(open("a", m_client));
    QCoreApplication::processEvents();
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a", "added a"}));
    EXPECT_TRUE(isOpen("a", m_client));
}

TEST_F(Close, IsAResetForAClientThatOpensAgainBeforeItArrives)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a", m_other));
    loseContainer("a");
    m_worker.containers.append(QStringLiteral("a"));
    EXPECT_TRUE(open("a", m_client));
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a reset 5"}));
    EXPECT_EQ(m_other.received(), texts({"a close 5"}));
}

TEST_F(Close, IsAResetForAClientThatJoinsAnotherBeforeItArrives)
{
    EXPECT_TRUE(open("a", m_client));
    loseContainer("a");
    m_worker.containers.append(QStringLiteral("a"));
    EXPECT_TRUE(open("a", m_other));
    EXPECT_TRUE(open("a", m_client));
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a reset 5"}));
    EXPECT_EQ(m_other.received(), QStringList());
}

TEST_F(Close, IsReceivedByAClientThatOpensInVain)
{
    EXPECT_TRUE(open("a", m_client));
    loseContainer("a");
    const auto losing = QObject::connect(&subscribe(), &CMSubscribe::rowsPathAdded, [this] { loseContainer("a"); });
    EXPECT_FALSE(open("a", m_client));
    QObject::disconnect(losing);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a close 5"}));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a", "added a", "removed a"}));
}

TEST_F(Close, DoesNotReachTheNextSubscription)
{
    EXPECT_TRUE(open("a", m_client));
    loseContainer("a");
    close("a", m_client);
    m_worker.containers.append(QStringLiteral("a"));
    EXPECT_TRUE(open("a", m_client));
    subscribe().rowsChanged(path("a"), reset(), 6, -1);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a reset 6"}));
}

TEST_F(Close, DoesNotReachAClientThatHasLeft)
{
    EXPECT_TRUE(open("a", m_client));
    loseContainer("a");
    close("a", m_client);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), QStringList());
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a"}));
}

TEST_F(Close, ClientThatLeavesAfterwardsChangesNothing)
{
    EXPECT_TRUE(open("a", m_client));
    loseContainer("a");
    QCoreApplication::processEvents();
    close("a", m_client);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a"}));
}

TEST_F(Close, WhileThePathIsBeingOpenedRefusesAndReleasesIt)
{
    const auto losing = QObject::connect(&subscribe(), &CMSubscribe::rowsPathAdded, [this] { loseContainer("a"); });
    EXPECT_FALSE(open("a", m_client));
    QObject::disconnect(losing);
    EXPECT_FALSE(isOpen("a", m_client));
    QCoreApplication::processEvents();
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a"}));
    EXPECT_EQ(m_client.received(), QStringList());
}

TEST_F(Close, OfAPathAboveWhileThePathIsBeingOpenedRefusesAndReleasesIt)
{
    const auto losing = QObject::connect(&subscribe(), &CMSubscribe::rowsPathAdded, [this] { loseContainer("a"); });
    EXPECT_FALSE(open("a/b", m_client));
    QObject::disconnect(losing);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a/b", "removed a/b"}));
    EXPECT_EQ(m_client.received(), QStringList());
}

TEST_F(Subscription, WorkersQueuedNotificationsArriveBeforeTheRemoval)
{
    EXPECT_TRUE(open("a", m_client));
    QMetaObject::invokeMethod(
        &m_worker, [this] { m_worker.note(QStringLiteral("notified")); }, Qt::QueuedConnection);
    close("a", m_client);
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "notified", "removed a"}));
}

TEST_F(Close, WorkersQueuedNotificationsArriveBeforeTheRemoval)
{
    EXPECT_TRUE(open("a", m_client));
    loseContainer("a");
    QMetaObject::invokeMethod(
        &m_worker, [this] { m_worker.note(QStringLiteral("notified")); }, Qt::QueuedConnection);
    EXPECT_TRUE(open("ab", m_client));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "notified", "removed a", "added ab"}));
}

TEST_F(Subscription, DestroyedClientLeavesEverything)
{
    {
        KeepingReceiver brief;
        EXPECT_TRUE(open("a", brief));
        EXPECT_TRUE(open("a/b", brief));
        EXPECT_TRUE(open("ab", brief));
        EXPECT_TRUE(open("ab", m_client));
        subscribe().rowsChanged(path("a"), reset(), 1, -1);
        static_cast<void>(m_worker.takeEvents());
    }
    EXPECT_THAT(subscribe().rowsPathsStartingWith(path("")), UnorderedElementsAre(path("ab")));
    QCoreApplication::processEvents();
    EXPECT_EQ(m_worker.takeEvents(), texts({"removed a/b", "removed a"}));
    EXPECT_TRUE(isOpen("ab", m_client));
}

TEST_F(Subscription, DestroyedClientLeavesNothingToTheNextAtItsAddress)
{
    std::optional<KeepingReceiver> client(std::in_place);
    EXPECT_TRUE(open("a", *client));
    subscribe().rowsChanged(path("a"), reset(), 1, -1);
    client.emplace();
    EXPECT_TRUE(open("a", *client));
    subscribe().rowsChanged(path("a"), reset(), 2, -1);
    QCoreApplication::processEvents();
    EXPECT_EQ(client->received(), texts({"a reset 2"}));
}

TEST_F(Subscription, ClientMayLeaveWhileItHandlesAChange)
{
    class Leaving : public KeepingReceiver
    {
    public:
        explicit Leaving(CMSubscribe& subscribe) : m_subscribe(subscribe) {}
        void rowsChanged(const CMPath& path, const QStringList& changes, int version) override
        {
            KeepingReceiver::rowsChanged(path, changes, version);
            m_subscribe.remove(path, this);
        }

    private:
        CMSubscribe& m_subscribe;
    };
    Leaving client(subscribe());
    EXPECT_TRUE(open("a", client));
    subscribe().rowsChanged(path("a"), reset(), 1, -1);
    subscribe().rowsChanged(path("a"), reset(), 2, -1);
    QCoreApplication::processEvents();
    EXPECT_EQ(client.received(), texts({"a reset 1"}));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a"}));
}

TEST(SubscriptionToADeletedWorker, StillBringsWhatWasOnItsWay)
{
    KeepingReceiver client;
    {
        TrackingWorker worker;
        EXPECT_TRUE(worker.subscribe()->add(path("a"), &client));
        worker.subscribe()->rowsChanged(path("a"), reset(), 1, -1);
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(client.received(), texts({"a reset 1"}));
}

TEST_F(Subscription, IsTheWorkersConnectChange)
{
    EXPECT_TRUE(m_worker.connectChange(path("a"), &m_client));
    subscribe().rowsChanged(path("a"), reset(), 1, -1);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a reset 1"}));
    m_worker.disconnectChange(path("a"), &m_client);
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a"}));
}

class Renewal : public Subscription
{
protected:
    void renew(std::initializer_list<const char*> bases)
    {
        QList<CMPath> paths;
        for (const char* base : bases)
            paths.append(path(base));
        subscribe().renew(paths);
    }

    [[nodiscard]] QString resetOf(const char* base) const
    {
        return QStringLiteral("%1 reset %2").arg(QLatin1String(base)).arg(versionOf(base));
    }
};

TEST_F(Renewal, ReleasesFromTheDeepestUpAndAddsFromTheTopDown)
{
    for (const char* base : {"", "a", "a/b", "a/b/c", "ab"})
        EXPECT_TRUE(open(base, m_client));
    static_cast<void>(m_worker.takeEvents());
    renew({"a/b", "a", "a/b/c"});
    EXPECT_EQ(
        m_worker.takeEvents(),
        texts({"removed a/b/c", "removed a/b", "removed a", "added a", "added a/b", "added a/b/c"}));
}

TEST_F(Renewal, ResetsEveryClientWithTheNewVersion)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a", m_other));
    EXPECT_TRUE(open("ab", m_other));
    const int before = versionOf("a");
    renew({"a"});
    EXPECT_GT(versionOf("a"), before);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), QStringList(resetOf("a")));
    EXPECT_EQ(m_other.received(), QStringList(resetOf("a")));
    EXPECT_TRUE(isOpen("a", m_client));
    EXPECT_TRUE(isOpen("a", m_other));
}

TEST_F(Renewal, LeavesOutWhatIsNotOpen)
{
    EXPECT_TRUE(open("a", m_client));
    renew({"a/b", "missing"});
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a"}));
    renew({});
    EXPECT_EQ(m_worker.takeEvents(), QStringList());
}

TEST_F(Renewal, ComesAfterPendingRemovals)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("ab", m_client));
    static_cast<void>(m_worker.takeEvents());
    subscribe().rowsChanged(path("ab"), closed(), 1, -1);
    renew({"ab", "a"});
    EXPECT_EQ(m_worker.takeEvents(), texts({"removed ab", "removed a", "added a"}));
}

TEST_F(Renewal, ClosesWhatTheWorkerDoesNotTakeAgainAndAllBelow)
{
    for (const char* base : {"", "a", "a/b", "a/b/c", "ab"})
        EXPECT_TRUE(open(base, m_client));
    static_cast<void>(m_worker.takeEvents());
    m_worker.containers.removeAll(QStringLiteral("a"));
    renew({"a/b", "a"});
    QCoreApplication::processEvents();
    EXPECT_THAT(
        m_client.received(),
        UnorderedElementsAre(
            QStringLiteral("a close 0"), QStringLiteral("a/b close 0"), QStringLiteral("a/b/c close 0")));
    EXPECT_THAT(subscribe().rowsPathsStartingWith(path("")), UnorderedElementsAre(path(""), path("ab")));
    // Only a/b/c is removed afterwards: the worker holds nothing of the other two.
    EXPECT_EQ(m_worker.takeEvents(), texts({"removed a/b", "removed a", "added a", "removed a/b/c"}));
}

TEST_F(Renewal, HidesPathsUntilTheyAreAddedAgain)
{
    for (const char* base : {"a", "a/b", "ab"})
        EXPECT_TRUE(open(base, m_client));
    QList<CMPath> seen;
    const auto looking = QObject::connect(
        &subscribe(), &CMSubscribe::rowsPathRemoved, [&] { seen += subscribe().rowsPathsStartingWith(path("")); });
    renew({"a", "a/b"});
    QObject::disconnect(looking);
    EXPECT_EQ(seen, (QList<CMPath>{path("ab"), path("ab")}));
    EXPECT_EQ(subscribe().rowsPathsStartingWith(path("")).size(), 3);
}

TEST_F(Renewal, EndsWithTheCloseOfAPathThatIsLostMeanwhile)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a/b", m_other));
    const auto losing = QObject::connect(&subscribe(), &CMSubscribe::rowsPathRemoved, [this](const CMPath& removed) {
        if (removed == path("a"))
            subscribe().rowsChanged(removed, closed(), 1, -1);
    });
    renew({"a"});
    QObject::disconnect(losing);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a close 0"}));
    EXPECT_EQ(m_other.received(), texts({"a/b close 1"}));
    EXPECT_TRUE(subscribe().rowsPathsStartingWith(path("")).isEmpty());
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "added a/b", "removed a", "removed a/b"}));
}

TEST_F(Renewal, ReleasesAPathThatIsLostAsSoonAsItIsAddedAgain)
{
    EXPECT_TRUE(open("a", m_client));
    const auto losing = QObject::connect(&subscribe(), &CMSubscribe::rowsPathAdded, [this] {
        m_worker.versions.remove(QStringLiteral("a"));
        subscribe().rowsChanged(path("a"), closed(), 1, -1);
    });
    renew({"a"});
    QObject::disconnect(losing);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a close 0"}));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a", "added a", "removed a"}));
}

TEST_F(Renewal, ReleasesAPathThatVanishesAsSoonAsItIsAddedAgain)
{
    EXPECT_TRUE(open("a", m_client));
    const auto vanishing = QObject::connect(
        &subscribe(), &CMSubscribe::rowsPathAdded, [this] { m_worker.containers.removeAll(QStringLiteral("a")); });
    renew({"a"});
    QObject::disconnect(vanishing);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"a close 0"}));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a", "added a", "removed a"}));
}

TEST_F(Renewal, ReleasesAPathWhoseLastClientGoesMeanwhile)
{
    auto brief = std::make_unique<KeepingReceiver>();
    EXPECT_TRUE(open("a", *brief));
    EXPECT_TRUE(open("a/b", m_client));
    static_cast<void>(m_worker.takeEvents());
    KeepingReceiver observer;
    subscribe().setObserver(&observer);
    const auto going = QObject::connect(&subscribe(), &CMSubscribe::rowsPathRemoved, [&] { brief.reset(); });
    renew({"a"});
    QObject::disconnect(going);
    QCoreApplication::processEvents();
    EXPECT_EQ(observer.received(), QStringList());
    subscribe().setObserver(nullptr);
    EXPECT_EQ(m_worker.takeEvents(), texts({"removed a", "added a", "removed a"}));
    EXPECT_EQ(m_client.received(), QStringList());
    EXPECT_TRUE(isOpen("a/b", m_client));
}

class Verification : public Subscription
{
protected:
    void SetUp() override
    {
        QObject::connect(&subscribe(), &CMSubscribe::rowsPathAdded, &subscribe(), &CMSubscribe::verify);
        QObject::connect(&subscribe(), &CMSubscribe::rowsPathRefused, [this](const CMPath& path) {
            const QMutexLocker lock(&m_worker.mutex);
            m_worker.note("refused " + path.base());
        });
    }
};

TEST_F(Verification, KeepsAPathThatTheWorkerHasTaken)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(isOpen("a", m_client));
    close("a", m_client);
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a"}));
}

TEST_F(Verification, KeepsAPathWhoseRowsHaveTheVersionThatItAsksFor)
{
    m_worker.setLastVersion(std::numeric_limits<int>::max() - 1);
    EXPECT_TRUE(open("a", m_client));
    EXPECT_EQ(versionOf("a"), std::numeric_limits<int>::max());
    EXPECT_TRUE(isOpen("a", m_client));
}

TEST_F(Verification, RefusesAPathThatTheWorkerHasNotTakenAndSendsNoRemoval)
{
    EXPECT_FALSE(open("missing", m_client));
    QCoreApplication::processEvents();
    EXPECT_FALSE(isOpen("missing", m_client));
    EXPECT_EQ(m_client.received(), QStringList());
    EXPECT_EQ(m_worker.takeEvents(), texts({"added missing", "refused missing"}));
}

TEST_F(Verification, RefusedPathCanBeOpenedWhenItIsThere)
{
    EXPECT_FALSE(open("late", m_client));
    m_worker.containers.append(QStringLiteral("late"));
    EXPECT_TRUE(open("late", m_client));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added late", "refused late", "added late"}));
}

TEST_F(Subscription, ObserverReceivesTheChangesOfEveryPathThatHasClients)
{
    KeepingReceiver observer;
    subscribe().setObserver(&observer);
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a/b", m_other));
    subscribe().rowsChanged(path("a"), reset(), 1, -1);
    subscribe().rowsChanged(path("ab"), reset(), 2, -1);
    subscribe().rowsChanged(path("a"), closed(), 3, -1);
    EXPECT_EQ(observer.received(), QStringList());
    QCoreApplication::processEvents();
    EXPECT_THAT(
        observer.received(),
        UnorderedElementsAre(QStringLiteral("a reset 1"), QStringLiteral("a close 3"), QStringLiteral("a/b close 3")));
    subscribe().setObserver(nullptr);
}

TEST_F(Subscription, ObserverIsNoClient)
{
    KeepingReceiver observer;
    subscribe().setObserver(&observer);
    EXPECT_TRUE(open("a", m_client));
    EXPECT_FALSE(isOpen("a", observer));
    close("a", m_client);
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a"}));
    subscribe().setObserver(nullptr);
}

TEST_F(Subscription, ReplacedObserverReceivesNothing)
{
    KeepingReceiver first;
    KeepingReceiver second;
    EXPECT_TRUE(open("a", m_client));
    subscribe().setObserver(&first);
    subscribe().setObserver(&second);
    subscribe().rowsChanged(path("a"), reset(), 1, -1);
    subscribe().setObserver(nullptr);
    subscribe().rowsChanged(path("a"), reset(), 2, -1);
    QCoreApplication::processEvents();
    EXPECT_EQ(first.received(), QStringList());
    EXPECT_EQ(second.received(), texts({"a reset 1"}));
}

TEST_F(Subscription, ReplacedObserverLeavesNothingToTheNextAtItsAddress)
{
    std::optional<KeepingReceiver> observer(std::in_place);
    EXPECT_TRUE(open("a", m_client));
    subscribe().setObserver(&*observer);
    subscribe().rowsChanged(path("a"), reset(), 1, -1);
    subscribe().setObserver(nullptr);
    observer.emplace();
    subscribe().setObserver(&*observer);
    subscribe().rowsChanged(path("a"), reset(), 2, -1);
    QCoreApplication::processEvents();
    EXPECT_EQ(observer->received(), texts({"a reset 2"}));
    subscribe().setObserver(nullptr);
}

TEST_F(Subscription, RemembersWhenAPathLastChanged)
{
    using Clock = std::chrono::system_clock;
    EXPECT_TRUE(open("a", m_client));
    EXPECT_EQ(subscribe().lastChange(path("a")), Clock::time_point());
    const Clock::time_point before = Clock::now();
    subscribe().rowsChanged(path("a"), reset(), 1, -1);
    EXPECT_GE(subscribe().lastChange(path("a")), before);
    EXPECT_LE(subscribe().lastChange(path("a")), Clock::now());
    EXPECT_EQ(subscribe().lastChange(path("ab")), Clock::time_point());
    close("a", m_client);
    EXPECT_EQ(subscribe().lastChange(path("a")), Clock::time_point());
}

// Threads.

TEST_F(Subscription, CallsFromOtherThreadsAreCarriedToTheWorkersThread)
{
    const auto calling = std::async(std::launch::async, [this] {
        const bool opened = open("a", m_client);
        close("a", m_client);
        return opened;
    });
    ASSERT_TRUE(
        processEventsUntil([&] { return calling.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a"}));
    EXPECT_THAT(m_worker.threads, Each(QThread::currentThread()));
}

TEST_F(Subscription, ClientReceivesChangesInItsOwnThread)
{
    QThread thread;
    thread.start();
    auto client = std::make_unique<KeepingReceiver>();
    client->moveToThread(&thread);
    EXPECT_TRUE(open("a", *client));
    subscribe().rowsChanged(path("a"), reset(), 1, -1);
    EXPECT_TRUE(processEventsUntil([&] { return !client->received().isEmpty(); }));
    EXPECT_EQ(client->receivedIn(), &thread);
    thread.quit();
    thread.wait();
}

TEST_F(Subscription, ClientDestroyedInAnotherThreadLeaves)
{
    auto client = std::make_unique<KeepingReceiver>();
    EXPECT_TRUE(open("a", *client));
    std::thread([&] { client.reset(); }).join();
    EXPECT_TRUE(subscribe().rowsPathsStartingWith(path("")).isEmpty());
    QCoreApplication::processEvents();
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a"}));
    EXPECT_THAT(m_worker.threads, Each(QThread::currentThread()));
}

TEST_F(Subscription, LockIsALeafUnderTheWorkersOwn)
{
    EXPECT_TRUE(open("ab", m_client));
    m_worker.adding.acquire();
    bool announcedInTime = false;
    QSemaphore locked;
    std::thread announcing([this, &locked, &announcedInTime] {
        const QMutexLocker lock(&m_worker.mutex);
        locked.release();
        // The worker's thread is on its way into the slot now, and waits there for the lock.
        announcedInTime = m_worker.adding.tryAcquire(1, 20000);
        subscribe().rowsChanged(path("ab"), reset(), 1, -1);
        subscribe().rowsChanged(path("ab"), closed(), 1, -1);
    });
    locked.acquire();
    EXPECT_TRUE(open("a", m_client));
    announcing.join();
    EXPECT_TRUE(announcedInTime);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), texts({"ab reset 1", "ab close 1"}));
}

// A removal and the rows requests under way.

/// Requests for rows through the root worker, which are held where the worker begins to answer them.
class Removal : public Subscription
{
protected:
    Removal() { EXPECT_TRUE(CMRootWorker::instance().mount(&m_worker)); }
    ~Removal() override
    {
        for (std::thread& thread : m_threads)
            thread.join();
    }

    /// Returns when the worker has the request, which goes on when `gate` is released.
    void beginRequest(const char* base, QSemaphore& gate)
    {
        QSemaphore begun;
        m_worker.setServing([&begun, &gate] {
            begun.release();
            gate.acquire();
        });
        m_threads.emplace_back([base] { CMRoot()->request(CMGetRowsRequest(path(base), 0, -1, 0, QStringList())); });
        begun.acquire();
        m_worker.setServing({});
    }

    /// Releases the request at `m_first`, the oldest one, and runs what its end has brought about.
    void endFirstRequest()
    {
        m_first.release();
        m_threads.front().join();
        m_threads.erase(m_threads.begin());
        QCoreApplication::processEvents();
    }

    [[nodiscard]] bool waitForEvents(const QStringList& events)
    {
        QStringList seen;
        return processEventsUntil([&] { return (seen += m_worker.takeEvents()) == events; });
    }

    QSemaphore m_first;
    QSemaphore m_second;
    std::vector<std::thread> m_threads;
};

TEST_F(Removal, WaitsForARequestThatBeganBeforeWithoutBlockingAnybody)
{
    EXPECT_TRUE(open("a/b", m_client));
    beginRequest("a", m_first);
    close("a/b", m_client);
    QCoreApplication::processEvents();
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a/b"}));
    m_first.release();
    EXPECT_TRUE(waitForEvents(texts({"removed a/b"})));
}

TEST_F(Removal, DoesNotWaitForALaterRequestOfAnotherPath)
{
    EXPECT_TRUE(open("a/b", m_client));
    beginRequest("a", m_first);
    close("a/b", m_client);
    beginRequest("a", m_second);
    m_first.release();
    EXPECT_TRUE(waitForEvents(texts({"added a/b", "removed a/b"})));
    m_second.release();
}

TEST_F(Removal, WaitsForALaterRequestOfTheVeryPath)
{
    EXPECT_TRUE(open("a/b", m_client));
    beginRequest("a", m_first);
    close("a/b", m_client);
    beginRequest("a//c/../b", m_second);
    endFirstRequest();
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a/b"}));
    m_second.release();
    EXPECT_TRUE(waitForEvents(texts({"removed a/b"})));
}

TEST_F(Removal, WaitsForARequestWhoseBaseMayBeAnotherSpelling)
{
    EXPECT_TRUE(open("a", m_client));
    beginRequest("/somewhere/a", m_first);
    close("a", m_client);
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a"}));
    m_first.release();
    EXPECT_TRUE(waitForEvents(texts({"removed a"})));
}

TEST_F(Removal, WaitsForALaterRequestWhoseBaseMayBeAnotherSpelling)
{
    EXPECT_TRUE(open("a", m_client));
    beginRequest("ab", m_first);
    close("a", m_client);
    beginRequest("../a", m_second);
    endFirstRequest();
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a"}));
    m_second.release();
    EXPECT_TRUE(waitForEvents(texts({"removed a"})));
}

TEST_F(Removal, ComesAfterWhatSuchRequestsHaveQueuedForTheWorker)
{
    EXPECT_TRUE(open("a", m_client));
    m_worker.setServing([this] {
        m_second.release();
        m_first.acquire();
        QMetaObject::invokeMethod(
            &m_worker, [this] { m_worker.note(QStringLiteral("notified")); }, Qt::QueuedConnection);
    });
    m_threads.emplace_back([] { CMRoot()->request(CMGetRowsRequest(path("a"), 0, -1, 0, QStringList())); });
    m_second.acquire();
    close("a", m_client);
    m_first.release();
    EXPECT_TRUE(waitForEvents(texts({"added a", "notified", "removed a"})));
}

TEST_F(Removal, LetsNoRequestOfThePathBeginBeforeItHasRun)
{
    for (const char* spelling : {"a", "./a", "/somewhere/a", "../root/a"}) {
        EXPECT_TRUE(open("a", m_client));
        const auto requesting = QObject::connect(&subscribe(), &CMSubscribe::rowsPathRemoved, [this, spelling] {
            m_threads.emplace_back([this, spelling] {
                m_first.release();
                CMRoot()->request(CMGetRowsRequest(path(spelling), 0, -1, 0, QStringList()));
            });
            m_first.acquire();
            EXPECT_FALSE(m_worker.asked.tryAcquire(1, 50)) << spelling;
        });
        close("a", m_client);
        QObject::disconnect(requesting);
        EXPECT_TRUE(m_worker.asked.tryAcquire(1, 20000)) << spelling;
        m_threads.front().join();
        m_threads.clear();
    }
}

TEST_F(Removal, WaitsForTheRemovalsBelow)
{
    EXPECT_TRUE(open("a", m_client));
    EXPECT_TRUE(open("a/b", m_client));
    EXPECT_TRUE(open("ab", m_client));
    static_cast<void>(m_worker.takeEvents());
    beginRequest("a/b", m_first);
    for (const char* base : {"a/b", "a", "ab"})
        close(base, m_client);
    beginRequest("a/b", m_second);
    m_first.release();
    EXPECT_TRUE(waitForEvents(texts({"removed ab"})));
    m_second.release();
    EXPECT_TRUE(waitForEvents(texts({"removed a/b", "removed a"})));
}

TEST_F(Removal, IsDroppedForAClientThatOpensThePathAgain)
{
    EXPECT_TRUE(open("a", m_client));
    beginRequest("a", m_first);
    close("a", m_client);
    EXPECT_TRUE(subscribe().rowsPathsStartingWith(path("")).isEmpty());
    EXPECT_TRUE(open("a", m_other));
    endFirstRequest();
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a"}));
    EXPECT_THAT(subscribe().rowsPathsStartingWith(path("")), UnorderedElementsAre(path("a")));
    close("a", m_other);
    EXPECT_EQ(m_worker.takeEvents(), texts({"removed a"}));
}

TEST_F(Removal, AfterACloseComesBeforeTheNextAddition)
{
    EXPECT_TRUE(open("a", m_client));
    beginRequest("a", m_first);
    subscribe().rowsChanged(path("a"), closed(), 1, -1);
    auto opening = std::async(std::launch::async, [this] { return open("a", m_other); });
    subscribe().whenSettled(path("a/b"), [this] { m_worker.note(QStringLiteral("settled")); });
    QCoreApplication::processEvents();
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a"}));
    m_first.release();
    const auto isOpened = [&] { return opening.wait_for(std::chrono::seconds(0)) == std::future_status::ready; };
    EXPECT_TRUE(processEventsUntil(isOpened));
    EXPECT_TRUE(opening.get());
    QStringList events = m_worker.takeEvents();
    EXPECT_TRUE(events.removeOne(QStringLiteral("settled")));
    EXPECT_EQ(events, texts({"removed a", "added a"}));
    EXPECT_TRUE(isOpen("a", m_other));
}

TEST_F(Removal, OfAPathThatIsClosedAfterItsLastClientHasLeftIsNotDropped)
{
    EXPECT_TRUE(open("a", m_client));
    beginRequest("a", m_first);
    close("a", m_client);
    subscribe().rowsChanged(path("a"), closed(), 1, -1);
    bool opened = false;
    subscribe().whenSettled(path("a"), [&] { opened = open("a", m_other); });
    EXPECT_FALSE(opened);
    m_first.release();
    EXPECT_TRUE(waitForEvents(texts({"added a", "removed a", "added a"})));
    EXPECT_TRUE(opened);
}

TEST_F(Removal, IsWaitedForByAnAdditionInTheWorkersThread)
{
    EXPECT_TRUE(open("a", m_client));
    beginRequest("a", m_first);
    subscribe().rowsChanged(path("a"), closed(), 1, -1);
    std::thread releasing([this] { m_first.release(); });
    EXPECT_TRUE(open("a", m_other));
    releasing.join();
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a", "added a"}));
}

TEST_F(Removal, OfARenewalWaitsWithAllOthersOfIt)
{
    for (const char* base : {"a", "a/b"})
        EXPECT_TRUE(open(base, m_client));
    static_cast<void>(m_worker.takeEvents());
    beginRequest("a/b", m_first);
    subscribe().renew({path("a"), path("a/b")});
    EXPECT_TRUE(open("a", m_other));
    QCoreApplication::processEvents();
    EXPECT_EQ(m_worker.takeEvents(), QStringList());
    m_first.release();
    EXPECT_TRUE(waitForEvents(texts({"removed a/b", "removed a", "added a", "added a/b"})));
    EXPECT_TRUE(processEventsUntil([this] { return m_other.received().size() == 1; }));
    EXPECT_EQ(m_other.received(), QStringList(QStringLiteral("a reset %1").arg(m_worker.versions.value("a"))));
}

TEST_F(Removal, OfARenewalWaitsForALaterRequestOfOneOfItsPaths)
{
    for (const char* base : {"a", "a/b", "ab"})
        EXPECT_TRUE(open(base, m_client));
    static_cast<void>(m_worker.takeEvents());
    beginRequest("a/b/c", m_first);
    subscribe().renew({path("a"), path("a/b")});
    subscribe().renew({path("ab")});
    beginRequest("a", m_second);
    endFirstRequest();
    EXPECT_EQ(m_worker.takeEvents(), texts({"removed ab", "added ab"})) << "another renewal does not wait";
    m_second.release();
    EXPECT_TRUE(waitForEvents(texts({"removed a/b", "removed a", "added a", "added a/b"})));
}

TEST_F(Removal, OfARenewalWaitsForTheRemovalsBelow)
{
    for (const char* base : {"a", "a/b", "ab"})
        EXPECT_TRUE(open(base, m_client));
    static_cast<void>(m_worker.takeEvents());
    beginRequest("a/b/c", m_first);
    close("a/b", m_client);
    subscribe().renew({path("a"), path("ab")});
    beginRequest("a/b", m_second);
    endFirstRequest();
    EXPECT_EQ(m_worker.takeEvents(), QStringList());
    m_second.release();
    EXPECT_TRUE(waitForEvents(texts({"removed ab", "removed a/b", "removed a", "added a", "added ab"})));
}

TEST_F(Removal, OfARenewedPathThatAllLeaveMeanwhileIsFinal)
{
    EXPECT_TRUE(open("a", m_client));
    beginRequest("a", m_first);
    subscribe().renew({path("a")});
    close("a", m_client);
    m_first.release();
    EXPECT_TRUE(waitForEvents(texts({"added a", "removed a"})));
    EXPECT_TRUE(subscribe().rowsPathsStartingWith(path("")).isEmpty());
}

TEST_F(Subscription, SettledPathIsSettledAtOnce)
{
    EXPECT_TRUE(open("a", m_client));
    subscribe().rowsChanged(path("a"), closed(), 1, -1);
    bool isCalled = false;
    subscribe().whenSettled(path("a"), [&isCalled] { isCalled = true; });
    EXPECT_TRUE(isCalled);
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "removed a"}));
}

TEST_F(Removal, LeavesAPathSettledThatItsLastClientHasLeft)
{
    EXPECT_TRUE(open("a", m_client));
    beginRequest("a", m_first);
    close("a", m_client);
    bool isCalled = false;
    subscribe().whenSettled(path("a/b"), [&isCalled] { isCalled = true; });
    EXPECT_TRUE(isCalled);
    m_first.release();
    EXPECT_TRUE(waitForEvents(texts({"added a", "removed a"})));
}

/// A sub-directory is gone when a request in another thread looks, and is there again soon.
TEST_F(Removal, IsNotUndoneByARequestThatFindsThePathGoneForAMoment)
{
    EXPECT_TRUE(open("a", m_client));
    m_worker.setServing([this] {
        m_second.release();
        m_first.acquire();
        m_worker.announceGone(path("a"));
    });
    m_threads.emplace_back([] { CMRoot()->request(CMGetRowsRequest(path("a"), 0, -1, 0, QStringList())); });
    m_second.acquire();
    close("a", m_client);
    endFirstRequest();
    EXPECT_TRUE(m_worker.versions.isEmpty());
    EXPECT_TRUE(open("a", m_client));
    EXPECT_EQ(m_worker.takeEvents(), texts({"added a", "found a", "removed a", "added a"}));
}

TEST_F(Subscription, ChangesFromManyThreadsAllArriveEachThreadsInOrder)
{
    constexpr int changes = 200;
    EXPECT_TRUE(open("a", m_client));
    const auto announcing = [this](int firstVersion) {
        return std::thread([this, firstVersion] {
            for (int i = 0; i < changes; ++i)
                subscribe().rowsChanged(path("a"), reset(), firstVersion + i, -1);
        });
    };
    std::array threads{announcing(0), announcing(changes), announcing(2 * changes)};
    for (std::thread& thread : threads)
        thread.join();
    QCoreApplication::processEvents();
    ASSERT_EQ(m_client.received().size(), 3 * changes);
    std::vector<int> next = {0, changes, 2 * changes};
    for (const QString& change : m_client.received()) {
        const int version = change.section(QLatin1Char(' '), 2).toInt();
        EXPECT_EQ(version, next.at(static_cast<size_t>(version / changes))++);
    }
}

/// A worker in a thread of its own.
class BusySubscription : public testing::Test
{
protected:
    void SetUp() override
    {
        m_worker.moveToThread(&m_thread);
        m_thread.start();
    }
    void TearDown() override
    {
        m_thread.quit();
        m_thread.wait();
    }

    /// Returns when the worker's thread has done what was queued so far.
    void settle()
    {
        QMetaObject::invokeMethod(
            m_worker.subscribe(), [] {}, Qt::BlockingQueuedConnection);
    }

    QThread m_thread;
    TrackingWorker m_worker;
};

/// Opens and closes at random, closes everything at the end.
void useAtRandom(CMSubscribe& subscribe, unsigned seed)
{
    const std::vector<CMPath> paths = {path(""), path("a"), path("a/b"), path("a/b/c"), path("ab")};
    KeepingReceiver client;
    std::minstd_rand random(seed);
    for (int i = 0; i < 150; ++i) {
        const CMPath& chosen = paths[random() % paths.size()];
        switch (random() % 8) {
        case 0:
            subscribe.rowsChanged(chosen, closed(), i, -1);
            break;
        case 1:
            subscribe.rowsChanged(chosen, reset(), i, -1);
            break;
        case 2:
        case 3:
            subscribe.remove(chosen, &client);
            break;
        default:
            EXPECT_TRUE(subscribe.add(chosen, &client) || !subscribe.isClient(chosen, &client));
        }
        QCoreApplication::sendPostedEvents(&client);
    }
}

TEST_F(BusySubscription, AdditionsAndRemovalsAlternateHoweverManyThreadsOpenAndClose)
{
    const auto client = [this](unsigned seed) {
        return std::thread([this, seed] { useAtRandom(*m_worker.subscribe(), seed); });
    };
    std::array threads{client(1), client(2), client(3), client(4)};
    for (std::thread& thread : threads)
        thread.join();
    settle();
    EXPECT_TRUE(m_worker.subscribe()->rowsPathsStartingWith(path("")).isEmpty());
    EXPECT_TRUE(m_worker.versions.isEmpty());
    EXPECT_THAT(m_worker.threads, Each(&m_thread));
    QHash<QString, int> open;
    for (const QString& event : m_worker.takeEvents()) {
        const QString base = event.section(QLatin1Char(' '), 1);
        open[base] += event.startsWith(QLatin1String("added ")) ? 1 : -1;
        EXPECT_TRUE(open[base] == 0 || open[base] == 1) << event.toStdString();
    }
    EXPECT_THAT(open.values(), Each(0));
}

} // namespace
