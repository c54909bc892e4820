#include "prepare/prepareplan.h"

#include "content/contenthost.h"

#include "support/names.h"
#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <tavo/tavokeys.h>
#include <tavo/tavoroles.h>

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTextCodec>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

using Kind = PreparePlan::Kind;

class Plan : public testing::Test
{
protected:
    Plan()
    {
        // As the program has it.
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
        tree.addDirectory(QString());
    }

    void start(const QStringList& filter)
    {
        HostSettings settings = settingsFor(tree.root());
        settings.roots.front().filter = filter;
        host = startHost(settings);
        ASSERT_TRUE(host);
        mount = host->mountAt(QStringLiteral("file"));
    }

    [[nodiscard]] QVariantList prepared(Kind kind, const QStringList& ids) const
    {
        const Result<QVariant> items = Content(*host).set(PreparePlan::serviceOf(*mount, kind), ids);
        EXPECT_TRUE(items);
        return items ? items.value().toList() : QVariantList();
    }

    /// A line for each.
    [[nodiscard]] static std::string pathsOf(const QVariantList& items)
    {
        QStringList paths;
        for (const QVariant& item : items)
            paths.append(item.toHash()[TavoRoles::Path()].toString());
        return paths.join(u'\n').toStdString();
    }

    [[nodiscard]] PreparePlan planFor(Kind kind, const QStringList& bases, int smallDirectory) const
    {
        PreparePlan plan(*host, kind, smallDirectory);
        for (const QString& base : bases)
            EXPECT_TRUE(plan.add(mount->path(base))) << base.toStdString();
        return plan;
    }

    /// The plan's items are those of one request, however small the pieces; the number of items.
    int expectSame(Kind kind, const QStringList& bases)
    {
        QStringList ids;
        for (const QString& base : bases)
            ids.append(mount->path(base).toEncoded());
        const QVariantList expected = prepared(kind, ids);
        for (const int smallDirectory : {0, 1, 3, 1000}) {
            QVariantList items;
            const PreparePlan plan = planFor(kind, bases, smallDirectory);
            for (const PreparePlan::Step& step : plan.steps())
                items += prepared(kind, {step.path.toEncoded()});
            EXPECT_EQ(pathsOf(items), pathsOf(expected)) << "small: " << smallDirectory;
            EXPECT_TRUE(items == expected) << "small: " << smallDirectory;
        }
        return expected.size();
    }

    void addRaw(const QByteArray& path)
    {
        const int descriptor = ::creat((tree.root().toUtf8() + '/' + path).constData(), 0644);
        ASSERT_GE(descriptor, 0) << path.toStdString();
        ::close(descriptor);
    }

    TemporaryTree tree;
    std::unique_ptr<ContentHost> host;
    ContentHost::SharedMount mount;
};

const QStringList usual = {QStringLiteral("*.mp3"), QStringLiteral("*.m3u")};

TEST_F(Plan, SmallDirectoryIsAskedForAsOne)
{
    tree.addFile(QStringLiteral("a/1.mp3"));
    tree.addFile(QStringLiteral("a/b/2.mp3"));
    start(usual);
    const PreparePlan plan = planFor(Kind::MusicLibrary, {QStringLiteral("a")}, 2);
    ASSERT_EQ(plan.steps().size(), 1);
    EXPECT_EQ(plan.steps().first().files, 2);
}

TEST_F(Plan, LargeDirectoryIsAskedForByWhatLiesInIt)
{
    for (const char* file : {"1.mp3", "a/1.mp3", "a/2.mp3", "b/1.mp3", "b/c/1.mp3", "z.mp3"})
        tree.addFile(QString::fromUtf8(file));
    start(usual);
    const PreparePlan plan = planFor(Kind::MusicLibrary, {QString()}, 2);
    QStringList steps;
    for (const PreparePlan::Step& step : plan.steps())
        steps.append(step.path.base());
    EXPECT_EQ(
        steps,
        (QStringList{QStringLiteral("1.mp3"), QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("z.mp3")}));
    EXPECT_EQ(plan.files(), 6);
}

TEST_F(Plan, OrderDoesNotFollowTheNesting)
{
    for (const char* file :
         {"a/x.mp3", "a b/x.mp3", "a.mp3", "a-b.mp3", "A/x.mp3", "a/b/x.mp3", "a/b.mp3", "a0.mp3", "B.mp3",
          "\u00e4.mp3", "\U0001F3B5.mp3", "\uFF5A.mp3"})
        tree.addFile(QString::fromUtf8(file));
    start(usual);
    EXPECT_EQ(expectSame(Kind::MusicLibrary, {QString()}), 12);
}

TEST_F(Plan, PlayListFilesAreLeftToTheWorker)
{
    for (const char* file : {"a/1.mp3", "a/2.m3u", "3.m3u", "4.mp3", "5.txt"})
        tree.addFile(QString::fromUtf8(file));
    start(usual);
    EXPECT_EQ(expectSame(Kind::PlayList, {QString(), QStringLiteral("3.m3u")}), 2);
    EXPECT_EQ(expectSame(Kind::MusicLibrary, {QString(), QStringLiteral("3.m3u")}), 5);
}

TEST_F(Plan, FilterOfPlayListsAloneTakesEveryFileOfADirectory)
{
    for (const char* file : {"a/1.mp3", "a/2.m3u", "a/b/3.txt", "4.pls"})
        tree.addFile(QString::fromUtf8(file));
    start(TavoPlayListPatterns());
    EXPECT_EQ(expectSame(Kind::PlayList, {QString(), QStringLiteral("4.pls")}), 4);
    EXPECT_EQ(expectSame(Kind::MusicLibrary, {QString(), QStringLiteral("4.pls")}), 3);
}

TEST_F(Plan, EmptyFilterTakesEveryFileOfADirectory)
{
    for (const char* file : {"a/1.mp3", "a/b/2.txt", "3.m3u"})
        tree.addFile(QString::fromUtf8(file));
    start({});
    EXPECT_EQ(expectSame(Kind::PlayList, {QString(), QStringLiteral("3.m3u")}), 3);
    EXPECT_EQ(expectSame(Kind::MusicLibrary, {QString(), QStringLiteral("3.m3u")}), 3);
}

TEST_F(Plan, NamesOfAllKindsAreFound)
{
    for (const QByteArray& name : nastyNames()) {
        addRaw(name);
        tree.addFile(QStringLiteral("dir/") + QString::fromUtf8(name) + QStringLiteral("/x.mp3"));
    }
    start(usual);
    EXPECT_EQ(expectSame(Kind::MusicLibrary, {QString()}), 2 * nastyNames().size());
}

TEST_F(Plan, NamesThatAreNoUtf8GiveTheSameItems)
{
    for (const char* file : {"a/1.mp3", "a/b/2.mp3", "c.mp3"})
        tree.addFile(QString::fromUtf8(file));
    addRaw("a/b/" + brokenName());
    ASSERT_EQ(::mkdir((tree.root().toUtf8() + "/a/b/broken\xff").constData(), 0755), 0);
    addRaw("a/b/broken\xff/4.mp3");
    addRaw("a/replacement \xef\xbf\xbd.mp3");
    start(usual);
    EXPECT_GE(expectSame(Kind::MusicLibrary, {QString()}), 4);
    expectSame(Kind::PlayList, {QStringLiteral("a/b"), QString()});
}

TEST_F(Plan, PathsAreTakenInTheirOrderAndAsOftenAsTheyCome)
{
    for (const char* file : {"a/1.mp3", "b/2.mp3", "3.mp3"})
        tree.addFile(QString::fromUtf8(file));
    start(usual);
    const QStringList bases = {QStringLiteral("b"), QStringLiteral("3.mp3"), QStringLiteral("a"), QStringLiteral("b")};
    EXPECT_EQ(expectSame(Kind::PlayList, bases), 4);
}

TEST_F(Plan, WhatIsNeitherFileNorDirectoryGivesNothing)
{
    tree.addFile(QStringLiteral("a.txt"));
    tree.addFile(QStringLiteral(".hidden/x.mp3"));
    tree.addFile(QStringLiteral("d/.hidden.mp3"));
    ASSERT_EQ(::mkfifo((tree.root().toUtf8() + "/d/fifo.mp3").constData(), 0644), 0);
    start(usual);
    EXPECT_EQ(
        expectSame(
            Kind::MusicLibrary, {QStringLiteral("missing.mp3"), QStringLiteral("a.txt"), QStringLiteral("d"),
                                 QStringLiteral("d/fifo.mp3"), QString()}),
        0);
    EXPECT_EQ(expectSame(Kind::MusicLibrary, {QStringLiteral(".hidden"), QStringLiteral("d/.hidden.mp3")}), 2);
}

TEST_F(Plan, LinksToFilesAreItemsAndLinksToDirectoriesAreNot)
{
    tree.addFile(QStringLiteral("a/1.mp3"));
    QFile::link(QStringLiteral("1.mp3"), tree.absolute(QStringLiteral("a/link.mp3")));
    QFile::link(QStringLiteral("a"), tree.absolute(QStringLiteral("b")));
    QFile::link(QStringLiteral("."), tree.absolute(QStringLiteral("a/loop.mp3")));
    QFile::link(QStringLiteral("nowhere"), tree.absolute(QStringLiteral("a/dangling.mp3")));
    start(usual);
    EXPECT_EQ(expectSame(Kind::MusicLibrary, {QString()}), 2);
    EXPECT_EQ(expectSame(Kind::MusicLibrary, {QStringLiteral("b")}), 2) << "a link that is named is followed";
}

TEST_F(Plan, PathsThatClimbAreWalkedAsTheWorkerDoes)
{
    tree.addFile(QStringLiteral("a/1.mp3"));
    tree.addFile(QStringLiteral("b/2.mp3"));
    start(usual);
    EXPECT_EQ(expectSame(Kind::MusicLibrary, {QStringLiteral("a/../b"), QStringLiteral("b/..")}), 3);
    EXPECT_EQ(expectSame(Kind::MusicLibrary, {tree.absolute(QStringLiteral("b"))}), 1);
}

class RandomPlan : public Plan, public testing::WithParamInterface<QStringList>
{
protected:
    /// Names that sort otherwise than their nesting suggests.
    void addRandomFiles()
    {
        const QList<QByteArray> parts = {"a", "A", "a b", "a-", "a.", "b", "\xc3\xa4", "\xff", "!", "\xf0\x9f\x8e\xb5",
                                         "~"};
        const QList<QByteArray> endings = {".mp3", ".mp3", ".mp3", ".m3u", ".M3U", ".m3u8", ".pls", ""};
        QRandomGenerator random(7);
        for (int i = 0; i < 200; ++i) {
            QByteArray directory = tree.root().toUtf8();
            for (quint32 depth = random.bounded(4U); depth > 0; --depth) {
                directory += '/' + parts.at(random.bounded(parts.size()));
                ::mkdir(directory.constData(), 0755);
            }
            const QByteArray name = parts.at(random.bounded(parts.size())) + endings.at(random.bounded(endings.size()));
            ::close(::creat((directory + '/' + name).constData(), 0644));
        }
    }
};

TEST_P(RandomPlan, GivesTheSameItems)
{
    addRandomFiles();
    start(GetParam());
    for (const Kind kind : {Kind::PlayList, Kind::MusicLibrary}) {
        EXPECT_GT(expectSame(kind, {QString()}), 0);
        expectSame(kind, {QStringLiteral("a"), QString(), QStringLiteral("a b"), QStringLiteral("a.m3u")});
    }
}

INSTANTIATE_TEST_SUITE_P(
    Filters, RandomPlan,
    testing::Values(
        usual, QStringList(), TavoPlayListPatterns(), QStringList{QStringLiteral("*.M3U")},
        QStringList{QStringLiteral("*.m3u"), QStringLiteral("*.m3u8")}, QStringList{QStringLiteral("*")},
        QStringList{QStringLiteral("a*"), QStringLiteral("?.mp3")},
        QStringList{QStringLiteral("[!a]*"), QStringLiteral("*.[mM]3u")}));

} // namespace
