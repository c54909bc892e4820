#include "tavo/tavoroles.h"

#include "model/cmpath.h"
#include "printers.h"
#include "tavo/tavokeys.h"

#include <QSet>

#include <gtest/gtest.h>

namespace {

TEST(Roles, KeysAreTheAccessorsNames)
{
    EXPECT_EQ(TavoRoles::Path(), QStringLiteral("path"));
    EXPECT_EQ(TavoRoles::Title(), QStringLiteral("title"));
    EXPECT_EQ(TavoRoles::Type(), QStringLiteral("type"));
    EXPECT_EQ(TavoRoles::ContainerPlayable(), QStringLiteral("containerPlayable"));
    EXPECT_EQ(TavoRoles::Flags(), QStringLiteral("flags"));
    EXPECT_EQ(TavoRoles::MediaData(), QStringLiteral("mediaData"));
    EXPECT_EQ(TavoRoles::Timestamp(), QStringLiteral("timestamp"));
    EXPECT_EQ(TavoRoles::ContainerType(), QStringLiteral("containerType"));
    EXPECT_EQ(TavoRoles::Value(), QStringLiteral("value"));
}

TEST(Roles, AllRolesHoldsEachRoleOnce)
{
    const QStringList expected = {
        TavoRoles::Path(),  TavoRoles::Title(),     TavoRoles::Type(),      TavoRoles::ContainerPlayable(),
        TavoRoles::Flags(), TavoRoles::MediaData(), TavoRoles::Timestamp(), TavoRoles::ContainerType(),
        TavoRoles::Value()};
    EXPECT_EQ(CMAllRoles(), expected);
}

TEST(Roles, ContextMenuIsContainerType100)
{
    EXPECT_EQ(static_cast<int>(TavoRolesContainerType::ContextMenu), 100);
    TavoRoles roles;
    EXPECT_EQ(roles.containerType(), TavoRolesContainerType::Plain);
    roles.setContainerType(TavoRolesContainerType::ContextMenu);
    EXPECT_EQ(roles.containerType(), 100);
}

TEST(Roles, TitleKeepsItsTranslatableParts)
{
    TavoRoles roles;
    roles.setTitle(TrString({"Test", "Menu"}, QList<TrArg>()));
    EXPECT_EQ(roles.title(), QStringLiteral("Menu"));
    EXPECT_EQ(roles.field(TavoRoles::Title()).value<TrString>().charData().sourceText, QByteArray("Menu"));
}

TEST(RolesType, EachTypeHasAName)
{
    using Type = TavoRolesType::Enum;
    EXPECT_EQ(TavoRolesType::toString(Type::File), QStringLiteral("file"));
    EXPECT_EQ(TavoRolesType::toString(Type::Container), TavoRolesType::Container());
    EXPECT_EQ(TavoRolesType::toString(Type::Audio), QStringLiteral("audio"));
    EXPECT_EQ(TavoRolesType::toString(Type::Video), QStringLiteral("video"));
    EXPECT_EQ(TavoRolesType::toString(Type::Image), QStringLiteral("image"));
    EXPECT_EQ(TavoRolesType::toString(Type::Playlist), QStringLiteral("playlist"));
    EXPECT_EQ(TavoRolesType::toString(Type::Action), QStringLiteral("action"));
    EXPECT_EQ(TavoRolesType::Container(), QStringLiteral("container"));
}

TEST(RolesType, UnknownTypeEndsTheProcess)
{
    EXPECT_DEATH(static_cast<void>(TavoRolesType::toString(static_cast<TavoRolesType::Enum>(99))), "size\\(texts\\)");
}

TEST(RowsRoles, ReturnTheirFields)
{
    TavoRoles container;
    container.setContainerType(TavoRolesContainerType::ContextMenu);
    const QVariantList rows = {QVariant(QVariantList{1}), QVariant(QVariantList{2})};
    TavoRowsRoles page;
    page.setRowsCount(5);
    page.setRowsVersion(9);
    page.setRows(rows);
    page.setRoles(container);
    EXPECT_EQ(page.rowsCount(), 5);
    EXPECT_EQ(page.rowsVersion(), 9);
    EXPECT_EQ(page.rows(), rows);
    EXPECT_EQ(page.roles().containerType(), 100);
}

TEST(RowsRoles, VersionZeroDiffersFromNoVersion)
{
    TavoRowsRoles page;
    EXPECT_FALSE(page.hasRowsVersion());
    EXPECT_EQ(page.rowsVersion(), 0);
    page.setRowsVersion(0);
    EXPECT_TRUE(page.hasRowsVersion());
}

TEST(RowsRoles, UnsetFieldsAreAbsent)
{
    TavoRowsRoles page;
    page.setRowsCount(0);
    EXPECT_EQ(page.fields(), (QVariantHash{{QStringLiteral("rowsCount"), 0}}));
    EXPECT_TRUE(page.rows().isEmpty());
    EXPECT_TRUE(page.roles().fields().isEmpty());
}

TEST(Keys, AreDistinct)
{
    const QStringList keys = {
        TavoService_Id(),
        TavoFilesystem_Path(),
        TavoFilesystem_Filter(),
        TavoPlaylist_StateDirectory(),
        TavoPlayListPrepareItems(),
        TavoMusicLibraryPrepareItems(),
        TavoFilesystemCountFilesPathSuffix()};
    const QSet<QString> distinct(keys.cbegin(), keys.cend());
    EXPECT_EQ(distinct.size(), keys.size());
    EXPECT_FALSE(distinct.contains(QString()));
}

TEST(Keys, ServicesAreNormalisedBases)
{
    // CMPath drops trailing slashes, and a leading slash would make the base absolute.
    for (const QString& key :
         {TavoPlayListPrepareItems(), TavoMusicLibraryPrepareItems(), TavoFilesystemCountFilesPathSuffix()}) {
        EXPECT_EQ(CMPath(QStringLiteral("file"), key).base(), key);
        EXPECT_FALSE(key.startsWith(QLatin1Char('/')));
    }
}

TEST(Keys, ErrorNamesAreDistinct)
{
    const QSet<QString> names = {TavoErrorAccessViolation(), TavoErrorInvalidPath(), TavoErrorInvalidRowsVersion()};
    EXPECT_EQ(names.size(), 3);
}

} // namespace
