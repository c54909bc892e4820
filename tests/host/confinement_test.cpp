#include "content/confinement.h"

#include "content/mount.h"

#include "printers.h"
#include "support/temporarytree.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

class Confinement : public testing::Test
{
protected:
    Confinement()
    {
        tree.addFile(QStringLiteral("root/a/b/song.mp3"));
        tree.addFile(QStringLiteral("root2/song.mp3"));
        tree.addFile(QStringLiteral("abroad/deep/song.mp3"));
        QFile::link(tree.absolute(QStringLiteral("abroad/deep")), tree.absolute(QStringLiteral("root/link")));
        QFile::link(tree.absolute(QStringLiteral("root/a/b")), tree.absolute(QStringLiteral("root/inner")));
    }

    [[nodiscard]] bool isConfinedHere(const QString& base) const { return isConfined(root, base); }

    TemporaryTree tree;
    const QString root = tree.absolute(QStringLiteral("root"));
};

TEST_F(Confinement, WhatIsBelowTheRootIsConfined)
{
    for (const char* base : {"", "a", "a/b/song.mp3", "missing", "a/./b", "a//b", "..a", "a/...", "a/"})
        EXPECT_TRUE(isConfinedHere(QString::fromUtf8(base))) << base;
    EXPECT_TRUE(isConfinedHere(root));
    EXPECT_TRUE(isConfinedHere(root + QStringLiteral("/a")));
}

TEST_F(Confinement, WhatClimbsOutIsNot)
{
    for (const char* base :
         {"..", "../", "../root2", "../root2/song.mp3", "a/../..", "a/b/../../../abroad", "missing/../.."})
        EXPECT_FALSE(isConfinedHere(QString::fromUtf8(base))) << base;
}

TEST_F(Confinement, WhatClimbsAndStaysIsConfined)
{
    for (const char* base : {"a/..", "a/../a/b", "../root", "../root/a", "missing/../a", "inner/../b"})
        EXPECT_TRUE(isConfinedHere(QString::fromUtf8(base))) << base;
}

TEST_F(Confinement, AbsolutePathsElsewhereAreNot)
{
    for (const QString& base :
         {QStringLiteral("/"), QStringLiteral("/etc"), tree.root(), root + QStringLiteral("2"),
          root + QStringLiteral("2/song.mp3"), root + QStringLiteral("/../abroad")})
        EXPECT_FALSE(isConfinedHere(base)) << base.toStdString();
}

TEST_F(Confinement, WhatIsNoPathIsNot)
{
    const QString nul(QChar::Null);
    for (const QString& base :
         {nul, QStringLiteral("a/") + nul, QStringLiteral("../abroad") + nul + QStringLiteral("/../root"),
          QStringLiteral(":/"), QStringLiteral(":a")})
        EXPECT_FALSE(isConfinedHere(base)) << base.toStdString();
    EXPECT_TRUE(isConfinedHere(QStringLiteral("a/:b")));
}

TEST_F(Confinement, LinksAreFollowedButNotUpFromWhereTheyLead)
{
    for (const char* base : {"link", "link/song.mp3"})
        EXPECT_TRUE(isConfinedHere(QString::fromUtf8(base))) << base;
    for (const char* base : {"link/..", "link/../deep/song.mp3", "a/../link/../x", "inner/../../../a"})
        EXPECT_FALSE(isConfinedHere(QString::fromUtf8(base))) << base;
}

TEST_F(Confinement, EverythingIsBelowTheRootOfTheFileSystem)
{
    for (const char* base : {"", "etc", "..", "../etc", "/etc", "/"})
        EXPECT_TRUE(isConfined(QStringLiteral("/"), QString::fromUtf8(base))) << base;
}

class Publicity : public Confinement
{
protected:
    Publicity()
    {
        tree.addFile(QStringLiteral("root/.hidden/song.mp3"));
        tree.addFile(QStringLiteral("root/a/.deep/song.mp3"));
        QFile::link(tree.absolute(QStringLiteral("root/.hidden")), tree.absolute(QStringLiteral("root/shown")));
        QFile::link(tree.absolute(QStringLiteral("root/link")), tree.absolute(QStringLiteral("root/chain")));
        QFile::link(QStringLiteral("loop"), tree.absolute(QStringLiteral("root/loop")));
    }

    [[nodiscard]] bool isPublicHere(const char* base) const { return isPublic(mount, QString::fromUtf8(base)); }

    Mount mount{QStringLiteral("file"), QStringLiteral("Music"), root};
};

TEST_F(Publicity, WhatIsInTheTreeIsPublic)
{
    for (const char* base :
         {"", "a", "a/", "a//b", "a/b/song.mp3", "missing", "a/./b", "a/..", "a/../a/b", "inner", "inner/song.mp3"})
        EXPECT_TRUE(isPublicHere(base)) << base;
    EXPECT_FALSE(isPublic(mount, QStringLiteral("a") + QChar(QChar::Null)));
}

TEST_F(Publicity, WhatIsNotConfinedIsNot)
{
    for (const char* base : {"..", "../root2", "/etc", "link/..", ":a"})
        EXPECT_FALSE(isPublicHere(base)) << base;
}

TEST_F(Publicity, HiddenNamesAreNotAtAnyLevel)
{
    for (const char* base :
         {".hidden", ".hidden/song.mp3", "a/.deep", "a/.deep/song.mp3", "a/.missing", "..a", "a/../.hidden", "..."})
        EXPECT_FALSE(isPublicHere(base)) << base;
}

TEST_F(Publicity, HiddenNamesAreNotReachedByClimbingFromALink)
{
    tree.addFile(QStringLiteral("root/.hidden/deep/other.mp3"));
    QFile::link(tree.absolute(QStringLiteral("root/.hidden/deep")), tree.absolute(QStringLiteral("root/visible")));
    for (const char* base : {"visible/..", "visible/../song.mp3", "visible/../a", "a/../visible/../song.mp3"})
        EXPECT_FALSE(isPublicHere(base)) << base;
    EXPECT_TRUE(isPublicHere("inner/../b"));
}

TEST_F(Publicity, LinksThatLeadOutAreNot)
{
    for (const char* base : {"link", "link/song.mp3", "chain", "chain/song.mp3"})
        EXPECT_FALSE(isPublicHere(base)) << base;
}

TEST_F(Publicity, NothingIsOnceALinkStandsWhereTheRootWas)
{
    ASSERT_TRUE(QFile::rename(root, tree.absolute(QStringLiteral("former"))));
    ASSERT_TRUE(QFile::link(tree.absolute(QStringLiteral("former")), root));
    for (const char* base : {"a", "a/b/song.mp3"})
        EXPECT_FALSE(isPublicHere(base)) << base;
}

TEST_F(Publicity, LinksThatLeadOutAreWhereTheMountFollowsThem)
{
    mount.followsLinks = true;
    for (const char* base : {"link", "link/song.mp3", "chain/song.mp3", "a/b/song.mp3"})
        EXPECT_TRUE(isPublicHere(base)) << base;
    for (const char* base : {"..", "link/..", ".hidden", "shown", "link/.hidden", "/etc"})
        EXPECT_FALSE(isPublicHere(base)) << base;
}

TEST_F(Publicity, LinkToWhatIsHiddenIsNot)
{
    for (const char* base : {"shown", "shown/song.mp3"})
        EXPECT_FALSE(isPublicHere(base)) << base;
}

TEST_F(Publicity, LinkThatLeadsNowhereHasNoTarget)
{
    EXPECT_TRUE(isPublicHere("loop"));
}

TEST_F(Publicity, NamesAboveTheRootDoNotCount)
{
    tree.addFile(QStringLiteral(".root/song.mp3"));
    mount.rootDirectory = tree.absolute(QStringLiteral(".root"));
    EXPECT_TRUE(isPublicHere("song.mp3"));
}

} // namespace
