#include "content/session.h"

#include "content/host.h"

#include "support/eventually.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <model/cmroot.h>
#include <model/cmversion.h>
#include <tavo/tavokeys.h>
#include <tavo/tavoroles.h>

#include <QFile>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <limits>
#include <utility>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const QString reset = CMSubscribe::RowsChangeReset();
const QString closed = CMSubscribe::RowsChangeClose();

HostSettings settingsFor(const QString& root)
{
    return {QStringLiteral(TAVO_MODULE), root, {QStringLiteral("*.mp3")}, QStringLiteral("file")};
}

std::unique_ptr<Host> startHost(const QString& root)
{
    Result<std::unique_ptr<Host>> host = Host::start(settingsFor(root));
    EXPECT_TRUE(host) << host.failure().message.toStdString();
    return host ? std::move(host.value()) : nullptr;
}

template<typename Value>
QString failureOf(const Result<Value>& result)
{
    return result ? QStringLiteral("done") : result.failure().name;
}

/// A session that remembers what it was told, as "code base".
class Client
{
public:
    explicit Client(Host& host)
        : session(host, [this](const CMPath& path, const QStringList& changes, int version) {
              told.append(changes.join(QLatin1Char(',')) + QLatin1Char(' ') + path.base());
              lastVersion = version;
          })
    {
    }

    [[nodiscard]] bool isTold(const QString& change)
    {
        return eventually([this, &change] { return told.contains(change); });
    }

    QStringList told;
    int lastVersion = 0;
    Session session;
};

class SessionTest : public testing::Test
{
protected:
    SessionTest()
    {
        tree.addFile(QStringLiteral("a/b/song.mp3"));
        tree.addFile(QStringLiteral("a/notes.txt"));
        tree.addFile(QStringLiteral("top.mp3"));
        host = startHost(tree.root());
        client = std::make_unique<Client>(*host);
    }

    [[nodiscard]] CMPath path(const char* base) const { return host->worker().addPrefix(QString::fromUtf8(base)); }

    [[nodiscard]] bool open(const char* base) const { return bool(client->session.open(path(base))); }
    [[nodiscard]] bool close(const char* base) const { return bool(client->session.close(path(base))); }
    [[nodiscard]] std::string openFailure(const char* base) const
    {
        const Result<Done> opened = client->session.open(path(base));
        return opened ? "opened" : opened.failure().name.toStdString();
    }

    /// The bases of the paths that the worker tracks.
    [[nodiscard]] QStringList tracked() const
    {
        QStringList bases;
        for (const CMPath& path : host->worker().subscribe()->rowsPathsStartingWith(path("")))
            bases.append(path.base());
        return bases;
    }

    [[nodiscard]] QStringList titles(const char* base) const
    {
        Session::RowsQuery query;
        query.path = path(base);
        query.roles = QStringList{TavoRoles::Title()};
        const Result<Session::Page> page = client->session.rows(query);
        QStringList titles;
        for (const QVariant& row : page ? page.value().rows : QVariantList())
            titles.append(row.toList().value(0).toString());
        return titles;
    }

    TemporaryTree tree;
    std::unique_ptr<Host> host;
    std::unique_ptr<Client> client;
};

TEST(Host, RootMustBeADirectoryThatExists)
{
    TemporaryTree tree;
    tree.addFile(QStringLiteral("file"));
    const QList<QString> roots = {
        QString(), tree.absolute(QStringLiteral("missing")), tree.absolute(QStringLiteral("file"))};
    for (const QString& root : roots) {
        const auto host = Host::start(settingsFor(root));
        ASSERT_FALSE(host) << root.toStdString();
        EXPECT_EQ(host.failure().kind, Failure::Kind::WrongUse);
        EXPECT_TRUE(host.failure().message.contains(root)) << host.failure().message.toStdString();
    }
}

TEST(Host, ServiceIdsOfThePlatformAreTaken)
{
    const TemporaryTree tree;
    HostSettings settings = settingsFor(tree.root());
    settings.serviceId = QStringLiteral("settings");
    EXPECT_FALSE(Host::start(settings));
}

TEST(Host, AlbumArtWidthIsSetBeforeTheWorkerIsMade)
{
    const TemporaryTree tree;
    HostSettings settings = settingsFor(tree.root());
    settings.albumArtWidth = 123;
    const auto host = Host::start(settings);
    ASSERT_TRUE(host);
    EXPECT_EQ(TavoValue(CMRoot()->getValue(TavoMusicLibraryAlbumArtWidth())).i32_(), 123);
}

TEST_F(SessionTest, DescribesWhatItServes)
{
    const Session::Description description = client->session.describe();
    EXPECT_EQ(description.prefix, QStringLiteral("/file"));
    EXPECT_EQ(description.rootDirectory, tree.root());
    EXPECT_EQ(description.roles, CMAllRoles());
    EXPECT_EQ(description.contextMenu, path("menu/context"));
    EXPECT_EQ(description.countFiles, host->worker().addPrefix(TavoFilesystemCountFilesPathSuffix()));
}

TEST_F(SessionTest, RowsAreThoseOfTheWorker)
{
    EXPECT_THAT(titles(""), ElementsAre(QStringLiteral("a"), QStringLiteral("top.mp3")));
    EXPECT_THAT(titles("a"), ElementsAre(QStringLiteral("b")));
}

TEST_F(SessionTest, RowsAreAllSevenRolesByDefault)
{
    const Result<Session::Page> page = client->session.rows({path("")});
    ASSERT_TRUE(page);
    EXPECT_EQ(page.value().count, 2);
    EXPECT_EQ(page.value().version, 0);
    EXPECT_EQ(page.value().rows.first().toList().size(), 7);
}

TEST_F(SessionTest, PageEndsWhereItIsToldTo)
{
    Session::RowsQuery query;
    query.path = path("");
    query.last = 0;
    EXPECT_EQ(client->session.rows(query).value().rows.size(), 1);
    query.last = -1;
    EXPECT_EQ(client->session.rows(query).value().rows.size(), 0);
    EXPECT_EQ(client->session.rows(query).value().count, 2);
}

TEST_F(SessionTest, IndicesThatWouldEndTheProcessAreRefused)
{
    const QList<Session::RowsQuery> queries = {
        {path(""), -1}, {path(""), std::numeric_limits<int>::min()}, {path(""), 0, -2}, {path(""), 0, 9, -1}};
    for (const Session::RowsQuery& query : queries) {
        const Result<Session::Page> page = client->session.rows(query);
        ASSERT_FALSE(page);
        EXPECT_EQ(page.failure().kind, Failure::Kind::WrongUse);
    }
}

TEST_F(SessionTest, RefusalsAreTheWorkers)
{
    const Result<Session::Page> page = client->session.rows({path("../x")});
    ASSERT_FALSE(page);
    EXPECT_EQ(page.failure().kind, Failure::Kind::Refused);
    EXPECT_EQ(page.failure().name, TavoErrorAccessViolation());
    EXPECT_THAT(page.failure().message.toStdString(), HasSubstr("'../x' is outside"));
}

TEST_F(SessionTest, NothingOutsideTheRootIsShownOrPrepared)
{
    tree.addFile(QStringLiteral("abroad/secret.mp3"));
    QFile::link(tree.absolute(QStringLiteral("abroad")), tree.absolute(QStringLiteral("a/link")));
    client.reset();
    host.reset();
    host = startHost(tree.absolute(QStringLiteral("a")));
    client = std::make_unique<Client>(*host);
    const Session& session = client->session;
    const Session::Description services = session.describe();
    for (const QString& base :
         {QStringLiteral("../abroad"), QStringLiteral(".."), tree.absolute(QStringLiteral("abroad")), tree.root(),
          QStringLiteral("b/../../abroad/secret.mp3"), QStringLiteral("link/../top.mp3"), QString(QChar::Null)}) {
        const CMPath outside = host->worker().addPrefix(base);
        const QVariantList items = {path("b").toEncoded(), outside.toEncoded()};
        EXPECT_EQ(failureOf(session.rows({outside})), TavoErrorAccessViolation()) << base.toStdString();
        EXPECT_EQ(failureOf(session.data(outside, entryRoles())), TavoErrorAccessViolation()) << base.toStdString();
        EXPECT_EQ(failureOf(session.set(services.countFiles, base)), TavoErrorAccessViolation()) << base.toStdString();
        EXPECT_EQ(failureOf(session.set(services.preparePlaylist, items)), TavoErrorAccessViolation())
            << base.toStdString();
        EXPECT_EQ(failureOf(session.set(services.prepareLibrary, items)), TavoErrorAccessViolation())
            << base.toStdString();
    }
}

TEST_F(SessionTest, PathsOfOtherWorkersAreInvalid)
{
    for (const char* encoded : {"", "/", "/other/a", "/settings/musicLibrary/albumArtWidth", "a"}) {
        const CMPath foreign = CMPath::fromEncoded(QString::fromUtf8(encoded));
        const Result<QVariantList> data = client->session.data(foreign, entryRoles());
        ASSERT_FALSE(data) << encoded;
        EXPECT_EQ(data.failure().name, TavoErrorInvalidPath());
        EXPECT_FALSE(client->session.set(foreign, 1)) << encoded;
        EXPECT_FALSE(client->session.open(foreign)) << encoded;
    }
}

TEST_F(SessionTest, DataAreTheValuesOfTheRoles)
{
    const Result<QVariantList> data = client->session.data(path("a/b"), {TavoRoles::Title(), TavoRoles::Type()});
    ASSERT_TRUE(data);
    EXPECT_EQ(data.value(), (QVariantList{QStringLiteral("b"), TavoRolesType::Container()}));
}

TEST_F(SessionTest, MenuIsThatOfTheItem)
{
    const Result<Session::Page> menu = client->session.menu(path("top.mp3"), {TavoRoles::Value()});
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu.value().title, QStringLiteral("File Context Menu"));
    EXPECT_EQ(menu.value().containerType, 100);
    EXPECT_FALSE(menu.value().version);
    ASSERT_GT(menu.value().count, 0);
    EXPECT_EQ(menu.value().rows.first().toList().first(), path("top.mp3").toEncoded());
}

TEST_F(SessionTest, ServiceAnswersToTheValue)
{
    const Result<QVariant> count = client->session.set(client->session.describe().countFiles, QStringLiteral("a"));
    ASSERT_TRUE(count);
    EXPECT_EQ(count.value(), 1);
}

TEST_F(SessionTest, ServiceThatGivesNoAnswerIsNotWaitedFor)
{
    const Result<QVariant> answer = client->session.set(path("no/such/service"), 1);
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.failure().kind, Failure::Kind::Unanswered);
}

TEST_F(SessionTest, ChangesOfAnOpenedDirectoryAreTold)
{
    ASSERT_TRUE(open("a/b"));
    tree.addFile(QStringLiteral("a/b/new.mp3"));
    ASSERT_TRUE(client->isTold(reset + QStringLiteral(" a/b")));
    Session::RowsQuery query;
    query.path = path("a/b");
    EXPECT_EQ(client->session.rows(query).value().version, client->lastVersion);
}

TEST_F(SessionTest, VersionAfterTheLargestIsOne)
{
    constexpr int largest = std::numeric_limits<int>::max();
    client.reset();
    host.reset();
    const int last = std::exchange(CMVersion::s_last, largest - 2);
    host = startHost(tree.root());
    CMVersion::s_last = last;
    client = std::make_unique<Client>(*host);
    ASSERT_TRUE(open(""));
    const auto rowsOf = [this](int version) { return client->session.rows({path(""), 0, 9, version, {}}); };
    EXPECT_EQ(rowsOf(largest).value().version, largest);
    tree.addFile(QStringLiteral("more.mp3"));
    ASSERT_TRUE(client->isTold(reset + QStringLiteral(" ")));
    EXPECT_EQ(client->lastVersion, 1);
    EXPECT_EQ(rowsOf(largest).failure().name, TavoErrorInvalidRowsVersion());
    EXPECT_EQ(rowsOf(1).value().count, 3);
}

TEST_F(SessionTest, AncestorsOfAnOpenedDirectoryAreHeldToo)
{
    ASSERT_TRUE(open("a/b"));
    EXPECT_THAT(tracked(), UnorderedElementsAre(QString(""), QStringLiteral("a"), QStringLiteral("a/b")));
    ASSERT_TRUE(close("a/b"));
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SessionTest, AncestorsAreHeldAsLongAsAnyoneBelowNeedsThem)
{
    tree.addDirectory(QStringLiteral("a/c"));
    ASSERT_TRUE(open("a/b"));
    ASSERT_TRUE(open("a/c"));
    ASSERT_TRUE(open("a"));
    ASSERT_TRUE(close("a/b"));
    EXPECT_THAT(tracked(), UnorderedElementsAre(QString(""), QStringLiteral("a"), QStringLiteral("a/c")));
    ASSERT_TRUE(close("a/c"));
    EXPECT_THAT(tracked(), UnorderedElementsAre(QString(""), QStringLiteral("a")));
    ASSERT_TRUE(close("a"));
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SessionTest, ChangesOfAncestorsAreNotTold)
{
    ASSERT_TRUE(open("a/b"));
    tree.addFile(QStringLiteral("a/new.mp3"));
    tree.addFile(QStringLiteral("new.mp3"));
    tree.addFile(QStringLiteral("a/b/new.mp3"));
    ASSERT_TRUE(client->isTold(reset + QStringLiteral(" a/b")));
    EXPECT_THAT(client->told, testing::Each(reset + QStringLiteral(" a/b")));
}

TEST_F(SessionTest, ParentThatChangedMayBeOpenedLater)
{
    ASSERT_TRUE(open("a/b"));
    tree.addFile(QStringLiteral("a/new.mp3"));
    tree.addFile(QStringLiteral("a/b/new.mp3"));
    ASSERT_TRUE(client->isTold(reset + QStringLiteral(" a/b")));
    EXPECT_TRUE(open("a"));
    EXPECT_TRUE(open(""));
}

TEST_F(SessionTest, OpeningTwiceCountsOnce)
{
    ASSERT_TRUE(open("a"));
    ASSERT_TRUE(open("a"));
    EXPECT_TRUE(close("a"));
    EXPECT_FALSE(close("a"));
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SessionTest, OnlyDirectoriesThatExistAreOpened)
{
    EXPECT_EQ(openFailure("missing"), TavoErrorInvalidPath().toStdString());
    EXPECT_EQ(openFailure("top.mp3"), TavoErrorInvalidPath().toStdString());
    EXPECT_EQ(openFailure("top.mp3/x"), TavoErrorInvalidPath().toStdString());
    EXPECT_EQ(openFailure("a/notes.txt"), TavoErrorInvalidPath().toStdString());
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SessionTest, OnlyPathsInNormalFormAreOpened)
{
    for (const char* base : {"./a", "a/.", "a/../a", "..", "a//b", "/", "a/./b", "../x"})
        EXPECT_EQ(openFailure(base), TavoErrorInvalidPath().toStdString()) << base;
    EXPECT_EQ(openFailure(tree.root().toUtf8().constData()), TavoErrorInvalidPath().toStdString());
    EXPECT_FALSE(client->session.open(host->worker().addPrefix(QStringLiteral("a") + QChar(0))));
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SessionTest, RootHasTwoSpellings)
{
    EXPECT_TRUE(open("."));
    EXPECT_TRUE(close(""));
}

TEST_F(SessionTest, DirectoryInThePlaceOfTheContextMenuIsNotOpened)
{
    tree.addDirectory(QStringLiteral("menu/context/x"));
    EXPECT_TRUE(open("menu"));
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(openFailure("menu/context"), TavoErrorInvalidPath().toStdString());
        EXPECT_EQ(openFailure("menu/context/x"), TavoErrorInvalidPath().toStdString());
    }
}

TEST_F(SessionTest, WhatIsNotOpenCannotBeClosed)
{
    EXPECT_FALSE(close("a"));
    ASSERT_TRUE(open("a/b"));
    EXPECT_FALSE(close("a")) << "held as an ancestor only";
    EXPECT_FALSE(close(""));
    const Result<Done> closing = client->session.close(path("a"));
    EXPECT_EQ(closing.failure().kind, Failure::Kind::Refused);
    EXPECT_EQ(closing.failure().message, QStringLiteral("'/file/a' is not open"));
    EXPECT_EQ(tracked().size(), 3);
}

TEST_F(SessionTest, OneClientCannotCloseWhatAnotherHasOpen)
{
    Client other(*host);
    ASSERT_TRUE(open("a"));
    EXPECT_FALSE(other.session.close(path("a")));
    tree.addFile(QStringLiteral("a/new.mp3"));
    EXPECT_TRUE(client->isTold(reset + QStringLiteral(" a")));
    EXPECT_THAT(other.told, IsEmpty());
}

TEST_F(SessionTest, EachClientHasItsOwnSubscriptions)
{
    Client other(*host);
    ASSERT_TRUE(open("a/b"));
    ASSERT_TRUE(other.session.open(path("a/b")));
    ASSERT_TRUE(close("a/b"));
    EXPECT_EQ(tracked().size(), 3);
    tree.addFile(QStringLiteral("a/b/new.mp3"));
    EXPECT_TRUE(other.isTold(reset + QStringLiteral(" a/b")));
    EXPECT_THAT(client->told, IsEmpty());
}

TEST_F(SessionTest, ClientThatGoesClosesAllThatItHeld)
{
    {
        Client other(*host);
        ASSERT_TRUE(other.session.open(path("a/b")));
        ASSERT_TRUE(other.session.open(path("a")));
        ASSERT_TRUE(open("a"));
    }
    EXPECT_THAT(tracked(), UnorderedElementsAre(QString(""), QStringLiteral("a")));
    client.reset();
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SessionTest, DirectoryThatGoesIsClosed)
{
    ASSERT_TRUE(open("a/b"));
    tree.remove(QStringLiteral("a/b"));
    ASSERT_TRUE(client->isTold(closed + QStringLiteral(" a/b")));
    EXPECT_FALSE(close("a/b"));
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SessionTest, DirectoryThatGoesTakesThoseBelowAlong)
{
    ASSERT_TRUE(open("a/b"));
    ASSERT_TRUE(open("a"));
    tree.remove(QStringLiteral("a"));
    ASSERT_TRUE(client->isTold(closed + QStringLiteral(" a/b")));
    ASSERT_TRUE(client->isTold(closed + QStringLiteral(" a")));
    EXPECT_THAT(tracked(), IsEmpty());
}

TEST_F(SessionTest, DirectoryThatComesBackCanBeOpenedAgain)
{
    for (int round = 0; round < 3; ++round) {
        client->told.clear();
        ASSERT_TRUE(open("a/b")) << round;
        tree.remove(QStringLiteral("a/b"));
        ASSERT_TRUE(client->isTold(closed + QStringLiteral(" a/b"))) << round;
        tree.addFile(QStringLiteral("a/b/song.mp3"));
    }
}

TEST_F(SessionTest, RootThatGoesClosesEverything)
{
    tree.addFile(QStringLiteral("root/x/song.mp3"));
    client.reset();
    host.reset();
    host = startHost(tree.absolute(QStringLiteral("root")));
    client = std::make_unique<Client>(*host);
    ASSERT_TRUE(open("x"));
    tree.remove(QStringLiteral("root"));
    ASSERT_TRUE(client->isTold(closed + QStringLiteral(" x")));
    EXPECT_THAT(tracked(), IsEmpty());
    EXPECT_EQ(openFailure(""), TavoErrorInvalidPath().toStdString());
}

TEST_F(SessionTest, OpeningFromAnotherThreadIsCarriedOver)
{
    auto opening = std::async(std::launch::async, [this] { return open("a/b"); });
    ASSERT_TRUE(eventually([&] { return opening.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_TRUE(opening.get());
    auto closing = std::async(std::launch::async, [this] { return close("a/b"); });
    ASSERT_TRUE(eventually([&] { return closing.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_TRUE(closing.get());
}

TEST_F(SessionTest, RowsMayBeAskedForFromManyThreadsWhileThePathsOpenAndClose)
{
    std::vector<std::future<int>> readers;
    std::atomic_bool done = false;
    for (int i = 0; i < 4; ++i) {
        readers.push_back(std::async(std::launch::async, [this, &done] {
            int refused = 0;
            while (!done)
                refused += client->session.rows({path("a")}) ? 0 : 1;
            return refused;
        }));
    }
    for (int round = 0; round < 200; ++round) {
        ASSERT_TRUE(open("a/b"));
        ASSERT_TRUE(close("a/b"));
    }
    done = true;
    for (std::future<int>& reader : readers)
        EXPECT_EQ(reader.get(), 0);
}

} // namespace
