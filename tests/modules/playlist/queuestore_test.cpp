#include "keptlog.h"
#include "queuestore.h"
#include "storedjson.h"
#include "support/queueitems.h"
#include "support/stored.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <limits>
#include <string>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::SizeIs;

class QueueStoreTest : public testing::Test
{
protected:
    [[nodiscard]] QString directory() const { return m_folder.path(); }
    [[nodiscard]] QString file() const { return databaseIn(directory()); }
    [[nodiscard]] QueueStore::Content stored() const { return QueueStore(directory()).takeContent(); }

    [[nodiscard]] QStringList damagedFiles() const
    {
        return QDir(directory()).entryList({QStringLiteral("queue.sqlite.damaged-*")}, QDir::Files);
    }

    [[nodiscard]] std::vector<std::string> warnings() const
    {
        std::vector<std::string> texts;
        for (const KeptLog::Line& line : m_log.lines())
            texts.push_back(line.message);
        return texts;
    }

    /// Stores three entries.
    void storeSome()
    {
        QueueStore store(directory());
        Playlist playlist;
        ASSERT_TRUE(playlist.addToQueue(makeItems(3), 0));
        ASSERT_EQ(store.save(playlist, playlist.takeChange(), std::nullopt), QString());
    }

    void writeFile(const QByteArray& content) const
    {
        QFile out(file());
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(content);
    }

    void expectSetAside(const char* reason)
    {
        QueueStore store(directory());
        EXPECT_TRUE(store.takeContent().queue.isEmpty());
        EXPECT_THAT(damagedFiles(), SizeIs(1));
        EXPECT_THAT(warnings(), testing::ElementsAre(HasSubstr(reason)));
        Playlist playlist;
        ASSERT_TRUE(playlist.addToQueue(makeItems(1), 0));
        EXPECT_EQ(store.save(playlist, playlist.takeChange(), std::nullopt), QString()) << "a new file is begun";
    }

    QTemporaryDir m_folder;
    KeptLog m_log{"tavo.playlist", log4cplus::WARN_LOG_LEVEL};
};

TEST_F(QueueStoreTest, BeginsEmpty)
{
    const QueueStore::Content content = stored();
    EXPECT_TRUE(content.queue.isEmpty());
    EXPECT_EQ(content.version, 0);
    EXPECT_TRUE(content.operations.empty());
}

TEST_F(QueueStoreTest, WithoutDirectoryKeepsNothing)
{
    QueueStore store{QString()};
    Playlist playlist;
    ASSERT_TRUE(playlist.addToQueue(makeItems(1), 0));
    EXPECT_EQ(store.save(playlist, playlist.takeChange(), std::nullopt), QString());
    EXPECT_THAT(warnings(), testing::IsEmpty());
}

TEST_F(QueueStoreTest, ReturnsWhatWasStored)
{
    Playlist playlist(5, 1);
    {
        QueueStore store(directory());
        const auto save = [&] { ASSERT_EQ(store.save(playlist, playlist.takeChange(), std::nullopt), QString()); };
        ASSERT_TRUE(playlist.addToQueue(makeItems(20), 0));
        save();
        ASSERT_TRUE(playlist.move({3, 9}, 15, 0));
        save();
        ASSERT_TRUE(playlist.remove({1, 20}, 0));
        save();
        ASSERT_TRUE(playlist.shuffleQueue(0));
        save();
        ASSERT_TRUE(playlist.playNow(makeItems(2), 1234));
        ASSERT_TRUE(playlist.seek(5000, 2345));
        ASSERT_TRUE(playlist.setVolume(40));
        ASSERT_TRUE(playlist.setRepeat(Repeat::One));
        ASSERT_TRUE(playlist.setShuffle(true));
        save();
        ASSERT_TRUE(playlist.describe({{5, makeItem(99)}}));
        save();
    }
    const QueueStore::Content content = stored();
    expectSameQueues(content.queue, playlist.queue());
    EXPECT_EQ(content.version, playlist.version());
    EXPECT_EQ(content.lastEdit, playlist.version() - 1);
    EXPECT_EQ(content.player.current, playlist.player().current);
    EXPECT_EQ(content.player.position, 5000);
    EXPECT_EQ(content.player.at, 2345);
    EXPECT_EQ(content.player.serial, playlist.player().serial);
    EXPECT_EQ(content.player.volume, 40);
    EXPECT_EQ(content.player.repeat, Repeat::One);
    EXPECT_TRUE(content.player.shuffle);
}

TEST_F(QueueStoreTest, ReturnsMovesAndTheirVersions)
{
    Playlist playlist;
    {
        QueueStore store(directory());
        const auto save = [&] { ASSERT_EQ(store.save(playlist, playlist.takeChange(), std::nullopt), QString()); };
        ASSERT_TRUE(playlist.addToQueue(makeItems(20), 0));
        save();
        ASSERT_TRUE(playlist.move({3}, 15, 0));
        save();
        ASSERT_TRUE(playlist.move({9, 4}, std::nullopt, 0));
        save();
    }
    const QueueStore::Content content = stored();
    expectSameQueues(content.queue, playlist.queue());
    EXPECT_EQ(content.version, playlist.version());
    EXPECT_EQ(content.lastEdit, playlist.version());
}

TEST_F(QueueStoreTest, AVersionThatOutlivesTheMovedEntryIsReturned)
{
    Playlist playlist;
    {
        QueueStore store(directory());
        const auto save = [&] { ASSERT_EQ(store.save(playlist, playlist.takeChange(), std::nullopt), QString()); };
        ASSERT_TRUE(playlist.addToQueue(makeItems(3), 0));
        save();
        ASSERT_TRUE(playlist.move({3}, std::nullopt, 0));
        save();
        ASSERT_TRUE(playlist.remove({3}, 0));
        save();
    }
    EXPECT_EQ(stored().version, playlist.version());
    EXPECT_EQ(stored().lastEdit, playlist.version());
}

TEST_F(QueueStoreTest, ReturnsTheVersionThatFollowsTheHighest)
{
    Playlist playlist(std::numeric_limits<int>::max() - 3);
    {
        QueueStore store(directory());
        const auto save = [&] { ASSERT_EQ(store.save(playlist, playlist.takeChange(), std::nullopt), QString()); };
        ASSERT_TRUE(playlist.addToQueue(makeItems(3), 0));
        save();
        for (const EntryId id : {3, 2, 1, 3}) {
            ASSERT_TRUE(playlist.move({id}, std::nullopt, 0));
            save();
        }
    }
    ASSERT_EQ(playlist.version(), 2);
    EXPECT_EQ(stored().version, 2);
    EXPECT_EQ(stored().lastEdit, 2);
}

TEST_F(QueueStoreTest, ReadsAFileWithoutVersionsOfEntries)
{
    storeSome();
    runSql(file(), {"ALTER TABLE entries DROP COLUMN version", "PRAGMA user_version = 1"});
    const QueueStore::Content content = stored();
    EXPECT_EQ(content.queue.ids(), (std::vector<EntryId>{1, 2, 3}));
    EXPECT_EQ(content.version, 1);
    EXPECT_THAT(damagedFiles(), SizeIs(0));
}

TEST_F(QueueStoreTest, ReturnsReplacedAndRestoredEntries)
{
    Playlist playlist;
    {
        QueueStore store(directory());
        const auto save = [&] { ASSERT_EQ(store.save(playlist, playlist.takeChange(), std::nullopt), QString()); };
        ASSERT_TRUE(playlist.addToQueue(makeItems(20), 0));
        save();
        const Outcome replaced = playlist.replaceQueue(makeItems(3), 0);
        save();
        EXPECT_EQ(playlist.queue().size(), 3);
        ASSERT_TRUE(playlist.undo(replaced.answer.value(QStringLiteral("undo")).toInt(), 0));
        save();
        EXPECT_EQ(playlist.queue().size(), 20);
        ASSERT_TRUE(playlist.clear(0));
        save();
        ASSERT_TRUE(playlist.addToQueue(makeItems(1), 0));
        save();
    }
    expectSameQueues(stored().queue, playlist.queue());
}

TEST_F(QueueStoreTest, ReturnsWhateverTextsAndMediaRecords)
{
    Playlist playlist;
    const QString text = QString::fromUtf8("a'\"\\%1\n\xf0\x9f\x8e\xb5\xe2\x80\xae");
    const QVariantHash nested{
        {QStringLiteral("duration"), 180'000},
        {QStringLiteral("gain"), -6.5},
        {text, text},
        {QStringLiteral("b"), true}};
    const QVariantHash media{
        {QStringLiteral("metaData"), nested}, {QStringLiteral("resources"), QVariantList{nested, 3}}};
    {
        QueueStore store(directory());
        const QueueItem unusual{text, text, text, StoredJson::fromValue(media)};
        ASSERT_TRUE(playlist.addToQueue({unusual, {QString(), QString(), QString(), {}}}, 0));
        ASSERT_EQ(store.save(playlist, playlist.takeChange(), std::nullopt), QString());
    }
    const Queue queue = stored().queue;
    expectSameQueues(queue, playlist.queue());
    EXPECT_EQ(StoredJson::toValue(queue.at(0).item.mediaJson), QVariant(media));
}

TEST_F(QueueStoreTest, KeepsTheLastOperations)
{
    {
        QueueStore store(directory());
        for (int i = 0; i < QueueStore::mostOperations + 10; ++i) {
            const Operation operation{QString::number(i), {{QStringLiteral("version"), i}}};
            ASSERT_EQ(store.save(Playlist(), {}, operation), QString());
        }
    }
    const QueueStore::Content content = stored();
    ASSERT_EQ(content.operations.size(), static_cast<std::size_t>(QueueStore::mostOperations));
    EXPECT_EQ(content.operations.front().text, QStringLiteral("10"));
    EXPECT_EQ(content.operations.back().answer.value(QStringLiteral("version")), QVariant(1009));
}

TEST_F(QueueStoreTest, CreatesItsDirectory)
{
    const QString below = directory() + QStringLiteral("/a/b");
    const QueueStore store(below);
    EXPECT_TRUE(QFile::exists(databaseIn(below)));
}

TEST_F(QueueStoreTest, SetsAsideWhatIsNoDatabase)
{
    writeFile(QByteArray(5000, 'x'));
    expectSetAside("set aside");
    QFile aside(directory() + QLatin1Char('/') + damagedFiles().first());
    ASSERT_TRUE(aside.open(QIODevice::ReadOnly));
    EXPECT_EQ(aside.readAll(), QByteArray(5000, 'x'));
}

TEST_F(QueueStoreTest, SetsAsideATruncatedDatabase)
{
    storeSome();
    ASSERT_TRUE(QFile::resize(file(), 6000));
    expectSetAside("set aside");
}

TEST_F(QueueStoreTest, SetsAsideADatabaseWithDamagedPages)
{
    storeSome();
    QFile database(file());
    ASSERT_TRUE(database.open(QIODevice::ReadWrite));
    ASSERT_TRUE(database.seek(4096));
    database.write(QByteArray(4096, '\x55'));
    database.close();
    expectSetAside("set aside");
}

TEST_F(QueueStoreTest, SetsAsideTheDatabaseOfAnotherProgram)
{
    runSql(file(), {QStringLiteral("CREATE TABLE notes (text TEXT)")});
    expectSetAside("another program");
}

TEST_F(QueueStoreTest, SetsAsideANewerDatabase)
{
    storeSome();
    runSql(file(), {QStringLiteral("PRAGMA user_version = 1000")});
    expectSetAside("newer version");
}

TEST_F(QueueStoreTest, SetsAsideEntriesOutOfOrder)
{
    storeSome();
    runSql(file(), {QStringLiteral("UPDATE entries SET id = 77 WHERE id = 2")});
    expectSetAside("not in order");
}

TEST_F(QueueStoreTest, SetsAsideADatabaseWithoutState)
{
    storeSome();
    runSql(file(), {QStringLiteral("DELETE FROM state")});
    expectSetAside("no state");
}

TEST_F(QueueStoreTest, SetsAsideADirectoryInItsPlace)
{
    ASSERT_TRUE(QDir(directory()).mkdir(QStringLiteral("queue.sqlite")));
    QueueStore store(directory());
    EXPECT_EQ(store.save(Playlist(), {}, std::nullopt), QString());
    EXPECT_TRUE(QFileInfo(file()).isFile());
}

TEST_F(QueueStoreTest, LeavesAFileThatItCannotOpen)
{
    storeSome();
    {
        rlimit usual{};
        getrlimit(RLIMIT_NOFILE, &usual);
        const int next = dup(STDIN_FILENO);
        close(next);
        // The file has a descriptor, and the log beside it has none.
        const rlimit scarce{static_cast<rlim_t>(next) + 1, usual.rlim_max};
        setrlimit(RLIMIT_NOFILE, &scarce);
        EXPECT_TRUE(stored().queue.isEmpty());
        setrlimit(RLIMIT_NOFILE, &usual);
    }
    EXPECT_THAT(damagedFiles(), SizeIs(0));
    EXPECT_FALSE(stored().queue.isEmpty());
}

TEST_F(QueueStoreTest, LeavesTheFileToTheProcessThatHasIt)
{
    storeSome();
    const QueueStore first(directory());
    QueueStore second(directory());
    EXPECT_THAT(damagedFiles(), SizeIs(0));
    EXPECT_THAT(warnings(), testing::ElementsAre(HasSubstr("cannot be used")));
    EXPECT_FALSE(second.save(Playlist(), {}, std::nullopt).isEmpty());
}

TEST_F(QueueStoreTest, SaysWhyItCannotStore)
{
    QueueStore store(QStringLiteral("/proc/nowhere"));
    EXPECT_FALSE(store.save(Playlist(), {}, std::nullopt).isEmpty());
    EXPECT_THAT(warnings(), testing::ElementsAre(HasSubstr("cannot be used")));
}

/// No file of the process grows beyond a size, as on a full disk.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        (void)std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int);
};

TEST_F(QueueStoreTest, AFullDiskLeavesEverythingAsItWas)
{
    Playlist playlist;
    {
        QueueStore store(directory());
        ASSERT_TRUE(playlist.addToQueue(makeItems(100), 0));
        ASSERT_EQ(store.save(playlist, playlist.takeChange(), std::nullopt), QString());
        {
            Playlist larger = playlist;
            ASSERT_TRUE(larger.addToQueue(makeItems(5000), 0));
            const QueueChange change = larger.takeChange();
            const FileSizeLimit limit(256 * 1024);
            EXPECT_FALSE(store.save(larger, change, std::nullopt).isEmpty());
            EXPECT_FALSE(store.save(larger, change, std::nullopt).isEmpty());
        }
        {
            Playlist moved = playlist;
            ASSERT_TRUE(moved.move({1}, 100, 0));
            const FileSizeLimit limit(1);
            EXPECT_FALSE(store.save(moved, moved.takeChange(), std::nullopt).isEmpty());
        }
        ASSERT_TRUE(playlist.addToQueue(makeItems(2), 0));
        ASSERT_EQ(store.save(playlist, playlist.takeChange(), std::nullopt), QString()) << "there is room again";
    }
    expectSameQueues(stored().queue, playlist.queue());
    EXPECT_THAT(damagedFiles(), SizeIs(0));
}

} // namespace
