// Files that network clients may play, and everything that they may not read.

#include "media/medialibrary.h"

#include "content/content.h"
#include "content/contenthost.h"
#include "content/networknames.h"

#include "support/servedcontent.h"
#include "support/swapper.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <QDir>
#include <QFile>
#include <QUrl>

#include <gtest/gtest.h>

#include <functional>

#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

class MediaLibraryTest : public testing::Test
{
protected:
    MediaLibraryTest()
    {
        tree.addFile(QStringLiteral("root/song.mp3"), "sound");
        tree.addFile(QStringLiteral("root/a/b/deep.mp3"), "deep sound");
        tree.addFile(QStringLiteral("root/notes.txt"), "secret");
        tree.addFile(QStringLiteral("root/.hidden.mp3"), "secret");
        tree.addFile(QStringLiteral("root/.hidden/song.mp3"), "secret");
        tree.addFile(QStringLiteral("root/a/.deep/song.mp3"), "secret");
        tree.addFile(QStringLiteral("root/directory.mp3/song.mp3"), "sound");
        tree.addFile(QStringLiteral("root2/song.mp3"), "secret");
        tree.addFile(QStringLiteral("abroad/song.mp3"), "secret");
        start();
    }

    void start(bool followLinks = false)
    {
        HostSettings settings = settingsFor(root);
        settings.roots.front().followLinks = followLinks;
        host.reset();
        host = startHost(settings);
    }

    void link(const char* target, const char* name) const
    {
        ASSERT_TRUE(QFile::link(QString::fromUtf8(target), path(name)));
    }

    [[nodiscard]] QString path(const char* name) const { return root + u'/' + QString::fromUtf8(name); }

    [[nodiscard]] std::optional<MediaFile> open(const QString& base) const
    {
        return MediaLibrary(*host).open(QStringLiteral("file"), base);
    }

    [[nodiscard]] std::optional<MediaFile> open(const char* base) const { return open(QString::fromUtf8(base)); }

    /// The bytes of the file; "none" if it is not opened.
    [[nodiscard]] QByteArray read(const QString& base) const
    {
        std::optional<MediaFile> file = open(base);
        QFile content;
        if (!file || !content.open(file->descriptor.get(), QIODevice::ReadOnly))
            return "none";
        return content.readAll();
    }

    [[nodiscard]] QByteArray read(const char* base) const { return read(QString::fromUtf8(base)); }

    TemporaryTree tree;
    const QString root = tree.absolute(QStringLiteral("root"));
    std::unique_ptr<ContentHost> host;
};

TEST_F(MediaLibraryTest, PlayableFileIsOpened)
{
    tree.setModified(QStringLiteral("root/song.mp3"), 784111777);
    const std::optional<MediaFile> file = open("song.mp3");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->size(), 5);
    EXPECT_EQ(file->modified(), 784111777);
    EXPECT_EQ(file->mimeType, "audio/mpeg");
    EXPECT_EQ(read("song.mp3"), "sound");
    EXPECT_EQ(read("a/b/deep.mp3"), "deep sound");
}

TEST_F(MediaLibraryTest, DescriptorNeitherBlocksNorReachesChildren)
{
    const std::optional<MediaFile> file = open("song.mp3");
    ASSERT_TRUE(file);
    EXPECT_EQ(fcntl(file->descriptor.get(), F_GETFL) & (O_ACCMODE | O_NONBLOCK), O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(fcntl(file->descriptor.get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(MediaLibraryTest, ETagChangesWithTheFile)
{
    const QByteArray first = open("song.mp3")->etag;
    EXPECT_TRUE(first.startsWith('"') && first.endsWith('"') && first.size() > 10) << first.toStdString();
    EXPECT_EQ(open("song.mp3")->etag, first);
    tree.setModified(QStringLiteral("root/song.mp3"), 784111777);
    const QByteArray second = open("song.mp3")->etag;
    EXPECT_NE(second, first);
    tree.addFile(QStringLiteral("root/other.mp3"), "noise");
    tree.setModified(QStringLiteral("root/other.mp3"), 784111777);
    tree.remove(QStringLiteral("root/song.mp3"));
    tree.rename(QStringLiteral("root/other.mp3"), QStringLiteral("root/song.mp3"));
    EXPECT_NE(open("song.mp3")->etag, second);
}

TEST_F(MediaLibraryTest, OpenedFileIsCurrentUntilItChanges)
{
    const auto change = [this](const std::function<void()>& action) {
        tree.addFile(QStringLiteral("root/x/y/song.mp3"), "sound");
        const QString base = QStringLiteral("x/y/song.mp3");
        const std::optional<MediaFile> file = open(base);
        EXPECT_TRUE(file);
        const MediaLibrary library(*host);
        EXPECT_TRUE(library.isCurrent(*file, QStringLiteral("file"), base));
        action();
        EXPECT_FALSE(library.isCurrent(*file, QStringLiteral("file"), base));
        QDir(path("x")).removeRecursively();
    };
    const QString song = QStringLiteral("root/x/y/song.mp3");
    change([&] { tree.remove(song); });
    change([&] { tree.addFile(song, "longer sound"); });
    change([&] { tree.setModified(song, 784111777); });
    change([&] { ASSERT_EQ(chmod(tree.absolute(song).toUtf8(), 0), 0); });
    change([&] { tree.rename(QStringLiteral("root/x/y"), QStringLiteral("root/x/.y")); });
    change([&] {
        tree.addFile(QStringLiteral("root/x/z/song.mp3"), "sound");
        ASSERT_EQ(renameat2(AT_FDCWD, path("x/y").toUtf8(), AT_FDCWD, path("x/z").toUtf8(), RENAME_EXCHANGE), 0);
    });
    change([&] {
        tree.rename(QStringLiteral("root/x/y"), QStringLiteral("root/x/z"));
        link("z", "x/y");
    });
    change([&] { tree.rename(QStringLiteral("root"), QStringLiteral("moved")); });
}

TEST_F(MediaLibraryTest, FileOfAnotherPathIsNotCurrent)
{
    const std::optional<MediaFile> file = open("song.mp3");
    ASSERT_TRUE(file);
    const MediaLibrary library(*host);
    for (const char* base : {"a/b/deep.mp3", "a/../song.mp3", "../root/song.mp3", "./song.mp3", "", "notes.txt"})
        EXPECT_FALSE(library.isCurrent(*file, QStringLiteral("file"), QString::fromUtf8(base))) << base;
    EXPECT_FALSE(library.isCurrent(*file, QStringLiteral("other"), QStringLiteral("song.mp3")));
}

TEST_F(MediaLibraryTest, WhatIsNoPlayableFileIsNotOpened)
{
    for (const char* base : {"", "notes.txt", "missing.mp3", "a", "directory.mp3", "song.mp3/x.mp3", "song.mp3/"})
        EXPECT_FALSE(open(base)) << base;
    EXPECT_FALSE(MediaLibrary(*host).open(QStringLiteral("other"), QStringLiteral("song.mp3")));
    EXPECT_FALSE(MediaLibrary(*host).open(QString(), QStringLiteral("song.mp3")));
}

TEST_F(MediaLibraryTest, HiddenNamesAreNotOpenedAtAnyLevel)
{
    for (const char* base : {".hidden.mp3", ".hidden/song.mp3", "a/.deep/song.mp3"})
        EXPECT_FALSE(open(base)) << base;
}

TEST_F(MediaLibraryTest, NamesAboveTheRootMayBeHidden)
{
    tree.rename(QStringLiteral("root"), QStringLiteral(".root"));
    host.reset();
    host = startHost(settingsFor(tree.absolute(QStringLiteral(".root"))));
    EXPECT_EQ(read("song.mp3"), "sound");
}

TEST_F(MediaLibraryTest, PathThatIsNotPlainIsNotOpened)
{
    for (const char* base :
         {"../root2/song.mp3", "..", "a/../song.mp3", "a/b/../../song.mp3", "a/../../root2/song.mp3", "./song.mp3",
          "a/./b/deep.mp3", "a//b/deep.mp3", "/song.mp3", "//song.mp3", "song.mp3/..", "a/b/deep.mp3/../deep.mp3",
          "..\\song.mp3", "%2e%2e/root2/song.mp3", "%2e%2e%2froot2%2fsong.mp3"})
        EXPECT_FALSE(open(base)) << base;
    EXPECT_FALSE(open(path("song.mp3")));
    EXPECT_FALSE(open(tree.absolute(QStringLiteral("abroad/song.mp3"))));
    EXPECT_FALSE(open(QStringLiteral("song.mp3") + QChar(QChar::Null) + QStringLiteral(".mp3")));
    EXPECT_FALSE(open(QStringLiteral("a/").repeated(5000) + QStringLiteral("song.mp3")));
    EXPECT_FALSE(open(QString(300, u'x') + QStringLiteral(".mp3")));
}

TEST_F(MediaLibraryTest, LinksInTheTreeAreFollowed)
{
    link("song.mp3", "again.mp3");
    link("a/b", "inner");
    link("../song.mp3", "a/up.mp3");
    link("inner/deep.mp3", "chain.mp3");
    link("../root/song.mp3", "round.mp3");
    ASSERT_TRUE(QFile::link(path("a/b"), path("absolute")));
    EXPECT_EQ(read("again.mp3"), "sound");
    EXPECT_EQ(read("round.mp3"), "sound");
    EXPECT_EQ(read("absolute/deep.mp3"), "deep sound");
    EXPECT_EQ(read("inner/deep.mp3"), "deep sound");
    EXPECT_EQ(read("a/up.mp3"), "sound");
    EXPECT_EQ(read("chain.mp3"), "deep sound");
}

TEST_F(MediaLibraryTest, LinksOutOfTheTreeAreNot)
{
    link("../abroad/song.mp3", "file.mp3");
    link("../abroad", "directory");
    link("directory/song.mp3", "chain.mp3");
    link("/etc/passwd", "absolute.mp3");
    link("loop.mp3", "loop.mp3");
    for (const char* base : {"file.mp3", "directory/song.mp3", "chain.mp3", "absolute.mp3", "loop.mp3"})
        EXPECT_FALSE(open(base)) << base;
}

TEST_F(MediaLibraryTest, RootThatFollowsLinksFollowsThemAnywhere)
{
    link("../abroad/song.mp3", "file.mp3");
    link("../abroad", "directory");
    link(".hidden/song.mp3", "shown.mp3");
    start(true);
    EXPECT_EQ(read("file.mp3"), "secret");
    EXPECT_EQ(read("directory/song.mp3"), "secret");
    for (const char* base : {"../abroad/song.mp3", ".hidden/song.mp3", "shown.mp3", "directory/../song.mp3"})
        EXPECT_FALSE(open(base)) << base;
}

TEST_F(MediaLibraryTest, VisibleLinkDoesNotShowWhatIsHidden)
{
    link(".hidden.mp3", "file.mp3");
    link(".hidden", "directory");
    link("a/.deep/song.mp3", "deep.mp3");
    for (const char* base : {"file.mp3", "directory/song.mp3", "deep.mp3"})
        EXPECT_FALSE(open(base)) << base;
}

TEST_F(MediaLibraryTest, PipesDevicesAndProcAreNotOpened)
{
    ASSERT_EQ(mkfifo(path("pipe.mp3").toUtf8(), 0600), 0);
    link("/dev/zero", "device.mp3");
    link("/proc/self/environ", "environment.mp3");
    link("/proc/self/root/etc/passwd", "magic.mp3");
    EXPECT_FALSE(open("pipe.mp3"));
    for (const bool followLinks : {false, true}) {
        start(followLinks);
        EXPECT_FALSE(open("device.mp3"));
        EXPECT_FALSE(open("magic.mp3"));
        EXPECT_FALSE(open("pipe.mp3"));
    }
    start(false);
    EXPECT_FALSE(open("environment.mp3"));
}

TEST_F(MediaLibraryTest, WriterOfAPipeIsNotDisturbed)
{
    ASSERT_EQ(mkfifo(path("pipe.mp3").toUtf8(), 0600), 0);
    const FileDescriptor reader(::open(path("pipe.mp3").toUtf8(), O_RDONLY | O_NONBLOCK));
    const FileDescriptor writer(::open(path("pipe.mp3").toUtf8(), O_WRONLY | O_NONBLOCK));
    ASSERT_TRUE(reader.isOpen() && writer.isOpen());
    EXPECT_FALSE(open("pipe.mp3"));
    EXPECT_EQ(write(writer.get(), "x", 1), 1);
}

TEST_F(MediaLibraryTest, NothingOutsideIsReadWhileLinksAreSwapped)
{
    link("../abroad", "out");
    link("../abroad/song.mp3", "out.mp3");
    tree.addFile(QStringLiteral("root/in/song.mp3"), "sound");
    tree.addFile(QStringLiteral("root/in.mp3"), "sound");
    const Swapper directories(path("in"), path("out"));
    const Swapper files(path("in.mp3"), path("out.mp3"));
    constexpr int rounds = 3000;
    int found = 0;
    for (int i = 0; i < rounds || (found == 0 && i < 100 * rounds); ++i) {
        for (const char* base : {"in/song.mp3", "in.mp3"}) {
            const QByteArray content = read(base);
            ASSERT_TRUE(content == "sound" || content == "none") << content.toStdString();
            found += content == "sound" ? 1 : 0;
        }
    }
    EXPECT_GT(found, 0);
    EXPECT_GT(directories.swaps() + files.swaps(), 0);
}

TEST_F(MediaLibraryTest, NothingHiddenIsReadWhileDirectoriesAreSwapped)
{
    tree.addFile(QStringLiteral("root/shown/song.mp3"), "sound");
    link("shown", "link");
    link(".hidden", "other");
    const Swapper links(path("link"), path("other"));
    constexpr int rounds = 3000;
    for (int i = 0; i < rounds; ++i) {
        const QByteArray content = read("link/song.mp3");
        ASSERT_TRUE(content == "sound" || content == "none") << content.toStdString();
    }
}

TEST_F(MediaLibraryTest, RootThatBecomesALinkIsNotFollowed)
{
    tree.rename(QStringLiteral("root"), QStringLiteral("moved"));
    ASSERT_TRUE(QFile::link(tree.absolute(QStringLiteral("abroad")), root));
    EXPECT_FALSE(open("song.mp3"));
}

TEST_F(MediaLibraryTest, DirectoryThatReplacesTheRootIsServed)
{
    tree.rename(QStringLiteral("root"), QStringLiteral("moved"));
    EXPECT_FALSE(open("song.mp3"));
    tree.addFile(QStringLiteral("root/song.mp3"), "new sound");
    EXPECT_EQ(read("song.mp3"), "new sound");
}

TEST_F(MediaLibraryTest, TypesThatCouldHoldScriptsAreBytes)
{
    HostSettings settings = settingsFor(root);
    settings.roots.front().filter = QStringList{QStringLiteral("*")};
    host.reset();
    host = startHost(settings);
    for (const char* name : {"x.html", "x.svg", "x.svgz", "x.xhtml", "x.js", "x.pdf", "x.xml", "x", "x.unknown"}) {
        tree.addFile(QStringLiteral("root/") + QString::fromUtf8(name));
        EXPECT_EQ(open(name)->mimeType, "application/octet-stream") << name;
    }
    for (const auto& [name, type] :
         {std::pair("x.flac", "audio/flac"), std::pair("x.MP4", "video/mp4"), std::pair("x.png", "image/png")}) {
        tree.addFile(QStringLiteral("root/") + QString::fromUtf8(name));
        EXPECT_EQ(open(name)->mimeType, type) << name;
    }
}

const QStringList hostileNames = {
    QStringLiteral("plain"),
    QStringLiteral("a#b"),
    QStringLiteral("a?b=c"),
    QStringLiteral("100%"),
    QStringLiteral("%2e%2e%2f"),
    QStringLiteral("%00"),
    QStringLiteral("%252e"),
    QStringLiteral("two  spaces "),
    QStringLiteral(" leading"),
    QStringLiteral("a\r\nSet-Cookie: x"),
    QStringLiteral("tab\tbell\a"),
    QStringLiteral("Ünïcödé 音楽"),
    QString::fromUtf8("\xf0\x9f\x8e\xb5"),
    QStringLiteral("cafe\u0301"),
    QStringLiteral("\uFEFFmark"),
    QStringLiteral("\u202Egnp.bidi"),
    QStringLiteral("<img src=x onerror=alert(1)>"),
    QStringLiteral("\"quoted\" 'single' `back` \\slash"),
    QStringLiteral("a+b&c=d;e,f@g:h!$*()[]{}|^~"),
    QStringLiteral("file:"),
    QStringLiteral(":colon"),
    QStringLiteral("~"),
    QStringLiteral("-rf")};

TEST_F(MediaLibraryTest, AddressesInAnswersOpenTheirFiles)
{
    Content content(*host, Reach::Network, Limits());
    for (const QString& name : hostileNames) {
        const QString base = QStringLiteral("a/") + name + u'/' + name + QStringLiteral(".mp3");
        tree.addFile(QStringLiteral("root/") + base, base.toUtf8());
        const Result<QVariantList> values =
            content.data(host->mountAt(QStringLiteral("file"))->path(base), {QStringLiteral("mediaData")});
        ASSERT_TRUE(values) << base.toStdString();
        const QVariantHash media = values.value().value(0).toHash();
        const QString uri =
            media[QStringLiteral("resources")].toList().value(0).toHash()[QStringLiteral("uri")].toString();
        ASSERT_TRUE(uri.startsWith(QStringLiteral("media/file/"))) << base.toStdString();
        const CMPath path = CMPath::fromEncoded(uri.mid(5));
        EXPECT_EQ(path.base(), base);
        EXPECT_EQ(read(path.base()), base.toUtf8());
    }
}

TEST_F(MediaLibraryTest, AddressesInAnswersAreRelativeReferences)
{
    const MountOfMedium mountOf = [this](const QString& /*id*/) { return host->mountAt(QStringLiteral("file")); };
    for (const QString& name : hostileNames) {
        const QString file = QString::fromUtf8(QUrl::fromLocalFile(root + u'/' + name).toEncoded());
        const QVariantHash media{
            {QStringLiteral("resources"), QVariantList{QVariantHash{{QStringLiteral("uri"), file}}}},
            {QStringLiteral("metaData"),
             QVariantHash{{QStringLiteral("albumArt"), QVariantHash{{QStringLiteral("data"), 1}}}}}};
        const QVariantHash shown = withNetworkNames(media, mountOf).toHash();
        const QString uri =
            shown[QStringLiteral("resources")].toList().value(0).toHash()[QStringLiteral("uri")].toString();
        const QString cover = shown[QStringLiteral("metaData")]
                                  .toHash()[QStringLiteral("albumArt")]
                                  .toHash()[QStringLiteral("uri")]
                                  .toString();
        const QUrl page(QStringLiteral("http://host/below/"));
        const QUrl address = page.resolved(QUrl(uri, QUrl::StrictMode));
        EXPECT_TRUE(address.isValid());
        EXPECT_FALSE(address.hasQuery() || address.hasFragment()) << uri.toStdString();
        EXPECT_EQ(address.toEncoded(), "http://host/below/" + uri.toLatin1());
        EXPECT_EQ(cover, QStringLiteral("cover/") + uri.mid(6));
    }
}

} // namespace
