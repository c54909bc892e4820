#include "model/cmroot.h"

#include "printers.h"
#include "tavo/tavokeys.h"
#include "trackingworker.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
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

TEST(Root, RowsAreTheMountedWorkersByPrefix)
{
    NamedWorker late("z 1");
    NamedWorker early("a");
    EXPECT_TRUE(root().mount(&late));
    EXPECT_TRUE(root().mount(&early));
    const QStringList roles = {TavoRoles::Path(), TavoRoles::Title(), TavoRoles::Type(), TavoRoles::Flags()};
    const TavoRowsRoles page = rowsOfRoot(0, 99, roles);
    EXPECT_EQ(page.rowsCount(), 2);
    EXPECT_EQ(page.rowsVersion(), 0);
    const QVariantList rows = {
        QVariant(QVariantList{QStringLiteral("/a/"), QStringLiteral("a"), TavoRolesType::Container(), QVariant()}),
        QVariant(
            QVariantList{QStringLiteral("/z%201/"), QStringLiteral("z 1"), TavoRolesType::Container(), QVariant()})};
    EXPECT_EQ(page.rows(), rows);
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
    EXPECT_FALSE(CMRoot()->connectChange(CMPath(), &client));
    CMRoot()->disconnectChange(CMPath(), &client);
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
