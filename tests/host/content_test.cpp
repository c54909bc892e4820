#include "content/content.h"

#include "content/contenthost.h"
#include "content/networknames.h"

#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <model/cmrequestcontext.h>
#include <tavo/tavokeys.h>
#include <tavo/tavoroles.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <limits>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

template<typename Value>
QString failureOf(const Result<Value>& result)
{
    return result ? QStringLiteral("done") : result.failure().name;
}

template<typename Value>
std::string messageOf(const Result<Value>& result)
{
    return result ? "done" : result.failure().message.toString().toStdString();
}

/// The value as a client reads it.
std::string jsonOf(const QVariant& value)
{
    return QJsonDocument(QJsonArray{QJsonValue::fromVariant(value)}).toJson(QJsonDocument::Compact).toStdString();
}

class ContentTest : public testing::Test
{
protected:
    ContentTest()
    {
        tree.addFile(QStringLiteral("a/b/song.mp3"));
        tree.addFile(QStringLiteral("a/notes.txt"));
        tree.addFile(QStringLiteral("top.mp3"));
        start(QString());
    }

    /// Serves this directory of the tree instead.
    void start(const QString& root)
    {
        host.reset();
        host = startHost(settingsFor(tree.absolute(root)));
        mount = host->mountAt(QStringLiteral("file"));
    }

    [[nodiscard]] Content content(Reach reach = Reach::Local, const Limits& limits = Limits::none()) const
    {
        return Content(*host, reach, limits);
    }

    [[nodiscard]] CMPath path(const char* base) const { return mount->path(QString::fromUtf8(base)); }

    [[nodiscard]] QStringList titles(const char* base) const
    {
        Content::RowsQuery query;
        query.path = path(base);
        query.roles = QStringList{TavoRoles::Title()};
        const Result<Content::Page> page = content().rows(query);
        QStringList titles;
        for (const QVariant& row : page ? page.value().rows : QVariantList())
            titles.append(row.toList().value(0).toString());
        return titles;
    }

    TemporaryTree tree;
    std::unique_ptr<ContentHost> host;
    ContentHost::SharedMount mount;
};

TEST_F(ContentTest, DescribesProtocolRootsRolesAndLimits)
{
    const QVariantHash description = content(Reach::Local, Limits()).describe();
    EXPECT_THAT(
        description.keys(), testing::UnorderedElementsAre(
                                QStringLiteral("protocol"), QStringLiteral("version"), QStringLiteral("roots"),
                                QStringLiteral("roles"), QStringLiteral("limits")));
    EXPECT_EQ(description[QStringLiteral("protocol")], 1);
    EXPECT_FALSE(description[QStringLiteral("version")].toString().isEmpty());
    EXPECT_EQ(description[QStringLiteral("roles")].toStringList(), CMAllRoles());
    const QVariantHash limits{
        {QStringLiteral("values"), 100'000},
        {QStringLiteral("items"), 1000},
        {QStringLiteral("open"), 1000},
        {QStringLiteral("message"), 1024 * 1024}};
    EXPECT_EQ(description[QStringLiteral("limits")].toHash(), limits);
}

TEST_F(ContentTest, DescribesEachRootWithItsServices)
{
    start(QStringLiteral("a"));
    const QVariantList roots = content().describe()[QStringLiteral("roots")].toList();
    ASSERT_EQ(roots.size(), 1);
    const QVariantHash services{
        {QStringLiteral("preparePlaylist"), path(TavoPlayListPrepareItems().toUtf8()).toEncoded()},
        {QStringLiteral("prepareLibrary"), path(TavoMusicLibraryPrepareItems().toUtf8()).toEncoded()},
        {QStringLiteral("countFiles"), path(TavoFilesystemCountFilesPathSuffix().toUtf8()).toEncoded()}};
    const QVariantHash root{
        {QStringLiteral("prefix"), QStringLiteral("/file")},
        {QStringLiteral("title"), QStringLiteral("a")},
        {QStringLiteral("kind"), QStringLiteral("files")},
        {QStringLiteral("contextMenu"), path("menu/context").toEncoded()},
        {QStringLiteral("services"), services}};
    EXPECT_EQ(roots.first().toHash(), root);
}

TEST_F(ContentTest, RowsAreThoseOfTheWorker)
{
    EXPECT_THAT(titles(""), ElementsAre(QStringLiteral("a"), QStringLiteral("top.mp3")));
    EXPECT_THAT(titles("a"), ElementsAre(QStringLiteral("b")));
}

TEST_F(ContentTest, RowsAreAllSevenRolesByDefault)
{
    const Result<Content::Page> page = content().rows({path("")});
    ASSERT_TRUE(page);
    EXPECT_EQ(page.value().count, 2);
    EXPECT_EQ(page.value().version, 0);
    EXPECT_EQ(page.value().rows.first().toList().size(), 7);
}

TEST_F(ContentTest, PageEndsWhereItIsToldTo)
{
    Content::RowsQuery query;
    query.path = path("");
    query.last = 0;
    EXPECT_EQ(content().rows(query).value().rows.size(), 1);
    query.last = -1;
    EXPECT_EQ(content().rows(query).value().rows.size(), 0);
    EXPECT_EQ(content().rows(query).value().count, 2);
}

TEST_F(ContentTest, IndicesThatWouldEndTheProcessAreRefused)
{
    const QList<Content::RowsQuery> queries = {
        {path(""), -1}, {path(""), std::numeric_limits<int>::min()}, {path(""), 0, -2}, {path(""), 0, 9, -1}};
    for (const Content::RowsQuery& query : queries) {
        const Result<Content::Page> page = content().rows(query);
        ASSERT_FALSE(page);
        EXPECT_EQ(page.failure().kind, Failure::Kind::WrongUse);
    }
}

TEST_F(ContentTest, LargestIndicesGiveAnEmptyPage)
{
    constexpr int largest = std::numeric_limits<int>::max();
    for (const Limits& limits : {Limits(), Limits::none()}) {
        const Result<Content::Page> page = content(Reach::Local, limits).rows({path(""), largest, largest});
        ASSERT_TRUE(page) << messageOf(page);
        EXPECT_EQ(page.value().count, 2);
        EXPECT_TRUE(page.value().rows.isEmpty());
    }
}

TEST_F(ContentTest, RefusalsAreTheWorkers)
{
    const Result<Content::Page> page = content().rows({path("../x")});
    ASSERT_FALSE(page);
    EXPECT_EQ(page.failure().kind, Failure::Kind::Refused);
    EXPECT_EQ(page.failure().name, TavoErrorAccessViolation());
    EXPECT_THAT(messageOf(page), HasSubstr("'../x' is outside"));
}

TEST_F(ContentTest, NothingOutsideTheRootIsShownOrPrepared)
{
    tree.addFile(QStringLiteral("abroad/secret.mp3"));
    QFile::link(tree.absolute(QStringLiteral("abroad")), tree.absolute(QStringLiteral("a/link")));
    start(QStringLiteral("a"));
    for (const QString& base :
         {QStringLiteral("../abroad"), QStringLiteral(".."), tree.absolute(QStringLiteral("abroad")), tree.root(),
          QStringLiteral("b/../../abroad/secret.mp3"), QStringLiteral("link/../top.mp3"), QString(QChar::Null)}) {
        const CMPath outside = mount->path(base);
        const QVariantList items = {path("b").toEncoded(), outside.toEncoded()};
        EXPECT_EQ(failureOf(content().rows({outside})), TavoErrorAccessViolation()) << base.toStdString();
        EXPECT_EQ(failureOf(content().data(outside, entryRoles())), TavoErrorAccessViolation()) << base.toStdString();
        EXPECT_EQ(failureOf(content().set(mount->countFiles(), base)), TavoErrorAccessViolation())
            << base.toStdString();
        EXPECT_EQ(failureOf(content().set(mount->preparePlaylist(), items)), TavoErrorAccessViolation())
            << base.toStdString();
        EXPECT_EQ(failureOf(content().set(mount->prepareLibrary(), items)), TavoErrorAccessViolation())
            << base.toStdString();
    }
}

TEST_F(ContentTest, PathsInAnyValueStayInsideTheirRoots)
{
    const QString outside = path("../x").toEncoded();
    const QList<QVariant> values = {
        outside, QStringList{outside}, QVariantHash{{QStringLiteral("deep"), QVariantList{outside}}},
        QVariantMap{{QStringLiteral("deep"), outside}}};
    for (const QVariant& value : values)
        EXPECT_EQ(failureOf(content().set(path("other/service"), value)), TavoErrorAccessViolation()) << jsonOf(value);
}

TEST_F(ContentTest, PathsOfOtherWorkersAreInvalid)
{
    for (const char* encoded : {"", "/", "/other/a", "/settings/musicLibrary/albumArtWidth", "a"}) {
        const CMPath foreign = CMPath::fromEncoded(QString::fromUtf8(encoded));
        EXPECT_EQ(failureOf(content().data(foreign, entryRoles())), TavoErrorInvalidPath()) << encoded;
        EXPECT_EQ(failureOf(content().set(foreign, 1)), TavoErrorInvalidPath()) << encoded;
        EXPECT_EQ(failureOf(content().menu(foreign, entryRoles())), TavoErrorInvalidPath()) << encoded;
        const QString rowsFailure = foreign == CMPath() ? QStringLiteral("done") : TavoErrorInvalidPath();
        EXPECT_EQ(failureOf(content().rows({foreign})), rowsFailure) << encoded;
    }
}

TEST_F(ContentTest, DataAreTheValuesOfTheRoles)
{
    const Result<QVariantList> data = content().data(path("a/b"), {TavoRoles::Title(), TavoRoles::Type()});
    ASSERT_TRUE(data);
    EXPECT_EQ(data.value(), (QVariantList{QStringLiteral("b"), TavoRolesType::Container()}));
}

TEST_F(ContentTest, MenuIsThatOfTheItem)
{
    const Result<Content::Page> menu = content().menu(path("top.mp3"), {TavoRoles::Value()});
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu.value().title, QStringLiteral("File Context Menu"));
    EXPECT_EQ(menu.value().containerType, 100);
    EXPECT_FALSE(menu.value().version);
    ASSERT_GT(menu.value().count, 0);
    EXPECT_EQ(menu.value().rows.first().toList().first(), path("top.mp3").toEncoded());
}

TEST_F(ContentTest, PageAsAValueHasTheFieldsThatItHas)
{
    const auto fieldsOf = [](const Result<Content::Page>& page) { return page.value().toVariant().toHash().keys(); };
    EXPECT_THAT(
        fieldsOf(content().rows({path("")})),
        testing::UnorderedElementsAre(QStringLiteral("count"), QStringLiteral("rows"), QStringLiteral("version")));
    EXPECT_THAT(
        fieldsOf(content().menu(path("top.mp3"), {})),
        testing::UnorderedElementsAre(
            QStringLiteral("count"), QStringLiteral("rows"), QStringLiteral("title"), QStringLiteral("containerType")));
}

TEST_F(ContentTest, ServiceAnswersToTheValue)
{
    const Result<QVariant> count = content().set(mount->countFiles(), QStringLiteral("a"));
    ASSERT_TRUE(count);
    EXPECT_EQ(count.value(), 1);
}

TEST_F(ContentTest, ServiceThatGivesNoAnswerIsNotWaitedFor)
{
    const Result<QVariant> answer = content().set(path("no/such/service"), 1);
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.failure().kind, Failure::Kind::Unanswered);
}

TEST_F(ContentTest, ThreeServicesWalk)
{
    for (const CMPath& walk : {mount->preparePlaylist(), mount->prepareLibrary(), mount->countFiles()})
        EXPECT_TRUE(content().isWalk(walk)) << walk.toEncoded().toStdString();
    for (const CMPath& quick : {path(""), path("a"), CMPath(), CMPath(QStringLiteral("x"), mount->countFiles().base())})
        EXPECT_FALSE(content().isWalk(quick)) << quick.toEncoded().toStdString();
}

TEST_F(ContentTest, CancelledWalkGivesNoIncompleteItems)
{
    CMRequestContext context;
    const CMRequestContext::Scope scope(context);
    context.cancel();
    const Result<QVariant> items = content().set(mount->prepareLibrary(), QVariantList{path("a").toEncoded()});
    ASSERT_FALSE(items);
    EXPECT_EQ(items.failure().kind, Failure::Kind::Cancelled);
}

TEST_F(ContentTest, WalkThatHasUsedUpItsAnswerIsTooLarge)
{
    CMRequestContext context(10);
    ASSERT_FALSE(context.take(11));
    const CMRequestContext::Scope scope(context);
    const Result<QVariant> items = content().set(mount->prepareLibrary(), QVariantList{path("a").toEncoded()});
    ASSERT_FALSE(items);
    EXPECT_EQ(items.failure().kind, Failure::Kind::TooLarge);
}

TEST_F(ContentTest, ManyThreadsReadWhilePathsOpenAndClose)
{
    std::vector<std::future<int>> readers;
    std::atomic_bool done = false;
    for (int i = 0; i < 4; ++i) {
        readers.push_back(std::async(std::launch::async, [this, &done] {
            int refused = 0;
            while (!done)
                refused += content().rows({path("a")}) ? 0 : 1;
            return refused;
        }));
    }
    Subscriber subscriber(*host);
    for (int round = 0; round < 200; ++round) {
        EXPECT_TRUE(subscriber.open(path("a/b")));
        EXPECT_TRUE(subscriber.close(path("a/b")));
    }
    done = true;
    for (std::future<int>& reader : readers)
        EXPECT_EQ(reader.get(), 0);
}

class ContentLimits : public ContentTest
{
protected:
    ContentLimits()
    {
        for (int i = 0; i < 10; ++i)
            tree.addFile(QStringLiteral("many/%1.mp3").arg(i));
    }

    /// How many rows an answer of at most so many values has.
    [[nodiscard]] int rowsWithin(int values, const QStringList& roles, int first = 0) const
    {
        Limits limits;
        limits.values = values;
        Content::RowsQuery query;
        query.path = path("many");
        query.first = first;
        query.roles = roles;
        const Result<Content::Page> page = content(Reach::Local, limits).rows(query);
        EXPECT_TRUE(page);
        EXPECT_EQ(page.value().count, 10);
        return page.value().rows.size();
    }
};

TEST_F(ContentLimits, PageIsCutAtAWholeRow)
{
    const QStringList three = {TavoRoles::Path(), TavoRoles::Title(), TavoRoles::Type()};
    EXPECT_EQ(rowsWithin(30, three), 10);
    EXPECT_EQ(rowsWithin(29, three), 9);
    EXPECT_EQ(rowsWithin(11, three), 3);
    EXPECT_EQ(rowsWithin(11, three, 8), 2);
}

TEST_F(ContentLimits, PageHasOneRowWhateverTheLimit)
{
    EXPECT_EQ(rowsWithin(2, {TavoRoles::Path(), TavoRoles::Title(), TavoRoles::Type()}), 1);
}

TEST_F(ContentLimits, RowsWithoutRolesCountAsOneValue)
{
    EXPECT_EQ(rowsWithin(4, {}), 4);
}

TEST_F(ContentLimits, PreparationTakesOnlySoManyPaths)
{
    const Content limited = content(Reach::Local, Limits());
    QVariantList ids;
    for (int i = 0; i < 1000; ++i)
        ids.append(path("missing.mp3").toEncoded());
    EXPECT_TRUE(limited.set(mount->prepareLibrary(), ids));
    ids.append(path("missing.mp3").toEncoded());
    for (const CMPath& service : {mount->prepareLibrary(), mount->preparePlaylist()}) {
        const Result<QVariant> items = limited.set(service, ids);
        ASSERT_FALSE(items);
        EXPECT_EQ(items.failure().kind, Failure::Kind::WrongUse);
        EXPECT_EQ(items.failure().message.toString(), QStringLiteral("there are more than 1000 paths"));
        EXPECT_TRUE(content().set(service, ids)) << "nothing limits the person who started the program";
    }
}

/// root/ with what is public, hidden and elsewhere; out/ beside it.
class ContentReach : public ContentTest
{
protected:
    ContentReach()
    {
        tree.addFile(QStringLiteral("root/open/song.mp3"));
        tree.addFile(QStringLiteral("root/.hidden/song.mp3"));
        tree.addFile(QStringLiteral("root/open/.deep/song.mp3"));
        tree.addFile(QStringLiteral("root/open/.song.mp3"));
        tree.addFile(QStringLiteral("out/song.mp3"));
        link("out", "root/outwards");
        link("out/song.mp3", "root/out.mp3");
        link("root/open", "root/inwards");
        start(QStringLiteral("root"));
    }

    void link(const char* target, const char* name) const
    {
        QFile::link(tree.absolute(QString::fromUtf8(target)), tree.absolute(QString::fromUtf8(name)));
    }

    [[nodiscard]] Content network() const { return content(Reach::Network, Limits()); }

    const QList<const char*> secrets = {
        ".hidden",        ".hidden/song.mp3", "open/.deep",        "open/.deep/song.mp3",
        "open/.song.mp3", "outwards",         "outwards/song.mp3", "out.mp3"};
};

TEST_F(ContentReach, NetworkClientsGetNothingHiddenOrBehindALinkThatLeadsOut)
{
    Subscriber subscriber(*host, Reach::Network);
    for (const char* base : secrets) {
        const QVariantList items = {path("open").toEncoded(), path(base).toEncoded()};
        EXPECT_EQ(failureOf(network().rows({path(base)})), TavoErrorAccessViolation()) << base;
        EXPECT_EQ(failureOf(network().data(path(base), entryRoles())), TavoErrorAccessViolation()) << base;
        EXPECT_EQ(failureOf(network().set(mount->countFiles(), QString::fromUtf8(base))), TavoErrorAccessViolation())
            << base;
        EXPECT_EQ(failureOf(network().set(mount->prepareLibrary(), items)), TavoErrorAccessViolation()) << base;
        EXPECT_EQ(failureOf(network().set(path("service"), items)), TavoErrorAccessViolation()) << base;
    }
    for (const char* base : {".hidden", "open/.deep", "outwards"})
        EXPECT_EQ(failureOf(subscriber.open(path(base))), TavoErrorAccessViolation()) << base;
}

TEST_F(ContentReach, AbsolutePathsWorkForLocalClientsOnly)
{
    const QString base = tree.absolute(QStringLiteral("root/open"));
    const CMPath absolute = mount->path(base);
    const QVariantList items = {absolute.toEncoded()};

    EXPECT_TRUE(content().rows({absolute}));
    EXPECT_TRUE(content().data(absolute, entryRoles()));
    EXPECT_EQ(content().set(mount->countFiles(), base).value(), 1);
    EXPECT_EQ(content().set(mount->prepareLibrary(), items).value().toList().size(), 1);

    EXPECT_EQ(failureOf(network().rows({absolute})), TavoErrorAccessViolation());
    EXPECT_EQ(failureOf(network().data(absolute, entryRoles())), TavoErrorAccessViolation());
    EXPECT_EQ(failureOf(network().set(mount->countFiles(), base)), TavoErrorAccessViolation());
    EXPECT_EQ(failureOf(network().set(mount->prepareLibrary(), items)), TavoErrorAccessViolation());

    // Only a relative path can be open.
    EXPECT_EQ(failureOf(Subscriber(*host).open(absolute)), TavoErrorInvalidPath());
    EXPECT_EQ(failureOf(Subscriber(*host, Reach::Network).open(absolute)), TavoErrorInvalidPath());
}

TEST_F(ContentReach, PreparationForTheNetworkLeavesOutLinksThatLeadOut)
{
    link("root/open/song.mp3", "root/again.mp3");
    const auto basesOf = [this](const Content& served, const CMPath& service) {
        const Result<QVariant> items = served.set(service, QVariantList{path("").toEncoded()});
        QStringList bases;
        for (const QVariant& item : items ? items.value().toList() : QVariantList())
            bases.append(CMPath::fromEncoded(item.toHash().value(TavoRoles::Path()).toString()).base());
        return bases;
    };
    const QString again = QStringLiteral("again.mp3");
    const QString song = QStringLiteral("open/song.mp3");
    const QString out = QStringLiteral("out.mp3");
    for (const CMPath& service : {mount->prepareLibrary(), mount->preparePlaylist()}) {
        EXPECT_THAT(basesOf(content(), service), testing::UnorderedElementsAre(again, song, out));
        EXPECT_THAT(basesOf(network(), service), testing::UnorderedElementsAre(again, song));
    }
}

TEST_F(ContentReach, LocalClientsGetThem)
{
    Subscriber subscriber(*host);
    for (const char* base : {".hidden", "open/.deep", "outwards"}) {
        EXPECT_TRUE(content().rows({path(base)})) << base;
        EXPECT_EQ(content().set(mount->countFiles(), QString::fromUtf8(base)).value(), 1) << base;
        EXPECT_TRUE(subscriber.open(path(base))) << base;
    }
    for (const char* base : secrets) {
        EXPECT_TRUE(content().data(path(base), entryRoles())) << base;
        EXPECT_EQ(
            content().set(mount->prepareLibrary(), QVariantList{path(base).toEncoded()}).value().toList().size(), 1)
            << base;
    }
}

TEST_F(ContentReach, LinksInsideTheRootWorkForAll)
{
    Subscriber subscriber(*host, Reach::Network);
    EXPECT_EQ(network().rows({path("inwards")}).value().count, 1);
    EXPECT_TRUE(network().data(path("inwards/song.mp3"), entryRoles()));
    EXPECT_EQ(network().set(mount->countFiles(), QStringLiteral("inwards")).value(), 1);
    EXPECT_TRUE(subscriber.open(path("inwards")));
}

TEST_F(ContentReach, NetworkAnswersHaveNoPathOfTheLocalFileSystem)
{
    const QStringList all = CMAllRoles();
    const std::vector<QVariant> answers = {
        network().describe(),
        network().rows({CMPath(), 0, 9, 0, all}).value().toVariant(),
        network().rows({path(""), 0, 9, 0, all}).value().toVariant(),
        network().rows({path("open"), 0, 9, 0, all}).value().toVariant(),
        network().data(path("open/song.mp3"), all).value(),
        network().menu(path("open/song.mp3"), all).value().toVariant(),
        network().set(mount->preparePlaylist(), QVariantList{path("open").toEncoded()}).value(),
        network().set(mount->prepareLibrary(), QVariantList{path("open").toEncoded()}).value()};
    const std::string local = tree.root().toStdString();
    for (const QVariant& answer : answers) {
        EXPECT_THAT(jsonOf(answer), Not(HasSubstr(local)));
        EXPECT_THAT(jsonOf(answer), Not(HasSubstr("file:")));
    }
}

TEST_F(ContentReach, UrisAreOfTheCarriersKind)
{
    const auto uriOf = [this](const Content& served) {
        const QVariantList values = served.data(path("open/song.mp3"), {TavoRoles::MediaData()}).value();
        const QVariantList resources = values.value(0).toHash()[QStringLiteral("resources")].toList();
        return resources.value(0).toHash()[QStringLiteral("uri")].toString();
    };
    EXPECT_EQ(uriOf(network()), QStringLiteral("media/file/open/song.mp3"));
    EXPECT_EQ(uriOf(content()), QStringLiteral("file://") + tree.absolute(QStringLiteral("root/open/song.mp3")));
}

TEST_F(ContentReach, MapsAreRewrittenAsHashesAre)
{
    const QString file = QStringLiteral("file://") + tree.absolute(QStringLiteral("root/open/song.mp3"));
    const QVariantMap resource{{QStringLiteral("uri"), file}};
    const QVariantMap albumArt{{QStringLiteral("data"), QStringLiteral("picture")}};
    const QVariantMap media{
        {QStringLiteral("resources"), QVariantList{resource}},
        {QStringLiteral("metaData"), QVariantMap{{QStringLiteral("albumArt"), albumArt}}}};
    const auto mountOf = [this](const QString& /*serviceId*/) { return mount; };
    const std::string shown = jsonOf(withNetworkNames(QVariantMap{{QStringLiteral("deep"), media}}, mountOf));
    EXPECT_THAT(shown, HasSubstr("\"media/file/open/song.mp3\""));
    EXPECT_THAT(shown, HasSubstr("\"cover/file/open/song.mp3\""));
    EXPECT_THAT(shown, Not(HasSubstr("file://")));
    EXPECT_THAT(shown, Not(HasSubstr("picture")));
}

TEST_F(ContentReach, CountHasLinksThatLeadOutButNothingHidden)
{
    // open/song.mp3 and out.mp3
    EXPECT_EQ(network().set(mount->countFiles(), QString()).value(), 2);
}

TEST_F(ContentReach, MessagesToTheNetworkNameTheErrorAndTheEncodedPath)
{
    for (const char* base : {"../x", ".hidden", "out.mp3"}) {
        const Result<Content::Page> page = network().rows({path(base)});
        EXPECT_EQ(
            page.failure().message.toString(),
            QStringLiteral("'%1' is refused: %2").arg(path(base).toEncoded(), TavoErrorAccessViolation()));
        EXPECT_THAT(messageOf(content().data(path("../x"), {})), HasSubstr(tree.root().toStdString()));
    }
    const QVariantList items = {path("../x").toEncoded()};
    const std::string local = tree.root().toStdString();
    EXPECT_THAT(messageOf(network().data(path("missing"), {})), Not(HasSubstr(local)));
    EXPECT_THAT(messageOf(network().set(mount->prepareLibrary(), items)), Not(HasSubstr(local)));
    EXPECT_THAT(messageOf(network().set(mount->countFiles(), QStringLiteral(".."))), Not(HasSubstr(local)));
    EXPECT_THAT(messageOf(network().rows({path("missing")})), Not(HasSubstr(local)));
    Subscriber subscriber(*host, Reach::Network);
    for (const char* base : {"../x", ".hidden", "outwards", "missing"})
        EXPECT_THAT(messageOf(subscriber.open(path(base))), Not(HasSubstr(local))) << base;
}

} // namespace
