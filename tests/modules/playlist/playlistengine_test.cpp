#include "playlistengine.h"
#include "queuestore.h"
#include "support/queueitems.h"
#include "support/randomcommands.h"
#include "support/stored.h"

#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;

using Command = PlaylistEngine::Command;

Command add(int count)
{
    return [count](Playlist& playlist, qint64 now) { return playlist.addToQueue(makeItems(count), now); };
}

Command setVolume(int volume)
{
    return [volume](Playlist& playlist, qint64 /*now*/) { return playlist.setVolume(volume); };
}

PlaylistEngine::Settings settingsFor(const QTemporaryDir& folder)
{
    PlaylistEngine::Settings settings;
    settings.directory = folder.path();
    return settings;
}

Outcome run(PlaylistEngine& engine, const Command& command, const PlaylistEngine::Guard& guard = {})
{
    std::promise<Outcome> outcome;
    engine.post(guard, command, [&outcome](const Outcome& result) { outcome.set_value(result); });
    return outcome.get_future().get();
}

std::string errorOf(const Outcome& outcome)
{
    return outcome.error.name().toStdString();
}

TEST(PlaylistEngine, AnswersWhenTheChangeIsPublished)
{
    PlaylistEngine engine({}, {});
    const Outcome outcome = run(engine, add(2));
    EXPECT_EQ(outcome.answer.value(QStringLiteral("version")).toInt(), 2);
    EXPECT_EQ(engine.playlist()->queue().size(), 2);
}

TEST(PlaylistEngine, PublishedPlaylistsStayAsTheyAre)
{
    PlaylistEngine engine({}, {});
    const auto before = engine.playlist();
    ASSERT_TRUE(run(engine, add(2)));
    EXPECT_TRUE(before->queue().isEmpty());
}

TEST(PlaylistEngine, RunsCommandsInTheirOrder)
{
    std::vector<qint64> firsts;
    {
        PlaylistEngine engine({}, {});
        for (int i = 0; i < 100; ++i) {
            engine.post({}, add(1), [&firsts](const Outcome& outcome) {
                firsts.push_back(outcome.answer.value(QStringLiteral("first")).toLongLong());
            });
        }
    }
    ASSERT_EQ(firsts.size(), 100U) << "the engine answers everything before it ends";
    EXPECT_TRUE(std::is_sorted(firsts.cbegin(), firsts.cend()));
}

TEST(PlaylistEngine, SaysWhatHasChanged)
{
    std::vector<std::string> publications;
    {
        PlaylistEngine engine({}, [&publications](const PlaylistEngine::Publication& publication) {
            publications.push_back(
                std::string(publication.hasNewRows ? "rows " : "") + (publication.hasNewPlayer ? "player " : "") +
                (publication.hasNewOutputs ? "outputs" : ""));
        });
        (void)run(engine, add(1));
        (void)run(engine, setVolume(5));
        (void)run(
            engine, [](Playlist& playlist, qint64 /*now*/) { return playlist.offerOutput(QStringLiteral("speaker")); });
        (void)run(engine, [](Playlist& playlist, qint64 now) { return playlist.playNow(makeItems(1), now); });
        (void)run(engine, [](Playlist& playlist, qint64 now) { return playlist.remove({}, now); });
        (void)run(engine, [](Playlist& playlist, qint64 now) { return playlist.remove({77}, now); });
    }
    EXPECT_THAT(publications, ElementsAre("rows ", "player ", "outputs", "rows player "));
}

TEST(PlaylistEngine, WhatSqliteWritesAheadDoesNotGrowWithTheEdits)
{
    const QTemporaryDir folder;
    PlaylistEngine engine(settingsFor(folder), {});
    const auto shuffle = [](Playlist& playlist, qint64 now) { return playlist.shuffleQueue(now); };
    const auto logSize = [&folder] { return QFileInfo(folder.filePath(QStringLiteral("queue.sqlite-wal"))).size(); };
    ASSERT_TRUE(run(engine, add(1000)));
    ASSERT_TRUE(run(engine, shuffle));
    const qint64 first = logSize();
    ASSERT_GT(first, 0);
    for (int i = 0; i < 20; ++i)
        ASSERT_TRUE(run(engine, shuffle));
    EXPECT_LT(logSize(), 3 * first);
}

TEST(PlaylistEngine, TakesTheTimeOfItsClock)
{
    PlaylistEngine::Settings settings;
    settings.clock = [] { return qint64{4711}; };
    PlaylistEngine engine(settings, {});
    ASSERT_TRUE(run(engine, [](Playlist& playlist, qint64 now) { return playlist.playNow(makeItems(1), now); }));
    EXPECT_EQ(engine.playlist()->player().at, 4711);
}

TEST(PlaylistEngine, RefusesWhatWasDecidedBeforeAnotherEdit)
{
    PlaylistEngine engine({}, {});
    const int before = engine.playlist()->version();
    EXPECT_TRUE(run(engine, add(1), {before, {}}));
    EXPECT_EQ(errorOf(run(engine, add(1), {before, {}})), "conflict");
    EXPECT_EQ(engine.playlist()->queue().size(), 1);
    EXPECT_TRUE(run(engine, add(1), {before + 1, {}}));
}

TEST(PlaylistEngine, DescriptionsAreNoConflict)
{
    PlaylistEngine engine({}, {});
    ASSERT_TRUE(run(engine, add(1)));
    const int before = engine.playlist()->version();
    ASSERT_TRUE(run(engine, [](Playlist& playlist, qint64 /*now*/) { return playlist.describe({{1, makeItem(9)}}); }));
    EXPECT_GT(engine.playlist()->version(), before);
    EXPECT_TRUE(run(engine, add(1), {before, {}}));
}

TEST(PlaylistEngine, TheSameOperationGetsTheSameAnswer)
{
    const QTemporaryDir folder;
    const PlaylistEngine::Guard guard{1, QStringLiteral("add-once")};
    QVariantHash answer;
    {
        PlaylistEngine engine(settingsFor(folder), {});
        answer = run(engine, add(1), guard).answer;
        EXPECT_EQ(run(engine, add(1), guard).answer, answer);
        EXPECT_EQ(engine.playlist()->queue().size(), 1);
    }
    PlaylistEngine engine(settingsFor(folder), {});
    EXPECT_EQ(run(engine, add(1), guard).answer, answer) << "after a restart, too";
    EXPECT_EQ(engine.playlist()->queue().size(), 1);
}

TEST(PlaylistEngine, ForgetsOldOperations)
{
    PlaylistEngine engine({}, {});
    for (int i = 0; i <= QueueStore::mostOperations; ++i)
        ASSERT_TRUE(run(engine, setVolume(i % 100), {std::nullopt, QString::number(i)}));
    const qint64 serial = engine.playlist()->player().serial;
    ASSERT_TRUE(run(engine, setVolume(1), {std::nullopt, QStringLiteral("1")}));
    EXPECT_EQ(engine.playlist()->player().serial, serial) << "known";
    ASSERT_TRUE(run(engine, setVolume(1), {std::nullopt, QStringLiteral("0")}));
    EXPECT_EQ(engine.playlist()->player().serial, serial + 1) << "forgotten";
}

TEST(PlaylistEngine, RefusedOperationsMayBeTriedAgain)
{
    PlaylistEngine engine({}, {});
    const PlaylistEngine::Guard guard{std::nullopt, QStringLiteral("again")};
    const Command remove = [](Playlist& playlist, qint64 now) { return playlist.remove({1}, now); };
    EXPECT_EQ(errorOf(run(engine, remove, guard)), "noSuchItem");
    ASSERT_TRUE(run(engine, add(1)));
    EXPECT_TRUE(run(engine, remove, guard));
}

TEST(PlaylistEngine, GoesOnAfterARestart)
{
    const QTemporaryDir folder;
    int version = 0;
    {
        PlaylistEngine engine(settingsFor(folder), {});
        ASSERT_TRUE(run(engine, add(3)));
        ASSERT_TRUE(run(engine, [](Playlist& playlist, qint64 now) { return playlist.remove({3}, now); }));
        ASSERT_TRUE(run(engine, [](Playlist& playlist, qint64 now) { return playlist.playNow(makeItems(1), now); }));
        ASSERT_TRUE(run(engine, setVolume(7)));
        version = engine.playlist()->version();
    }
    PlaylistEngine engine(settingsFor(folder), {});
    EXPECT_EQ(engine.playlist()->version(), version);
    EXPECT_EQ(engine.playlist()->lastEdit(), version);
    EXPECT_THAT(engine.playlist()->queue().ids(), ElementsAre(4, 1, 2));
    EXPECT_EQ(engine.playlist()->player().current, 4);
    EXPECT_EQ(engine.playlist()->player().state, PlayState::Paused);
    EXPECT_EQ(engine.playlist()->player().volume, 7);
    ASSERT_TRUE(run(engine, add(1)));
    EXPECT_EQ(engine.playlist()->queue().lastId(), 5);
}

TEST(PlaylistEngine, VersionsAreNotBelowTheFirst)
{
    const QTemporaryDir folder;
    PlaylistEngine::Settings settings = settingsFor(folder);
    settings.firstVersion = 50;
    {
        PlaylistEngine engine(settings, {});
        EXPECT_EQ(engine.playlist()->version(), 50);
        ASSERT_TRUE(run(engine, add(1)));
    }
    settings.firstVersion = 90;
    PlaylistEngine engine(settings, {});
    EXPECT_EQ(engine.playlist()->version(), 90);
    EXPECT_EQ(engine.playlist()->lastEdit(), 51);
}

TEST(PlaylistEngine, RefusesEditsThatItCannotStoreAndPlaysOn)
{
    PlaylistEngine::Settings settings;
    settings.directory = QStringLiteral("/proc/nowhere");
    PlaylistEngine engine(settings, {});
    const Outcome refused = run(engine, add(1));
    EXPECT_EQ(errorOf(refused), "notStored");
    EXPECT_FALSE(refused.error.message().isEmpty());
    EXPECT_TRUE(engine.playlist()->queue().isEmpty());
    EXPECT_EQ(engine.playlist()->version(), 1);
    EXPECT_TRUE(run(engine, setVolume(3)));
    EXPECT_EQ(engine.playlist()->player().volume, 3);
}

TEST(PlaylistEngine, ServesReadersInOtherThreads)
{
    const QTemporaryDir folder;
    PlaylistEngine engine(settingsFor(folder), {});
    std::atomic<bool> isDone = false;
    std::vector<std::thread> readers;
    std::atomic<int> faults = 0;
    for (int i = 0; i < 2; ++i) {
        readers.emplace_back([&] {
            while (!isDone) {
                const auto playlist = engine.playlist();
                const Queue& queue = playlist->queue();
                for (int row = 0; row < queue.size(); ++row)
                    faults += queue.at(row).item.title.isEmpty() ? 1 : 0;
            }
        });
    }
    for (unsigned number = 0; number < 300; ++number) {
        (void)run(engine, [number](Playlist& playlist, qint64 /*now*/) { return runRandomCommand(playlist, number); });
    }
    isDone = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(faults, 0);
}

/// Lines of the editor: numbers of commands that were answered.
struct Answered
{
    unsigned count = 0;

    void take(const QByteArray& output)
    {
        m_rest += output;
        for (int end = m_rest.indexOf('\n'); end >= 0; end = m_rest.indexOf('\n')) {
            count = m_rest.left(end).toUInt() + 1;
            m_rest.remove(0, end + 1);
        }
    }

private:
    QByteArray m_rest;
};

/// The number of commands that were answered by an editor that is killed after at least `count` of them.
unsigned editUntilKilled(const QString& directory, unsigned count)
{
    QProcess editor;
    editor.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    editor.start(QStringLiteral(TAVO_PLAYLIST_EDITOR), {directory, QStringLiteral("0")});
    Answered answered;
    while (answered.count < count && editor.waitForReadyRead(60'000))
        answered.take(editor.readAllStandardOutput());
    editor.kill();
    editor.waitForFinished(60'000);
    answered.take(editor.readAllStandardOutput());
    EXPECT_GE(answered.count, count);
    return answered.count;
}

/// What the first `count` commands make of an empty playlist.
Playlist playlistAfter(unsigned count)
{
    Playlist playlist(1, randomCommandsSeed);
    for (unsigned number = 0; number < count; ++number)
        (void)runRandomCommand(playlist, number);
    return playlist;
}

/// How many commands the store has seen.
unsigned storedCommands(const QueueStore::Content& content, unsigned answered)
{
    // Refused ones are not stored.
    return content.operations.empty() ? answered : std::max(content.operations.back().text.toUInt() + 1, answered);
}

TEST(KilledEngine, LosesNothingThatWasAnswered)
{
    const int rounds = qEnvironmentVariableIsSet("TAVO_KILLS") ? qEnvironmentVariableIntValue("TAVO_KILLS") : 20;
    std::mt19937 random(1);
    std::uniform_int_distribution<unsigned> anyCount(0, 300);
    for (int round = 0; round < rounds; ++round) {
        const QTemporaryDir folder;
        const unsigned answered = editUntilKilled(folder.path(), anyCount(random));
        QueueStore store(folder.path());
        const QueueStore::Content content = store.takeContent();
        const Playlist expected = playlistAfter(storedCommands(content, answered));
        expectSameQueues(content.queue, expected.queue());
        EXPECT_EQ(std::max(content.version, 1), expected.version());
        EXPECT_EQ(content.player.volume, expected.player().volume);
        EXPECT_EQ(content.player.current, expected.player().current);
        EXPECT_FALSE(HasFailure()) << "round " << round << ", " << answered << " answers";
    }
}

} // namespace
