#include "content/mount.h"

#include "content/networknames.h"

#include "printers.h"

#include <QVariant>

#include <gtest/gtest.h>

namespace {

const Mount music{QStringLiteral("file"), QStringLiteral("Music"), QStringLiteral("/srv/music")};
const Mount everything{QStringLiteral("all"), QStringLiteral("/"), QStringLiteral("/")};

TEST(Mount, LocalPathIsBelowTheRoot)
{
    EXPECT_EQ(music.localPath(QString()), "/srv/music");
    EXPECT_EQ(music.localPath(QStringLiteral("a/b c.mp3")), "/srv/music/a/b c.mp3");
    EXPECT_EQ(music.localPath(QStringLiteral("\u00e4")), "/srv/music/\xc3\xa4");
}

TEST(Mount, AbsoluteBaseIsALocalPath)
{
    EXPECT_EQ(music.localPath(QStringLiteral("/srv/music/a")), "/srv/music/a");
}

TEST(Mount, RootOfTheFileSystemMayBeServed)
{
    EXPECT_EQ(everything.localPath(QString()), "/");
    EXPECT_EQ(everything.localPath(QStringLiteral("etc/fstab")), "/etc/fstab");
}

TEST(Mount, PathsHaveItsPrefix)
{
    EXPECT_EQ(music.path(QStringLiteral("a")).toEncoded(), QStringLiteral("/file/a"));
    EXPECT_EQ(music.contextMenu().toEncoded(), QStringLiteral("/file/menu/context"));
    EXPECT_EQ(everything.countFiles().prefix(), QStringLiteral("all"));
}

QVariantHash mediaWith(const QString& uri)
{
    const QVariantHash art{{QStringLiteral("mimeType"), QStringLiteral("image/png")}, {QStringLiteral("data"), 1}};
    return {
        {QStringLiteral("resources"), QVariantList{QVariantHash{{QStringLiteral("uri"), uri}}}},
        {QStringLiteral("metaData"), QVariantHash{{QStringLiteral("albumArt"), art}}}};
}

QVariant uriOf(const QVariantHash& media)
{
    return media[QStringLiteral("resources")].toList().value(0).toHash().value(QStringLiteral("uri"));
}

QVariantHash artOf(const QVariantHash& media)
{
    return media[QStringLiteral("metaData")].toHash()[QStringLiteral("albumArt")].toHash();
}

/// The value where all media come from the mount.
QVariant shownBy(const Mount& mount, const QVariant& value)
{
    return withNetworkNames(value, [&mount](const QString& /*serviceId*/) { return std::make_shared<Mount>(mount); });
}

TEST(NetworkNames, UriBelowTheRootBecomesTheMediaAddress)
{
    const QVariantHash shown = shownBy(music, mediaWith(QStringLiteral("file:///srv/music/a/b%20%23c.mp3"))).toHash();
    EXPECT_EQ(uriOf(shown), QStringLiteral("media/file/a/b%20%23c.mp3"));
    const QVariantHash ofRoot = shownBy(everything, mediaWith(QStringLiteral("file:///a.mp3"))).toHash();
    EXPECT_EQ(uriOf(ofRoot), QStringLiteral("media/all/a.mp3"));
}

TEST(NetworkNames, UriElsewhereIsLeftOut)
{
    for (const char* uri : {"file:///etc/passwd", "file:///srv/music2/a.mp3", "file:///srv/music", ""}) {
        const QVariantHash shown = shownBy(music, mediaWith(QString::fromUtf8(uri))).toHash();
        EXPECT_FALSE(uriOf(shown).isValid()) << uri;
        EXPECT_FALSE(artOf(shown).contains(QStringLiteral("uri"))) << uri;
        EXPECT_FALSE(artOf(shown).contains(QStringLiteral("data"))) << uri;
    }
}

TEST(NetworkNames, PictureBecomesTheCoversAddress)
{
    const QVariantHash art = artOf(shownBy(music, mediaWith(QStringLiteral("file:///srv/music/a.mp3"))).toHash());
    const QVariantHash expected{
        {QStringLiteral("mimeType"), QStringLiteral("image/png")},
        {QStringLiteral("uri"), QStringLiteral("cover/file/a.mp3")}};
    EXPECT_EQ(art, expected);
}

TEST(NetworkNames, RecordsAreFoundAtAnyDepth)
{
    const QVariant media = mediaWith(QStringLiteral("file:///srv/music/a.mp3"));
    const QVariant deep = QVariantList{QVariantList{QVariantHash{{QStringLiteral("mediaData"), media}}}};
    const QVariantHash item = shownBy(music, deep).toList().value(0).toList().value(0).toHash();
    EXPECT_EQ(uriOf(item[QStringLiteral("mediaData")].toHash()), QStringLiteral("media/file/a.mp3"));
}

TEST(NetworkNames, OtherValuesStay)
{
    for (const QVariant& value :
         {QVariant(), QVariant(1), QVariant(QStringLiteral("text")), QVariant(QVariantList{1, QStringLiteral("x")})})
        EXPECT_EQ(shownBy(music, value), value);
}

TEST(NetworkNames, UriOfAMediumWithoutAMountIsLeftOut)
{
    const auto none = [](const QString& /*serviceId*/) { return std::shared_ptr<Mount>(); };
    const QVariant media = mediaWith(QStringLiteral("file:///srv/music/a.mp3"));
    EXPECT_FALSE(uriOf(withNetworkNames(media, none).toHash()).isValid());
}

} // namespace
