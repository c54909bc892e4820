#include "content/contenthost.h"

#include "content/content.h"
#include "exec/workerthread.h"

#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "eventloop.h"
#include "keptlog.h"
#include "printers.h"

#include <model/cmroot.h>
#include <tavo/tavokeys.h>
#include <tavo/tavoroles.h>

#include <QFile>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

constexpr std::chrono::milliseconds shortInterval{20};

/// Three directories that are roots: one/, two/ and three/.
class Roots : public testing::Test
{
protected:
    Roots()
    {
        tree.addFile(QStringLiteral("one/1.mp3"));
        tree.addFile(QStringLiteral("two/a/2.mp3"));
        tree.addFile(QStringLiteral("three/3.mp3"));
        settings = settingsFor(QString());
        settings.roots.clear();
    }

    void add(const char* id, const char* directory, const char* title = "")
    {
        settings.roots.push_back(
            rootFor(QString::fromUtf8(id), tree.absolute(QString::fromUtf8(directory)), QString::fromUtf8(title)));
    }

    void start()
    {
        host = startHost(settings);
        ASSERT_TRUE(host);
    }

    [[nodiscard]] std::string startFailure() const
    {
        const auto started = ContentHost::start(settings);
        if (started)
            return "started";
        EXPECT_EQ(started.failure().kind, Failure::Kind::WrongUse);
        return started.failure().message.toString().toStdString();
    }

    [[nodiscard]] QStringList prefixes() const
    {
        QStringList prefixes;
        for (const ContentHost::SharedMount& mount : host->mounts())
            prefixes.append(mount->prefix);
        return prefixes;
    }

    /// The rows of "/", each as "path title type".
    [[nodiscard]] QStringList rowsOfRoot() const
    {
        const QStringList roles = {TavoRoles::Path(), TavoRoles::Title(), TavoRoles::Type()};
        const Result<Content::Page> page = Content(*host).rows({CMPath(), 0, 99, 0, roles});
        EXPECT_TRUE(page);
        QStringList rows;
        for (const QVariant& row : page.value().rows)
            rows.append(row.toStringList().join(u' '));
        return rows;
    }

    [[nodiscard]] bool isMounted(const char* id) const { return host->mountAt(QString::fromUtf8(id)) != nullptr; }
    [[nodiscard]] bool waitUntilMounted(const char* id) const
    {
        return processEventsUntil([&] { return isMounted(id); });
    }
    [[nodiscard]] bool waitUntilUnmounted(const char* id) const
    {
        return processEventsUntil([&] { return !isMounted(id); });
    }

    [[nodiscard]] static CMPath path(const char* id, const char* base = "")
    {
        return {QString::fromUtf8(id), QString::fromUtf8(base)};
    }

    TemporaryTree tree;
    HostSettings settings;
    std::unique_ptr<ContentHost> host;
};

TEST_F(Roots, ServesThemInTheirOrderUnderTheirTitles)
{
    add("z", "three");
    add("A-1_x", "two", "Second");
    add("file", "one");
    start();
    EXPECT_THAT(prefixes(), ElementsAre(QStringLiteral("z"), QStringLiteral("A-1_x"), QStringLiteral("file")));
    EXPECT_THAT(
        rowsOfRoot(), ElementsAre(
                          QStringLiteral("/z/ three container"), QStringLiteral("/A-1_x/ Second container"),
                          QStringLiteral("/file/ one container")));
    EXPECT_EQ(host->rootIds(), (QStringList{QStringLiteral("z"), QStringLiteral("A-1_x"), QStringLiteral("file")}));
    EXPECT_THAT(host->problems(), IsEmpty());
}

TEST_F(Roots, HideFromOtherWorkersWhatNetworkClientsMayNotSee)
{
    for (const char* link : {"one/link", "two/link"})
        ASSERT_TRUE(QFile::link(tree.absolute(QStringLiteral("three")), tree.absolute(QString::fromUtf8(link))));
    add("one", "one");
    add("two", "two");
    settings.roots.back().followLinks = true;
    add("missing", "missing");
    start();
    const CMRootWorker& root = CMRootWorker::instance();
    EXPECT_TRUE(root.isVisible(path("one", "link/3.mp3")));
    host->hideFromWorkers();
    EXPECT_TRUE(root.isVisible(path("one", "1.mp3")));
    EXPECT_FALSE(root.isVisible(path("one", "link/3.mp3")));
    EXPECT_TRUE(root.isVisible(path("two", "link/3.mp3")));
    EXPECT_FALSE(root.isVisible(path("missing", "1.mp3")));
    EXPECT_TRUE(root.isVisible(path("playlist", "queue/1")));
    host.reset();
    EXPECT_TRUE(root.isVisible(path("one", "link/3.mp3")));
}

TEST_F(Roots, EachHasAWorkerOfItsOwn)
{
    add("one", "one");
    add("two", "two");
    start();
    const auto titleOf = [this](const char* id) {
        return Content(*host).rows({path(id), 0, 9, 0, {TavoRoles::Title()}}).value().rows.value(0).toStringList();
    };
    EXPECT_THAT(titleOf("one"), ElementsAre(QStringLiteral("1.mp3")));
    EXPECT_THAT(titleOf("two"), ElementsAre(QStringLiteral("a")));
}

TEST_F(Roots, PageOfTheRootsIsCutAsAnyOther)
{
    add("one", "one");
    add("two", "two");
    start();
    Limits limits;
    limits.values = 1;
    const Result<Content::Page> page = Content(*host, Reach::Network, limits).rows({CMPath()});
    ASSERT_TRUE(page);
    EXPECT_EQ(page.value().count, 2);
    EXPECT_EQ(page.value().rows.size(), 1);
}

TEST_F(Roots, TwoOfOneIdAreRefused)
{
    add("same", "one");
    add("same", "two");
    EXPECT_THAT(startFailure(), HasSubstr("two roots have the id 'same'"));
}

TEST_F(Roots, ReservedAndMalformedIdsAreRefused)
{
    for (const char* id : {"playlist", "settings", "", "a b", "a/b", "a.b", "\u00e4", "a\n", ".."}) {
        settings.roots.clear();
        add(id, "one");
        EXPECT_THAT(startFailure(), HasSubstr("cannot be a root's id")) << id;
    }
}

TEST_F(Roots, EmptyDirectoryNameIsRefused)
{
    settings.roots = {{QStringLiteral("file"), QString()}};
    EXPECT_THAT(startFailure(), HasSubstr("empty name"));
}

TEST_F(Roots, ModuleMustLoad)
{
    add("one", "one");
    settings.moduleFile = QStringLiteral(MODULE_NO_FACTORY);
    EXPECT_FALSE(ContentHost::start(settings));
}

TEST_F(Roots, AlbumArtWidthIsSetBeforeTheWorkersAreMade)
{
    add("one", "one");
    settings.albumArtWidth = 123;
    start();
    EXPECT_EQ(TavoValue(CMRoot()->getValue(TavoMusicLibraryAlbumArtWidth())).i32_(), 123);
}

TEST_F(Roots, MissingOnesAreNamedAndLeaveTheOthersAlone)
{
    add("gone", "missing");
    add("one", "one");
    add("none", "one/1.mp3");
    start();
    EXPECT_THAT(prefixes(), ElementsAre(QStringLiteral("one")));
    EXPECT_THAT(
        host->problems(),
        ElementsAre(
            QStringLiteral("the root directory %1 does not exist").arg(tree.absolute(QStringLiteral("missing"))),
            QStringLiteral("the root %1 is not a directory").arg(tree.absolute(QStringLiteral("one/1.mp3")))));
    EXPECT_EQ(Content(*host).rows({path("gone")}).failure().name, TavoErrorInvalidPath());
    EXPECT_EQ(host->rootIds().size(), 3);
}

TEST_F(Roots, WarningNamesTheMissingOneOnce)
{
    KeptLog log("tavo", log4cplus::WARN_LOG_LEVEL);
    add("gone", "missing");
    settings.sweepInterval = shortInterval;
    start();
    host->warnOfProblems();
    host->warnOfProblems();
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_THAT(log.lines().front().message, HasSubstr(tree.absolute(QStringLiteral("missing")).toStdString()));
    tree.addDirectory(QStringLiteral("missing"));
    ASSERT_TRUE(waitUntilMounted("gone"));
    EXPECT_TRUE(processEventsUntil([&] { return log.lines().size() == 2U; })) << "it says that the root is back";
}

TEST_F(Roots, OneThatVanishesWhileItsWorkerIsMadeIsMissing)
{
    settings.moduleFile = QStringLiteral(MODULE_SCRIPTED_WORKER);
    add("vanishing", "empty");
    tree.addDirectory(QStringLiteral("empty"));
    start();
    EXPECT_THAT(prefixes(), IsEmpty());
    EXPECT_THAT(
        host->problems(),
        ElementsAre(
            QStringLiteral("the root directory %1 has vanished again").arg(tree.absolute(QStringLiteral("empty")))));
}

TEST_F(Roots, OneWithoutAWorkerIsNamed)
{
    settings.moduleFile = QStringLiteral(MODULE_THROWING_FACTORY);
    settings.sweepInterval = shortInterval;
    add("late", "late");
    start();
    tree.addDirectory(QStringLiteral("late"));
    EXPECT_TRUE(processEventsUntil([this] {
        const QStringList problems = host->problems();
        return problems.size() == 1 && problems.first().contains(QStringLiteral("makes no worker"));
    }));
}

TEST_F(Roots, OneThatAppearsIsServed)
{
    add("late", "late");
    add("one", "one");
    settings.sweepInterval = shortInterval;
    start();
    Subscriber client(*host);
    ASSERT_TRUE(client.open(CMPath()));
    tree.addFile(QStringLiteral("late/new.mp3"));
    ASSERT_TRUE(waitUntilMounted("late"));
    EXPECT_TRUE(client.hears(CMSubscribe::RowsChangeReset() + QStringLiteral(" /")));
    EXPECT_THAT(prefixes(), ElementsAre(QStringLiteral("late"), QStringLiteral("one")));
    EXPECT_TRUE(client.open(path("late")));
    EXPECT_THAT(host->problems(), IsEmpty());
}

TEST_F(Roots, OneThatAppearsIsServedWithoutSweepsWhenAClientAsksForIt)
{
    for (const char* id : {"rows", "data", "menu", "count", "opened"})
        add(id, id);
    start();
    const Content content(*host);
    EXPECT_EQ(content.rows({path("rows")}).failure().name, TavoErrorInvalidPath());
    for (const RootSettings& root : settings.roots)
        tree.addFile(root.id + QStringLiteral("/song.mp3"));
    EXPECT_THAT(prefixes(), IsEmpty());
    EXPECT_EQ(content.rows({path("rows")}).value().count, 1);
    EXPECT_TRUE(content.data(path("data", "song.mp3"), {TavoRoles::Title()}));
    EXPECT_TRUE(content.menu(path("menu", "song.mp3"), {TavoRoles::Title()}));
    const CMPath count(QStringLiteral("count"), host->mountAt(QStringLiteral("rows"))->countFiles().base());
    EXPECT_EQ(content.set(count, QString()).value(), 1);
    EXPECT_TRUE(Subscriber(*host).open(path("opened")));
    EXPECT_THAT(host->problems(), IsEmpty());
}

TEST_F(Roots, OneThatDisappearsClosesItsSubscriptionsAndResetsTheList)
{
    add("one", "one");
    add("two", "two");
    settings.sweepInterval = shortInterval;
    start();
    Subscriber client(*host);
    ASSERT_TRUE(client.open(CMPath()));
    ASSERT_TRUE(client.open(path("two", "a")));
    tree.rename(QStringLiteral("two"), QStringLiteral("elsewhere"));
    EXPECT_TRUE(client.hears(CMSubscribe::RowsChangeClose() + QStringLiteral(" /two/a")));
    EXPECT_TRUE(client.hears(CMSubscribe::RowsChangeReset() + QStringLiteral(" /")));
    EXPECT_TRUE(waitUntilUnmounted("two"));
    EXPECT_THAT(rowsOfRoot(), ElementsAre(QStringLiteral("/one/ one container")));
    EXPECT_EQ(client.open(path("two")).failure().name, TavoErrorInvalidPath());
    EXPECT_EQ(client.close(path("two", "a")).failure().name, TavoErrorInvalidPath()) << "it is closed already";
    EXPECT_THAT(host->problems(), ElementsAre(testing::Truly([](const QString& problem) {
                    return problem.endsWith(QStringLiteral("two does not exist"));
                })));
}

TEST_F(Roots, ListOfTheRootsHasANewVersionForEachChange)
{
    add("one", "one");
    add("two", "two");
    settings.sweepInterval = shortInterval;
    start();
    Subscriber client(*host);
    ASSERT_TRUE(client.open(CMPath()));
    const int before = Content(*host).rows({CMPath()}).value().version.value_or(0);
    tree.rename(QStringLiteral("two"), QStringLiteral("elsewhere"));
    ASSERT_TRUE(client.hears(CMSubscribe::RowsChangeReset() + QStringLiteral(" /")));
    const int after = Content(*host).rows({CMPath()}).value().version.value_or(0);
    EXPECT_GT(after, before);
    EXPECT_EQ(client.lastVersion(), after);
    EXPECT_EQ(Content(*host).rows({CMPath(), 0, 9, before, {}}).failure().name, TavoErrorInvalidRowsVersion());
}

TEST_F(Roots, OneThatComesBackHasVersionsAboveItsLast)
{
    add("one", "one");
    settings.sweepInterval = shortInterval;
    start();
    Subscriber client(*host);
    const auto versionOf = [&] { return Content(*host).rows({path("one")}).value().version.value_or(0); };
    int last = 0;
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(client.open(path("one"))) << round;
        for (int change = 0; change < 5; ++change) {
            const int before = versionOf();
            EXPECT_GT(before, last);
            tree.addFile(QStringLiteral("one/%1-%2.mp3").arg(round).arg(change));
            ASSERT_TRUE(processEventsUntil([&] { return versionOf() > before; }));
        }
        last = versionOf();
        client.forget();
        tree.rename(QStringLiteral("one"), QStringLiteral("elsewhere"));
        ASSERT_TRUE(client.hears(CMSubscribe::RowsChangeClose() + QStringLiteral(" /one/")));
        ASSERT_TRUE(waitUntilUnmounted("one"));
        tree.rename(QStringLiteral("elsewhere"), QStringLiteral("one"));
        ASSERT_TRUE(waitUntilMounted("one"));
    }
}

TEST_F(Roots, OneThatComesBackTakesItsPlace)
{
    add("one", "one");
    add("two", "two");
    settings.sweepInterval = shortInterval;
    start();
    const QStringList before = rowsOfRoot();
    tree.rename(QStringLiteral("one"), QStringLiteral("elsewhere"));
    ASSERT_TRUE(waitUntilUnmounted("one"));
    tree.rename(QStringLiteral("elsewhere"), QStringLiteral("one"));
    ASSERT_TRUE(waitUntilMounted("one"));
    EXPECT_THAT(prefixes(), ElementsAre(QStringLiteral("one"), QStringLiteral("two")));
    EXPECT_EQ(rowsOfRoot(), before);
}

TEST_F(Roots, OthersGoOnWhileOneIsGone)
{
    add("one", "one");
    add("two", "two");
    settings.sweepInterval = shortInterval;
    start();
    Subscriber client(*host);
    ASSERT_TRUE(client.open(path("one")));
    ASSERT_TRUE(client.open(path("two")));
    tree.remove(QStringLiteral("two"));
    ASSERT_TRUE(client.hears(CMSubscribe::RowsChangeClose() + QStringLiteral(" /two/")));
    ASSERT_TRUE(waitUntilUnmounted("two"));
    tree.addFile(QStringLiteral("one/more.mp3"));
    EXPECT_TRUE(client.hears(CMSubscribe::RowsChangeReset() + QStringLiteral(" /one/")));
    EXPECT_EQ(Content(*host).rows({path("one")}).value().count, 2);
    EXPECT_THAT(client.heard(), testing::Not(testing::Contains(QStringLiteral("close /one/"))));
}

TEST_F(Roots, WithoutAnySomethingIsServedLater)
{
    add("one", "missing");
    settings.sweepInterval = shortInterval;
    start();
    EXPECT_THAT(rowsOfRoot(), IsEmpty());
    EXPECT_THAT(Content(*host).describe()[QStringLiteral("roots")].toList(), IsEmpty());
    tree.addDirectory(QStringLiteral("missing"));
    EXPECT_TRUE(waitUntilMounted("one"));
}

/// one and two, which a client has open.
class ChangingRoots : public Roots
{
protected:
    ChangingRoots()
    {
        add("one", "one");
        add("two", "two");
        start();
        client = std::make_unique<Subscriber>(*host);
        EXPECT_TRUE(client->open(CMPath()));
        EXPECT_TRUE(client->open(path("one")));
        EXPECT_TRUE(client->open(path("two", "a")));
    }

    void change() const { EXPECT_TRUE(host->setRoots(settings.roots)); }

    [[nodiscard]] QStringList titlesIn(const char* id, const char* base) const
    {
        const Result<Content::Page> page = Content(*host).rows({path(id, base), 0, 9, 0, {TavoRoles::Title()}});
        QStringList titles;
        for (const QVariant& row : page ? page.value().rows : QVariantList())
            titles.append(row.toStringList().first());
        return titles;
    }

    /// What the client hears of has come before this returns: the worker thread has nothing more to do.
    void expectToHearNothingOf(const char* path) const
    {
        host->workerThread().run([] {});
        EXPECT_THAT(client->heard(), Not(Contains(testing::Truly([path](const QString& change) {
                        return change.contains(QString::fromUtf8(path));
                    }))));
    }

    std::unique_ptr<Subscriber> client;
};

TEST_F(ChangingRoots, NewOneIsServedWhileTheOthersGoOn)
{
    add("three", "three");
    change();
    ASSERT_TRUE(waitUntilMounted("three"));
    EXPECT_TRUE(client->hears(QStringLiteral("reset /")));
    EXPECT_THAT(titlesIn("three", ""), ElementsAre(QStringLiteral("3.mp3")));
    EXPECT_TRUE(client->open(path("three")));
    expectToHearNothingOf("/one/");
    expectToHearNothingOf("/two/");
    EXPECT_EQ(host->rootIds().size(), 3);
}

TEST_F(ChangingRoots, RemovedOneIsClosedWhileTheOthersGoOn)
{
    settings.roots.pop_back();
    change();
    EXPECT_TRUE(client->hears(QStringLiteral("close /two/a")));
    EXPECT_TRUE(client->hears(QStringLiteral("reset /")));
    EXPECT_THAT(rowsOfRoot(), ElementsAre(QStringLiteral("/one/ one container")));
    EXPECT_EQ(client->open(path("two", "a")).failure().name, TavoErrorInvalidPath());
    EXPECT_EQ(Content(*host).rows({path("two")}).failure().name, TavoErrorInvalidPath());
    expectToHearNothingOf("/one/");
    EXPECT_EQ(host->openPaths(), 2);
}

TEST_F(ChangingRoots, RemovedOneThatComesBackIsOpenedAnew)
{
    const RootSettings two = settings.roots.back();
    const int before = Content(*host).rows({path("two", "a")}).value().version.value_or(0);
    settings.roots.pop_back();
    change();
    ASSERT_TRUE(client->hears(QStringLiteral("close /two/a")));
    settings.roots.push_back(two);
    change();
    ASSERT_TRUE(waitUntilMounted("two"));
    ASSERT_TRUE(client->open(path("two", "a")));
    EXPECT_GT(Content(*host).rows({path("two", "a")}).value().version.value_or(0), before);
    EXPECT_THAT(trackedBases(*host, QStringLiteral("two")), UnorderedElementsAre(QString(), QStringLiteral("a")));
    EXPECT_TRUE(client->close(path("two", "a")));
    EXPECT_THAT(trackedBases(*host, QStringLiteral("two")), IsEmpty());
}

TEST_F(ChangingRoots, OneWithOtherSettingsIsMountedAnew)
{
    tree.addFile(QStringLiteral("two/a/2.wav"));
    settings.roots.back().title = QStringLiteral("Second");
    settings.roots.back().filter = QStringList{QStringLiteral("*.wav")};
    settings.roots.back().followLinks = true;
    change();
    EXPECT_TRUE(client->hears(QStringLiteral("close /two/a")));
    ASSERT_TRUE(waitUntilMounted("two"));
    EXPECT_TRUE(host->mountAt(QStringLiteral("two"))->followsLinks);
    EXPECT_THAT(titlesIn("two", "a"), ElementsAre(QStringLiteral("2.wav")));
    EXPECT_THAT(
        rowsOfRoot(), ElementsAre(QStringLiteral("/one/ one container"), QStringLiteral("/two/ Second container")));
    EXPECT_THAT(titlesIn("one", ""), ElementsAre(QStringLiteral("1.mp3")));
    expectToHearNothingOf("/one/");
}

TEST_F(ChangingRoots, OneWithAnotherDirectoryServesThat)
{
    settings.roots.back().directory = tree.absolute(QStringLiteral("three"));
    change();
    EXPECT_TRUE(client->hears(QStringLiteral("close /two/a")));
    ASSERT_TRUE(processEventsUntil([this] { return !titlesIn("two", "").isEmpty(); }));
    EXPECT_THAT(titlesIn("two", ""), ElementsAre(QStringLiteral("3.mp3")));
    EXPECT_EQ(host->rootDirectories().last(), tree.absolute(QStringLiteral("three")));
}

TEST_F(ChangingRoots, TakeTheirNewOrderWithoutBeingClosed)
{
    std::reverse(settings.roots.begin(), settings.roots.end());
    change();
    EXPECT_TRUE(client->hears(QStringLiteral("reset /")));
    host->workerThread().run([] {});
    EXPECT_THAT(
        rowsOfRoot(), ElementsAre(QStringLiteral("/two/ two container"), QStringLiteral("/one/ one container")));
    EXPECT_THAT(prefixes(), ElementsAre(QStringLiteral("two"), QStringLiteral("one")));
    EXPECT_THAT(client->heard(), Each(QStringLiteral("reset /")));
}

TEST_F(ChangingRoots, WrongOnesChangeNothing)
{
    add("one", "three");
    const Result<void> changed = host->setRoots(settings.roots);
    ASSERT_FALSE(changed);
    EXPECT_THAT(changed.failure().message.toString().toStdString(), HasSubstr("'one'"));
    host->workerThread().run([] {});
    EXPECT_THAT(prefixes(), ElementsAre(QStringLiteral("one"), QStringLiteral("two")));
    EXPECT_EQ(host->rootIds().size(), 2);
    EXPECT_THAT(client->heard(), IsEmpty());
}

TEST_F(ChangingRoots, NewOneThatIsNotThereIsNamed)
{
    const KeptLog log("tavo", log4cplus::WARN_LOG_LEVEL);
    add("four", "four");
    change();
    host->workerThread().run([] {});
    EXPECT_THAT(log.lines(), ElementsAre(testing::Field(&KeptLog::Line::message, HasSubstr("four does not exist"))));
}

} // namespace
