#include "playlist/playlisthelper.h"

#include "i18n/trstring.h"
#include "model/cmrequest.h"
#include "printers.h"
#include "tavo/tavoroles.h"

#include <gtest/gtest.h>

namespace {

QVariantList menuRows(const char* base, const QStringList& roles, int first = 0, int last = 99)
{
    const CMPath path(QStringLiteral("file"), QString::fromUtf8(base));
    return PlayListHelper::playListRows(CMGetRowsRequest(path, first, last, 0, roles));
}

/// The values of one role in all rows.
QStringList column(const char* base, const QString& role)
{
    QStringList values;
    for (const QVariant& row : menuRows(base, {role}))
        values.append(row.toList().value(0).toString());
    return values;
}

TEST(ContextMenu, OffersTheWaysToPlayAnItem)
{
    const QStringList titles = {
        QStringLiteral("Play Now"), QStringLiteral("Play Next"), QStringLiteral("Add to Queue"),
        QStringLiteral("Replace Queue")};
    EXPECT_EQ(column("menu/context//file/a.mp3", TavoRoles::Title()), titles);
}

TEST(ContextMenu, EachRowNamesItsAction)
{
    const QStringList paths = {
        QStringLiteral("/playlist/playNow"), QStringLiteral("/playlist/playNext"),
        QStringLiteral("/playlist/addToQueue"), QStringLiteral("/playlist/replaceQueue")};
    EXPECT_EQ(column("menu/context//file/a.mp3", TavoRoles::Path()), paths);
}

TEST(ContextMenu, EachRowCarriesTheItemsEncodedPath)
{
    const QString item = QStringLiteral("/file/Music/A%231");
    EXPECT_EQ(column("menu/context//file/Music/A%231", TavoRoles::Value()), (QStringList{item, item, item, item}));
}

TEST(ContextMenu, ValuesFollowTheOrderOfTheRoles)
{
    const QStringList roles = {
        TavoRoles::Type(), QStringLiteral("unknown"), TavoRoles::ContainerPlayable(), TavoRoles::Value(),
        TavoRoles::Type()};
    const QVariantList row = menuRows("menu/context//file/a", roles).value(0).toList();
    EXPECT_EQ(
        row, (QVariantList{
                 QStringLiteral("action"), QVariant(), false, QStringLiteral("/file/a"), QStringLiteral("action")}));
}

TEST(ContextMenu, EveryRoleHasAValueInARow)
{
    const QVariantList rows = menuRows("menu/context//file/a", CMAllRoles());
    ASSERT_EQ(rows.size(), 4);
    for (const QVariant& row : rows)
        EXPECT_EQ(row.toList().size(), CMAllRoles().size());
}

TEST(ContextMenu, TitlesStayTranslatable)
{
    const QVariant title = menuRows("menu/context//file/a", {TavoRoles::Title()}).value(0).toList().value(0);
    ASSERT_EQ(title.userType(), qMetaTypeId<TrString>());
    EXPECT_EQ(title.value<TrString>().charData().context, QByteArray("PlayListHelper"));
}

TEST(ContextMenu, RequestedPageIsIgnored)
{
    EXPECT_EQ(menuRows("menu/context//file/a", {TavoRoles::Title()}, 1, 1).size(), 4);
    EXPECT_EQ(menuRows("menu/context//file/a", {TavoRoles::Title()}, 0, -1).size(), 4);
}

TEST(ContextMenu, RootOfTheWorkerIsAnItem)
{
    EXPECT_EQ(column("menu/context//file/", TavoRoles::Value()).value(0), QStringLiteral("/file/"));
}

TEST(ContextMenu, ItemMayHaveAnAbsoluteBase)
{
    EXPECT_EQ(column("menu/context//file//etc/x", TavoRoles::Value()).value(0), QStringLiteral("/file//etc/x"));
}

TEST(ContextMenu, HasNoRowsWithoutAnItem)
{
    EXPECT_TRUE(menuRows("menu/context", CMAllRoles()).isEmpty());
    EXPECT_TRUE(menuRows("menu/context/", CMAllRoles()).isEmpty());
    EXPECT_TRUE(menuRows("menu/context/file/a", CMAllRoles()).isEmpty());
    EXPECT_TRUE(menuRows("menu/context//other/a", CMAllRoles()).isEmpty());
}

TEST(ContextMenu, HasNoRowsOutsideTheMenu)
{
    EXPECT_TRUE(menuRows("", CMAllRoles()).isEmpty());
    EXPECT_TRUE(menuRows("menu/contexts//file/a", CMAllRoles()).isEmpty());
    EXPECT_TRUE(menuRows("Music/menu/context//file/a", CMAllRoles()).isEmpty());
}

TEST(ContextMenu, ItemBelongsToTheSameWorker)
{
    const CMPath path(QStringLiteral("usb 1"), QStringLiteral("menu/context//usb%201/a%20b"));
    const QVariantList rows = PlayListHelper::playListRows(CMGetRowsRequest(path, 0, 9, 0, {TavoRoles::Value()}));
    ASSERT_EQ(rows.size(), 4);
    EXPECT_EQ(rows.at(0).toList().value(0).toString(), QStringLiteral("/usb%201/a%20b"));
}

TEST(ContextMenu, RequestWithoutARecordEndsTheProcess)
{
    EXPECT_DEATH(static_cast<void>(PlayListHelper::playListRows(CMGetRowsRequest())), "m_d");
}

} // namespace
