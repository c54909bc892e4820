#include "playlist.h"
#include "support/queueitems.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

const QString speaker = QStringLiteral("speaker");
constexpr qint64 now = 1000;

qint64 numberOf(const Outcome& outcome, const char* key)
{
    EXPECT_TRUE(outcome.answer.contains(QString::fromUtf8(key))) << key;
    return outcome.answer.value(QString::fromUtf8(key)).toLongLong();
}

std::string errorOf(const Outcome& outcome)
{
    return outcome.error.name().toStdString();
}

std::string keysOf(const Outcome& outcome)
{
    QStringList keys = outcome.answer.keys();
    keys.sort();
    return keys.join(u' ').toStdString();
}

/// Five entries, with the ids from 1, of version 11.
Playlist makePlaylist()
{
    Playlist playlist(10, 1);
    EXPECT_TRUE(playlist.addToQueue(makeItems(5), now));
    return playlist;
}

/// The same, and the second one plays.
Playlist makePlaying()
{
    Playlist playlist = makePlaylist();
    EXPECT_TRUE(playlist.offerOutput(speaker));
    EXPECT_TRUE(playlist.setOutput(speaker, now));
    EXPECT_TRUE(playlist.play(2, now));
    return playlist;
}

TEST(Playlist, AddedEntriesAreAnswered)
{
    Playlist playlist(10, 1);
    const Outcome outcome = playlist.addToQueue(makeItems(3), now);
    EXPECT_EQ(keysOf(outcome), "added first version");
    EXPECT_EQ(numberOf(outcome, "added"), 3);
    EXPECT_EQ(numberOf(outcome, "first"), 1);
    EXPECT_EQ(numberOf(outcome, "version"), 11);
    EXPECT_EQ(numberOf(playlist.addToQueue(makeItems(1), now), "first"), 4);
}

TEST(Playlist, NothingToAddIsRefused)
{
    Playlist playlist = makePlaylist();
    EXPECT_EQ(errorOf(playlist.addToQueue({}, now)), "noSuchItem");
    EXPECT_EQ(errorOf(playlist.playNext({}, now)), "noSuchItem");
    EXPECT_EQ(errorOf(playlist.playNow({}, now)), "noSuchItem");
    EXPECT_EQ(errorOf(playlist.replaceQueue({}, now)), "noSuchItem");
    EXPECT_EQ(playlist.version(), 11);
}

TEST(Playlist, PlayNextInsertsBehindTheCurrentEntry)
{
    Playlist playlist = makePlaying();
    ASSERT_TRUE(playlist.playNext(makeItems(2), now));
    EXPECT_THAT(playlist.queue().ids(), ElementsAre(1, 2, 6, 7, 3, 4, 5));
    EXPECT_EQ(playlist.player().current, 2);
    EXPECT_EQ(playlist.player().next, 6);
}

TEST(Playlist, PlayNextInsertsAtTheHeadWithoutCurrentEntry)
{
    Playlist playlist = makePlaylist();
    ASSERT_TRUE(playlist.playNext(makeItems(1), now));
    EXPECT_THAT(playlist.queue().ids(), ElementsAre(6, 1, 2, 3, 4, 5));
}

TEST(Playlist, PlayNowPlaysTheFirstOfTheNewEntries)
{
    Playlist playlist = makePlaying();
    ASSERT_TRUE(playlist.playNow(makeItems(2), now));
    EXPECT_THAT(playlist.queue().ids(), ElementsAre(1, 2, 6, 7, 3, 4, 5));
    EXPECT_EQ(playlist.player().current, 6);
    EXPECT_EQ(playlist.player().state, PlayState::Playing);
}

TEST(Playlist, PlayNowWithoutOutputIsPaused)
{
    Playlist playlist = makePlaylist();
    ASSERT_TRUE(playlist.playNow(makeItems(1), now));
    EXPECT_EQ(playlist.player().current, 6);
    EXPECT_EQ(playlist.player().state, PlayState::Paused);
}

TEST(Playlist, ReplacingPlaysTheFirst)
{
    Playlist playlist = makePlaying();
    const Outcome outcome = playlist.replaceQueue(makeItems(2), now);
    EXPECT_EQ(keysOf(outcome), "added first undo version");
    EXPECT_THAT(playlist.queue().ids(), ElementsAre(6, 7));
    EXPECT_EQ(playlist.player().current, 6);
    EXPECT_EQ(playlist.player().state, PlayState::Playing);
}

TEST(Playlist, EachEditMakesOneVersion)
{
    Playlist playlist = makePlaying();
    int version = playlist.version();
    const auto expectOneMore = [&](const Outcome& outcome) {
        EXPECT_EQ(numberOf(outcome, "version"), ++version);
        EXPECT_EQ(playlist.version(), version);
        EXPECT_EQ(playlist.lastEdit(), version);
    };
    expectOneMore(playlist.addToQueue(makeItems(1), now));
    expectOneMore(playlist.playNow(makeItems(1), now));
    expectOneMore(playlist.move({1}, 5, now));
    expectOneMore(playlist.remove({3}, now));
    expectOneMore(playlist.shuffleQueue(now));
    const Outcome replaced = playlist.replaceQueue(makeItems(2), now);
    expectOneMore(replaced);
    expectOneMore(playlist.undo(static_cast<int>(numberOf(replaced, "undo")), now));
    expectOneMore(playlist.clear(now));
}

TEST(Playlist, EditsWithoutEffectMakeNoVersion)
{
    Playlist playlist = makePlaylist();
    EXPECT_EQ(numberOf(playlist.move({1, 2}, 2, now), "version"), 11);
    EXPECT_EQ(keysOf(playlist.remove({}, now)), "version");
    EXPECT_EQ(numberOf(playlist.describe({{1, makeItem(1)}}), "version"), 11);
    EXPECT_EQ(playlist.version(), 11);
    EXPECT_TRUE(playlist.player() == makePlaylist().player());
}

TEST(Playlist, DescriptionsMakeAVersionButAreNoEdit)
{
    Playlist playlist = makePlaylist();
    EXPECT_EQ(numberOf(playlist.describe({{1, makeItem(9)}, {77, makeItem(9)}}), "version"), 12);
    EXPECT_EQ(playlist.lastEdit(), 11);
    EXPECT_EQ(playlist.queue().at(0).item.title, makeItem(9).title);
}

TEST(Playlist, RefusedEditsChangeNothing)
{
    Playlist playlist = makePlaying();
    (void)playlist.takeChange();
    EXPECT_EQ(errorOf(playlist.remove({77}, now)), "noSuchItem");
    EXPECT_EQ(errorOf(playlist.move({77}, std::nullopt, now)), "noSuchItem");
    EXPECT_EQ(errorOf(playlist.addToQueue(makeItems(Queue::mostEntries), now)), "queueFull");
    EXPECT_EQ(errorOf(playlist.replaceQueue(makeItems(Queue::mostEntries + 1), now)), "queueFull");
    EXPECT_EQ(playlist.version(), 11);
    EXPECT_TRUE(playlist.takeChange().isEmpty());
    EXPECT_EQ(playlist.player(), makePlaying().player());
}

TEST(PlaylistUndo, BringsRemovedEntriesBack)
{
    Playlist playlist = makePlaying();
    const Outcome removed = playlist.remove({1, 3}, now);
    EXPECT_EQ(keysOf(removed), "undo version");
    EXPECT_EQ(keysOf(playlist.undo(static_cast<int>(numberOf(removed, "undo")), now)), "version");
    EXPECT_THAT(playlist.queue().ids(), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_EQ(playlist.player().current, 2);
}

TEST(PlaylistUndo, BringsClearedEntriesBackWhereTheyWerePlayed)
{
    Playlist playlist = makePlaying();
    const Outcome cleared = playlist.clear(now + 4000);
    EXPECT_EQ(playlist.player().current, std::nullopt);
    EXPECT_EQ(playlist.player().state, PlayState::Stopped);
    ASSERT_TRUE(playlist.undo(static_cast<int>(numberOf(cleared, "undo")), now + 9000));
    EXPECT_THAT(playlist.queue().ids(), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_EQ(playlist.player().current, 2);
    EXPECT_EQ(playlist.player().position, 4000);
    EXPECT_EQ(playlist.player().state, PlayState::Paused);
}

TEST(PlaylistUndo, PutsBackWhatWasReplaced)
{
    Playlist playlist = makePlaying();
    const Outcome replaced = playlist.replaceQueue(makeItems(2), now + 4000);
    ASSERT_TRUE(playlist.addToQueue(makeItems(1), now));
    ASSERT_TRUE(playlist.undo(static_cast<int>(numberOf(replaced, "undo")), now + 9000));
    EXPECT_THAT(playlist.queue().ids(), ElementsAre(1, 2, 3, 4, 5, 8));
    EXPECT_EQ(playlist.player().current, 2);
    EXPECT_EQ(playlist.player().position, 4000);
    EXPECT_EQ(playlist.player().state, PlayState::Playing);
}

TEST(PlaylistUndo, PutsBackAFullQueue)
{
    Playlist playlist;
    ASSERT_TRUE(playlist.addToQueue(makeItems(Queue::mostEntries), now));
    const Outcome replaced = playlist.replaceQueue(makeItems(Queue::mostEntries), now);
    ASSERT_TRUE(playlist.undo(static_cast<int>(numberOf(replaced, "undo")), now));
    EXPECT_EQ(playlist.queue().at(0).id, 1);
    EXPECT_EQ(playlist.queue().size(), Queue::mostEntries);
}

TEST(PlaylistUndo, IsRefusedIfTheQueueIsFull)
{
    Playlist playlist = makePlaylist();
    const Outcome cleared = playlist.clear(now);
    ASSERT_TRUE(playlist.addToQueue(makeItems(Queue::mostEntries), now));
    const int version = playlist.version();
    const int token = static_cast<int>(numberOf(cleared, "undo"));
    EXPECT_EQ(errorOf(playlist.undo(token, now)), "queueFull");
    EXPECT_EQ(playlist.version(), version);
    ASSERT_TRUE(playlist.remove({6, 7, 8, 9, 10}, now));
    EXPECT_TRUE(playlist.undo(token, now));
}

TEST(PlaylistUndo, WorksOnce)
{
    Playlist playlist = makePlaylist();
    const int token = static_cast<int>(numberOf(playlist.remove({1}, now), "undo"));
    ASSERT_TRUE(playlist.undo(token, now));
    EXPECT_EQ(errorOf(playlist.undo(token, now)), "noSuchItem");
    EXPECT_EQ(errorOf(playlist.undo(77, now)), "noSuchItem");
}

TEST(PlaylistUndo, WorksForTheLastEditsOnly)
{
    Playlist playlist(0, 1);
    std::vector<int> tokens;
    for (int i = 0; i < 101; ++i) {
        ASSERT_TRUE(playlist.addToQueue(makeItems(1), now));
        tokens.push_back(static_cast<int>(numberOf(playlist.clear(now), "undo")));
    }
    EXPECT_EQ(errorOf(playlist.undo(tokens.front(), now)), "noSuchItem");
    EXPECT_TRUE(playlist.undo(tokens.back(), now));
    EXPECT_TRUE(playlist.undo(tokens.at(1), now));
}

TEST(PlaylistOutputs, AreThereWhileTheyAreOffered)
{
    Playlist playlist = makePlaylist();
    EXPECT_EQ(errorOf(playlist.setOutput(speaker, now)), "noOutput");
    EXPECT_TRUE(playlist.offerOutput(speaker));
    EXPECT_TRUE(playlist.offerOutput(QStringLiteral("kitchen")));
    EXPECT_TRUE(playlist.offerOutput(speaker));
    EXPECT_EQ(playlist.outputs(), QStringList({speaker, QStringLiteral("kitchen")}));
    EXPECT_TRUE(playlist.withdrawOutput(speaker, now));
    EXPECT_EQ(errorOf(playlist.setOutput(speaker, now)), "noOutput");
}

TEST(PlaylistOutputs, APlayerWhoseOutputGoesIsPaused)
{
    Playlist playlist = makePlaying();
    ASSERT_TRUE(playlist.withdrawOutput(speaker, now + 3000));
    EXPECT_EQ(playlist.player().state, PlayState::Paused);
    EXPECT_EQ(playlist.player().position, 3000);
    EXPECT_TRUE(playlist.player().output.isEmpty());
    EXPECT_EQ(errorOf(playlist.play(std::nullopt, now)), "noOutput");
}

TEST(PlaylistOutputs, AnotherOutputThatGoesChangesNothing)
{
    Playlist playlist = makePlaying();
    ASSERT_TRUE(playlist.offerOutput(QStringLiteral("kitchen")));
    const PlayerState before = playlist.player();
    ASSERT_TRUE(playlist.withdrawOutput(QStringLiteral("kitchen"), now));
    EXPECT_EQ(playlist.player(), before);
}

TEST(PlaylistOutputs, OnlyTheActiveOneReports)
{
    Playlist playlist = makePlaying();
    OutputReport report{2, OutputReport::State::Playing, 700, 0, std::nullopt, {}};
    EXPECT_EQ(errorOf(playlist.report(QStringLiteral("kitchen"), report, now)), "noOutput");
    EXPECT_TRUE(playlist.report(speaker, report, now));
    EXPECT_EQ(playlist.player().position, 700);
    ASSERT_TRUE(playlist.setOutput({}, now));
    EXPECT_EQ(errorOf(playlist.report({}, report, now)), "noOutput");
}

TEST(PlaylistPlayer, CommandsAnswerTheSerial)
{
    Playlist playlist = makePlaying();
    for (const Outcome& outcome : {playlist.pause(now), playlist.next(now), playlist.seek(5, now)})
        EXPECT_EQ(keysOf(outcome), "serial");
    const qint64 serial = playlist.player().serial;
    EXPECT_EQ(numberOf(playlist.setVolume(3), "serial"), serial + 1);
    EXPECT_EQ(errorOf(playlist.setVolume(101)), "invalidValue");
}

TEST(PlaylistPlayer, CommandsMakeNoVersion)
{
    Playlist playlist = makePlaying();
    ASSERT_TRUE(playlist.setShuffle(true));
    ASSERT_TRUE(playlist.setRepeat(Repeat::All));
    ASSERT_TRUE(playlist.previous(now));
    ASSERT_TRUE(playlist.stop(now));
    EXPECT_EQ(playlist.version(), 11);
}

} // namespace
