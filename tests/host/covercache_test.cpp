#include "media/covercache.h"

#include "support/temporarytree.h"

#include "printers.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace {

class CoverCacheTest : public testing::Test
{
protected:
    [[nodiscard]] QStringList files() const { return QDir(directory).entryList(QDir::Files | QDir::Hidden); }

    [[nodiscard]] qint64 bytes() const
    {
        qint64 sum = 0;
        for (const QFileInfo& file : QDir(directory).entryInfoList(QDir::Files | QDir::Hidden))
            sum += file.size();
        return sum;
    }

    void age(const char* key, qint64 seconds) const
    {
        QFile file(directory + u'/' + QString::fromUtf8(key));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(
            file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-seconds), QFileDevice::FileModificationTime));
    }

    TemporaryTree tree;
    const QString directory = tree.absolute(QStringLiteral("state/covers"));
};

TEST_F(CoverCacheTest, WhatIsKeptIsFound)
{
    CoverCache cache(directory, 1000);
    EXPECT_EQ(cache.find("a"), QByteArray());
    cache.keep("a", "picture a");
    cache.keep("b", QByteArray("\0\xff", 2));
    EXPECT_EQ(cache.find("a"), "picture a");
    EXPECT_EQ(cache.find("b"), QByteArray("\0\xff", 2));
    cache.keep("a", "newer");
    EXPECT_EQ(cache.find("a"), "newer");
    EXPECT_EQ(CoverCache(directory, 1000).find("a"), "newer");
    EXPECT_EQ(files(), QStringList({QStringLiteral("a"), QStringLiteral("b")}));
}

TEST_F(CoverCacheTest, WithoutADirectoryNothingIsKept)
{
    CoverCache cache(QString(), 1000);
    cache.keep("a", "picture");
    EXPECT_EQ(cache.find("a"), QByteArray());
}

TEST_F(CoverCacheTest, DirectoryThatCannotBeMadeKeepsNothing)
{
    tree.addFile(QStringLiteral("state"));
    CoverCache cache(directory, 1000);
    cache.keep("a", "picture");
    EXPECT_EQ(cache.find("a"), QByteArray());
}

TEST_F(CoverCacheTest, DamagedFileIsMissingUntilItIsReplaced)
{
    CoverCache cache(directory, 1000);
    const QString name = directory + QStringLiteral("/a");
    for (const char* damage : {"", "x", "0123456789abcdef", "picturf0123456789abcdef"}) {
        cache.keep("a", "picture");
        tree.addFile(QStringLiteral("state/covers/a"), damage);
        EXPECT_EQ(cache.find("a"), QByteArray()) << damage;
    }
    cache.keep("a", "picture");
    ASSERT_TRUE(QFile::resize(name, QFileInfo(name).size() - 1));
    EXPECT_EQ(cache.find("a"), QByteArray());
    cache.keep("a", "picture");
    EXPECT_EQ(cache.find("a"), "picture");
}

TEST_F(CoverCacheTest, OldestAreRemovedWhenItIsFull)
{
    CoverCache cache(directory, 1000);
    for (const char* key : {"a", "b", "c", "d"})
        cache.keep(key, QByteArray(200, 'x'));
    age("c", 300);
    age("a", 200);
    age("d", 100);
    cache.keep("e", QByteArray(200, 'x'));
    EXPECT_LE(bytes(), 1000);
    EXPECT_EQ(cache.find("c"), QByteArray());
    for (const char* key : {"b", "d", "e"})
        EXPECT_NE(cache.find(key), QByteArray()) << key;
}

TEST_F(CoverCacheTest, UseKeepsAFile)
{
    CoverCache cache(directory, 1000);
    for (const char* key : {"a", "b", "c", "d"})
        cache.keep(key, QByteArray(200, 'x'));
    age("a", 9000);
    age("b", 8000);
    EXPECT_NE(cache.find("a"), QByteArray());
    cache.keep("e", QByteArray(200, 'x'));
    EXPECT_EQ(cache.find("b"), QByteArray());
    EXPECT_NE(cache.find("a"), QByteArray());
}

TEST_F(CoverCacheTest, FilesOfAnEarlierRunCount)
{
    tree.addFile(QStringLiteral("state/covers/left.Ab3xYz"), QByteArray(900, 'x'));
    CoverCache cache(directory, 1000);
    cache.keep("a", QByteArray(200, 'x'));
    EXPECT_EQ(files(), QStringList(QStringLiteral("a")));
}

TEST_F(CoverCacheTest, LongerPictureThanAllMayBeIsNotKept)
{
    CoverCache cache(directory, 1000);
    cache.keep("a", "picture");
    cache.keep("b", QByteArray(1000, 'x'));
    EXPECT_EQ(files(), QStringList(QStringLiteral("a")));
}

} // namespace
