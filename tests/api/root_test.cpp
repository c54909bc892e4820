#include "model/cmroot.h"

#include "eventloop.h"
#include "model/cmthread.h"
#include "model/cmversion.h"
#include "printers.h"
#include "tavo/tavokeys.h"
#include "trackingworker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

CMRootWorker& root()
{
    return CMRootWorker::instance();
}

QVariant albumArtWidth()
{
    return CMRoot()->getValue(TavoMusicLibraryAlbumArtWidth());
}

class NamedWorker : public CMWorker
{
public:
    explicit NamedWorker(const char* id) : CMWorker({{TavoService_Id(), QLatin1String(id)}}, QStringLiteral("Named")) {}

    QVariantList getDataImpl(CMVoidReply& /*reply*/, const QString& path, const QStringList& /*roles*/) override
    {
        return {prefix(), path};
    }
};

CMReply<QVariantList> dataOf(const char* prefix, const char* base)
{
    const CMGetDataRequest request(CMPath(QLatin1String(prefix), QLatin1String(base)), {TavoRoles::Value()});
    CMRoot()->request(request);
    return request.reply();
}

TavoRowsRoles rowsOfRoot(int first, int last, const QStringList& roles)
{
    const CMGetRowsRequest request(CMPath(), first, last, 0, roles);
    CMRoot()->request(request);
    return request.reply().value();
}

TEST(Root, IsOneAndTheSame)
{
    ASSERT_NE(CMRoot(), nullptr);
    EXPECT_EQ(CMRoot(), &root());
}

TEST(Root, SettingHasADefault)
{
    EXPECT_EQ(TavoHash(albumArtWidth().toHash()).i32_(), 300);
}

TEST(Root, SettingIsReadAsARolesValue)
{
    const CMGetDataRequest request(
        TavoMusicLibraryAlbumArtWidth(), {TavoRoles::Title(), TavoRoles::Value(), TavoRoles::Value()});
    CMRoot()->request(request);
    const QVariant value = TavoValue::fromI32(300).__variant();
    EXPECT_EQ(request.reply().value(), (QVariantList{QVariant(), value, value}));
}

TEST(Root, SettingIsSet)
{
    root().setSetting(TavoMusicLibraryAlbumArtWidth(), TavoValue::fromI32(500));
    EXPECT_EQ(TavoHash(albumArtWidth().toHash()).i32_(), 500);
    root().setSetting(TavoMusicLibraryAlbumArtWidth(), TavoValue::fromI32(300));
}

TEST(Root, SettingIsSetByRequest)
{
    const QVariant before = albumArtWidth();
    const QVariant value = TavoValue::fromI32(64).__variant();
    const CMSetDataRequest request(TavoMusicLibraryAlbumArtWidth(), value);
    CMRoot()->request(request);
    EXPECT_EQ(request.reply().value(), value);
    EXPECT_EQ(albumArtWidth(), value);
    CMRoot()->request(CMSetDataRequest(TavoMusicLibraryAlbumArtWidth(), before));
    EXPECT_EQ(albumArtWidth(), before);
}

TEST(Root, SettingThatDoesNotExistIsRefused)
{
    const CMPath unknown(QStringLiteral("settings"), QStringLiteral("no/such"));
    const CMSetDataRequest request(unknown, 1);
    CMRoot()->request(request);
    EXPECT_EQ(request.reply().error().name(), TavoErrorInvalidPath());
    EXPECT_FALSE(CMRoot()->getValue(unknown).isValid());
    EXPECT_EQ(dataOf("settings", "no/such").error().name(), TavoErrorInvalidPath());
}

TEST(Root, EntriesAreVisibleUnlessTheHostHidesThem)
{
    const CMPath shown(QStringLiteral("test"), QStringLiteral("shown"));
    const CMPath hidden(QStringLiteral("test"), QStringLiteral("hidden"));
    EXPECT_TRUE(root().isVisible(hidden));
    root().setVisibility([&hidden](const CMPath& path) { return path != hidden; });
    EXPECT_FALSE(root().isVisible(hidden));
    EXPECT_TRUE(root().isVisible(shown));
    root().setVisibility({});
    EXPECT_TRUE(root().isVisible(hidden));
}

TEST(Root, RoutesRequestsByPrefix)
{
    NamedWorker one("one");
    NamedWorker two("two");
    EXPECT_TRUE(root().mount(&one));
    EXPECT_TRUE(root().mount(&two));
    EXPECT_EQ(dataOf("one", "x").value(), (QVariantList{QStringLiteral("one"), QStringLiteral("x")}));
    EXPECT_EQ(dataOf("two", "").value(), (QVariantList{QStringLiteral("two"), QString()}));
}

TEST(Root, RoutesRequestsOfEveryKind)
{
    TrackingWorker worker;
    EXPECT_TRUE(root().mount(&worker));
    const CMPingRequest ping(worker.addPrefix(QString()));
    const CMGetRowsRequest rows(worker.addPrefix(QStringLiteral("a")), 0, 9, 0, {});
    const CMMatchRowRequest match(worker.addPrefix(QStringLiteral("a")), TavoRoles::Title(), 1);
    const CMSetDataRequest value(worker.addPrefix(QStringLiteral("a")), 1);
    for (const CMRequest& request : std::vector<CMRequest>{ping, rows, match, value})
        CMRoot()->request(request);
    EXPECT_EQ(ping.reply().value(), QVariant(true));
    EXPECT_TRUE(rows.reply().value().hasRowsVersion());
    EXPECT_EQ(match.reply().value(), QVariant(-1));
    EXPECT_EQ(value.reply().error().name(), TavoErrorInvalidPath());
}

TEST(Root, UnknownPrefixIsAnInvalidPath)
{
    const CMPath path(QStringLiteral("nobody"), QStringLiteral("x"));
    const CMPingRequest ping(path);
    CMRoot()->request(ping);
    EXPECT_EQ(ping.reply().error(), CMAbstractWorker::createErrorInvalidPath(path));
    EXPECT_EQ(dataOf("nobody", "x").error().name(), TavoErrorInvalidPath());
}

TEST(Root, AnswersPingItself)
{
    const CMPingRequest ping{CMPath()};
    CMRoot()->request(ping);
    EXPECT_EQ(ping.reply().value(), QVariant(true));
}

TEST(Root, RowsAreTheMountedWorkersInTheOrderOfMounting)
{
    NamedWorker first("z 1");
    NamedWorker second("a");
    EXPECT_TRUE(root().mount(&first, QStringLiteral("Music")));
    EXPECT_TRUE(root().mount(&second));
    const QStringList roles = {TavoRoles::Path(), TavoRoles::Title(), TavoRoles::Type(), TavoRoles::Flags()};
    const TavoRowsRoles page = rowsOfRoot(0, 99, roles);
    EXPECT_EQ(page.rowsCount(), 2);
    EXPECT_EQ(page.rowsVersion(), 0);
    const QVariantList rows = {
        QVariant(
            QVariantList{QStringLiteral("/z%201/"), QStringLiteral("Music"), TavoRolesType::Container(), QVariant()}),
        QVariant(QVariantList{QStringLiteral("/a/"), QStringLiteral("a"), TavoRolesType::Container(), QVariant()})};
    EXPECT_EQ(page.rows(), rows);
}

TEST(Root, RowsAreInTheOrderOfThePositions)
{
    NamedWorker playlist("playlist");
    NamedWorker one("one");
    NamedWorker two("two");
    EXPECT_TRUE(root().mount(&playlist, {}, 2));
    EXPECT_TRUE(root().mount(&one, {}, 1));
    EXPECT_TRUE(root().mount(&two, {}, 1));
    const TavoRowsRoles page = rowsOfRoot(0, 99, {TavoRoles::Title()});
    const QVariantList rows = {
        QVariant(QVariantList{QStringLiteral("one")}), QVariant(QVariantList{QStringLiteral("two")}),
        QVariant(QVariantList{QStringLiteral("playlist")})};
    EXPECT_EQ(page.rows(), rows);
}

TEST(Root, MovedRowsTakeTheirNewPositions)
{
    NamedWorker one("one");
    NamedWorker two("two");
    NamedWorker stranger("stranger");
    EXPECT_TRUE(root().mount(&one, {}, 0));
    EXPECT_TRUE(root().mount(&two, {}, 1));
    root().setPosition(&one, 1);
    root().setPosition(&stranger, 0);
    const QVariantList rows = {
        QVariant(QVariantList{QStringLiteral("two")}), QVariant(QVariantList{QStringLiteral("one")})};
    EXPECT_EQ(rowsOfRoot(0, 99, {TavoRoles::Title()}).rows(), rows);
}

TEST(Root, RowsAreCutIntoPages)
{
    NamedWorker a("a");
    NamedWorker b("b");
    NamedWorker c("c");
    for (NamedWorker* worker : {&a, &b, &c})
        EXPECT_TRUE(root().mount(worker));
    const QVariantList middle = {QVariant(QVariantList{QStringLiteral("b")})};
    EXPECT_EQ(rowsOfRoot(1, 1, {TavoRoles::Title()}).rows(), middle);
    EXPECT_TRUE(rowsOfRoot(3, 9, {TavoRoles::Title()}).rows().isEmpty());
    EXPECT_TRUE(rowsOfRoot(0, -1, {TavoRoles::Title()}).rows().isEmpty());
    EXPECT_EQ(rowsOfRoot(-5, 9, {TavoRoles::Title()}).rows().size(), 3);
    EXPECT_EQ(rowsOfRoot(3, 9, {}).rowsCount(), 3);
}

TEST(Root, HasNoRowsBelowItself)
{
    const CMGetRowsRequest request(CMPath(QStringLiteral("settings"), QString()), 0, 9, 0, {});
    CMRoot()->request(request);
    EXPECT_EQ(request.reply().error().name(), TavoErrorInvalidPath());
}

TEST(Root, PrefixIsTakenOnce)
{
    NamedWorker first("same");
    NamedWorker second("same");
    EXPECT_TRUE(root().mount(&first));
    EXPECT_FALSE(root().mount(&second));
    EXPECT_FALSE(root().mount(&first));
    root().unmount(&second);
    EXPECT_TRUE(dataOf("same", "").value().contains(QStringLiteral("same")));
    root().unmount(&first);
    EXPECT_TRUE(root().mount(&second));
}

TEST(Root, SettingsPrefixIsItsOwn)
{
    NamedWorker settings("settings");
    EXPECT_FALSE(root().mount(&settings));
    EXPECT_TRUE(albumArtWidth().isValid());
}

TEST(Root, UnmountedWorkerIsNotAsked)
{
    NamedWorker worker("one");
    EXPECT_TRUE(root().mount(&worker));
    root().unmount(&worker);
    EXPECT_TRUE(dataOf("one", "").isError());
    root().unmount(&worker);
}

TEST(Root, DestroyedWorkerIsUnmounted)
{
    auto worker = std::make_unique<NamedWorker>("one");
    NamedWorker other("two");
    EXPECT_TRUE(root().mount(worker.get()));
    EXPECT_TRUE(root().mount(&other));
    worker.reset();
    EXPECT_TRUE(dataOf("one", "").isError());
    EXPECT_EQ(rowsOfRoot(0, 9, {TavoRoles::Title()}).rowsCount(), 1);
}

TEST(Root, RoutesSubscriptionsByPrefix)
{
    TrackingWorker worker;
    KeepingReceiver client;
    const CMPath path = worker.addPrefix(QStringLiteral("a"));
    EXPECT_FALSE(CMRoot()->connectChange(path, &client));
    EXPECT_TRUE(root().mount(&worker));
    EXPECT_TRUE(CMRoot()->connectChange(path, &client));
    EXPECT_TRUE(worker.subscribe()->isClient(path, &client));
    CMRoot()->disconnectChange(path, &client);
    EXPECT_FALSE(worker.subscribe()->isClient(path, &client));
    EXPECT_FALSE(CMRoot()->connectChange(CMPath(QString(), QStringLiteral("a")), &client));
    EXPECT_FALSE(CMRoot()->connectChange(CMPath(QStringLiteral("settings"), QString()), &client));
}

// The rows of the root worker while they are open.

class OpenRoot : public testing::Test
{
protected:
    OpenRoot() { EXPECT_TRUE(CMRoot()->connectChange(CMPath(), &m_client)); }
    ~OpenRoot() override { CMRoot()->disconnectChange(CMPath(), &m_client); }

    KeepingReceiver m_client;
};

TEST_F(OpenRoot, HasRowsWithAVersion)
{
    EXPECT_GT(rowsOfRoot(0, -1, {}).rowsVersion(), 0);
    CMRoot()->disconnectChange(CMPath(), &m_client);
    EXPECT_EQ(rowsOfRoot(0, -1, {}).rowsVersion(), 0);
}

TEST_F(OpenRoot, IsResetByEveryMountAndUnmount)
{
    NamedWorker worker("one");
    QStringList resets;
    EXPECT_TRUE(root().mount(&worker));
    resets.append(QStringLiteral(" reset %1").arg(rowsOfRoot(0, -1, {}).rowsVersion()));
    root().unmount(&worker);
    resets.append(QStringLiteral(" reset %1").arg(rowsOfRoot(0, -1, {}).rowsVersion()));
    EXPECT_NE(resets.first(), resets.last());
    QCoreApplication::processEvents();
    EXPECT_EQ(m_client.received(), resets);
}

TEST_F(OpenRoot, RefusesAStaleVersion)
{
    const int stale = rowsOfRoot(0, -1, {}).rowsVersion();
    NamedWorker worker("one");
    EXPECT_TRUE(root().mount(&worker));
    const int current = rowsOfRoot(0, -1, {}).rowsVersion();
    const CMGetRowsRequest outdated(CMPath(), 0, 9, stale, {});
    const CMGetRowsRequest upToDate(CMPath(), 0, 9, current, {});
    CMRoot()->request(outdated);
    CMRoot()->request(upToDate);
    EXPECT_EQ(outdated.reply().error(), CMAbstractWorker::createErrorInvalidRowsVersion(CMPath(), stale, current));
    EXPECT_EQ(upToDate.reply().value().rowsVersion(), current);
}

TEST_F(OpenRoot, IsServedInTheThreadThatItIsMovedTo)
{
    QThread* const before = root().thread();
    QThread thread;
    thread.start();
    root().moveToThread(&thread);
    KeepingReceiver other;
    EXPECT_TRUE(CMRoot()->connectChange(CMPath(), &other));
    NamedWorker worker("one");
    EXPECT_TRUE(root().mount(&worker));
    EXPECT_TRUE(processEventsUntil([&] { return other.received().size() == 1; }));
    CMRoot()->disconnectChange(CMPath(), &other);
    cmRunInThreadOf(root().subscribe(), [before] { root().moveToThread(before); });
    thread.quit();
    thread.wait();
}

// Unmounting.

/// Requests at a mounted worker that are held there.
class Unmounting : public testing::Test
{
protected:
    Unmounting() { EXPECT_TRUE(root().mount(&m_worker)); }
    ~Unmounting() override
    {
        for (std::thread& thread : m_threads)
            thread.join();
    }

    /// Returns when the worker has the request, which goes on when `gate` is released.
    void begin(const CMRequest& request, QSemaphore& gate)
    {
        m_worker.setServing([this, &gate] {
            m_begun.release();
            gate.acquire();
        });
        m_threads.emplace_back([request] { CMRoot()->request(request); });
        m_begun.acquire();
    }

    void unmount()
    {
        root().unmount(&m_worker, [this] {
            m_isUnused = true;
            m_thread = QThread::currentThread();
        });
    }

    TrackingWorker m_worker;
    QSemaphore m_begun;
    QSemaphore m_gate;
    bool m_isUnused = false;
    QThread* m_thread = nullptr;
    std::vector<std::thread> m_threads;
};

TEST_F(Unmounting, EndsWhenTheRequestsOfEveryKindHaveEnded)
{
    begin(CMGetRowsRequest(m_worker.addPrefix(QStringLiteral("a")), 0, 9, 0, {}), m_gate);
    QSemaphore second;
    begin(CMSetDataRequest(m_worker.addPrefix(QStringLiteral("a")), 1), second);
    unmount();
    QCoreApplication::processEvents();
    EXPECT_FALSE(m_isUnused);
    m_gate.release();
    m_threads.front().join();
    m_threads.erase(m_threads.begin());
    QCoreApplication::processEvents();
    EXPECT_FALSE(m_isUnused);
    second.release();
    EXPECT_TRUE(processEventsUntil([this] { return m_isUnused; }));
    EXPECT_EQ(m_thread, QThread::currentThread());
}

TEST_F(Unmounting, EndsAfterTheFunctionsThatWaitForARemoval)
{
    const CMPath path = m_worker.addPrefix(QStringLiteral("a"));
    KeepingReceiver client;
    EXPECT_TRUE(CMRoot()->connectChange(path, &client));
    begin(CMGetRowsRequest(path, 0, 9, 0, {}), m_gate);
    unmount();
    bool isCalledBefore = false;
    m_worker.subscribe()->whenSettled(path, [&] { isCalledBefore = !m_isUnused; });
    QCoreApplication::processEvents();
    m_gate.release();
    EXPECT_TRUE(processEventsUntil([this] { return m_isUnused; }));
    EXPECT_TRUE(isCalledBefore);
}

TEST_F(Unmounting, OfAnIdleWorkerEndsWithTheNextEvents)
{
    unmount();
    EXPECT_FALSE(m_isUnused);
    QCoreApplication::processEvents();
    EXPECT_TRUE(m_isUnused);
}

TEST_F(Unmounting, KeepsNewRequestsAwayAtOnce)
{
    begin(CMGetRowsRequest(m_worker.addPrefix(QStringLiteral("a")), 0, 9, 0, {}), m_gate);
    unmount();
    const CMPingRequest ping(m_worker.addPrefix(QString()));
    CMRoot()->request(ping);
    EXPECT_EQ(ping.reply().error().name(), TavoErrorInvalidPath());
    KeepingReceiver client;
    EXPECT_FALSE(CMRoot()->connectChange(m_worker.addPrefix(QString()), &client));
    m_gate.release();
}

TEST_F(Unmounting, ClosesWhatClientsHaveOpen)
{
    KeepingReceiver client;
    EXPECT_TRUE(CMRoot()->connectChange(m_worker.addPrefix(QString()), &client));
    EXPECT_TRUE(CMRoot()->connectChange(m_worker.addPrefix(QStringLiteral("a")), &client));
    unmount();
    QCoreApplication::processEvents();
    EXPECT_THAT(
        client.received(), testing::UnorderedElementsAre(QStringLiteral(" close 0"), QStringLiteral("a close 0")));
    EXPECT_TRUE(m_worker.subscribe()->rowsPathsStartingWith(m_worker.addPrefix(QString())).isEmpty());
}

TEST_F(Unmounting, ByDestructionClosesWhatClientsHaveOpen)
{
    KeepingReceiver client;
    {
        NamedWorker brief("brief");
        EXPECT_TRUE(root().mount(&brief));
        EXPECT_TRUE(CMRoot()->connectChange(brief.addPrefix(QString()), &client));
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(client.received(), QStringList(QStringLiteral(" close 0")));
}

TEST_F(Unmounting, RaisesTheLastVersionToThoseOfItsChanges)
{
    KeepingReceiver client;
    EXPECT_TRUE(CMRoot()->connectChange(m_worker.addPrefix(QString()), &client));
    const int high = CMVersion::s_last + 100;
    m_worker.subscribe()->rowsChanged(m_worker.addPrefix(QString()), {CMSubscribe::RowsChangeReset()}, high, -1);
    unmount();
    EXPECT_GE(CMVersion::s_last, high);
}

TEST_F(Unmounting, RaisesTheLastVersionToThoseOfItsLastAnswers)
{
    const int high = CMVersion::s_last + 200;
    m_worker.versions.insert(QStringLiteral("a"), high);
    begin(CMGetRowsRequest(m_worker.addPrefix(QStringLiteral("a")), 0, 9, 0, {}), m_gate);
    unmount();
    EXPECT_LT(CMVersion::s_last, high);
    m_gate.release();
    EXPECT_TRUE(processEventsUntil([this] { return m_isUnused; }));
    EXPECT_GE(CMVersion::s_last, high);
}

/// The versions of the process are about to reach the largest one.
class LargestVersion : public testing::Test
{
protected:
    ~LargestVersion() override { CMVersion::s_last = m_last; }

    static constexpr int largest = std::numeric_limits<int>::max();

private:
    const int m_last = CMVersion::s_last;
};

TEST_F(LargestVersion, IsFollowedByOne)
{
    CMVersion::s_last = largest - 2;
    EXPECT_EQ(CMVersion::next(), largest - 1);
    EXPECT_EQ(CMVersion::next(), largest);
    EXPECT_EQ(CMVersion::s_last, 0) << "a new worker only adds one";
    EXPECT_EQ(CMVersion::next(), 1);
    EXPECT_EQ(CMVersion::next(), 2);
}

TEST_F(LargestVersion, OfANewWorkerIsFollowedByOne)
{
    NamedWorker worker("newest");
    CMVersion::s_last = largest;
    EXPECT_TRUE(root().mount(&worker));
    EXPECT_EQ(CMVersion::s_last, 0);
    root().unmount(&worker);
}

TEST_F(LargestVersion, OfAnUnmountedWorkerIsFollowedByOne)
{
    KeepingReceiver client;
    NamedWorker worker("largest");
    EXPECT_TRUE(root().mount(&worker));
    EXPECT_TRUE(CMRoot()->connectChange(worker.addPrefix(QString()), &client));
    worker.subscribe()->rowsChanged(worker.addPrefix(QString()), {CMSubscribe::RowsChangeReset()}, largest, -1);
    root().unmount(&worker);
    EXPECT_EQ(CMVersion::s_last, 0);
    EXPECT_EQ(CMVersion::next(), 1);
}

TEST(Root, RequestThatThrowsHasEnded)
{
    class Throwing : public NamedWorker
    {
    public:
        Throwing() : NamedWorker("throwing") {}
        void getRowsRequest(const CMGetRowsRequest& /*request*/) override { throw std::runtime_error("no rows"); }
    };
    Throwing worker;
    EXPECT_TRUE(root().mount(&worker));
    const CMGetRowsRequest rows(worker.addPrefix(QString()), 0, 9, 0, {});
    const CMMatchRowRequest match(worker.addPrefix(QString()), TavoRoles::Title(), 1);
    EXPECT_THROW(CMRoot()->request(rows), std::runtime_error);
    EXPECT_THROW(CMRoot()->request(match), std::runtime_error);
    bool isUnused = false;
    root().unmount(&worker, [&isUnused] { isUnused = true; });
    QCoreApplication::processEvents();
    EXPECT_TRUE(isUnused);
}

TEST(Root, ManyThreadsAskWhileWorkersComeAndGo)
{
    NamedWorker lasting("lasting");
    EXPECT_TRUE(root().mount(&lasting));
    const auto asking = [] {
        for (int round = 0; round < 300; ++round) {
            EXPECT_EQ(dataOf("lasting", "x").value().value(1), QVariant(QStringLiteral("x")));
            EXPECT_GE(rowsOfRoot(0, 9, {TavoRoles::Title()}).rowsCount(), 1);
            EXPECT_TRUE(albumArtWidth().isValid());
        }
    };
    std::array threads{std::thread(asking), std::thread(asking), std::thread(asking)};
    for (int round = 0; round < 300; ++round) {
        NamedWorker brief("brief");
        EXPECT_TRUE(root().mount(&brief));
        root().setSetting(TavoMusicLibraryAlbumArtWidth(), TavoValue::fromI32(300));
        root().unmount(&brief);
    }
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
