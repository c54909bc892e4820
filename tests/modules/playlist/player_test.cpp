#include "player.h"
#include "support/queueitems.h"

#include <QString>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace {

using State = OutputReport::State;

constexpr qint64 start = 1'000'000;
const QString speaker = QStringLiteral("speaker");

/// As "playing 2 >3 5000 ms": state, current, next, position.
std::string textOf(const PlayerState& state)
{
    const auto text = [](std::optional<EntryId> id) { return id ? std::to_string(*id) : "-"; };
    const std::string name = state.state == PlayState::Playing  ? "playing"
                             : state.state == PlayState::Paused ? "paused"
                                                                : "stopped";
    return name + ' ' + text(state.current) + " >" + text(state.next) + ' ' + std::to_string(state.position) + " ms";
}

OutputReport reportOf(EntryId id, State state, qint64 position = 0)
{
    OutputReport report;
    report.id = id;
    report.state = state;
    report.position = position;
    return report;
}

/// A player on a queue of three entries, with the ids from 1.
struct Desk
{
    Queue queue = makeQueue(3);
    Player player{1};
    qint64 now = start;
    std::string error = {};

    void play(EntryId id) { note(player.play(queue, id, now)); }
    void play() { note(player.play(queue, std::nullopt, now)); }
    void next() { note(player.next(queue, now)); }
    void previous() { note(player.previous(queue, now)); }
    void seek(qint64 position) { note(player.seek(position, now)); }
    void setOutput(const QString& name) { player.setOutput(name, now); }
    void setRepeat(Repeat repeat) { player.setRepeat(queue, repeat); }
    void report(const OutputReport& report) { player.report(queue, report, now); }
    void note(const CMError& result) { error = result.name().toStdString(); }

    void edit(const std::function<QueueEdit(Queue&)>& edit, bool isNext = false)
    {
        const Queue before = queue;
        player.queueEdited(before, queue, edit(queue).change, isNext, now);
    }
    void remove(const std::vector<EntryId>& ids)
    {
        edit([&ids](Queue& edited) { return edited.remove(ids); });
    }

    [[nodiscard]] const PlayerState& state() const { return player.state(); }
    [[nodiscard]] std::string text() const { return textOf(state()); }
};

void offer(Desk& desk)
{
    desk.setOutput(speaker);
}

void nothing(Desk& /*desk*/) {}

void emptyQueue(Desk& desk)
{
    offer(desk);
    desk.remove({1, 2, 3});
}

/// The second entry plays, four seconds long by now.
void playing(Desk& desk)
{
    offer(desk);
    desk.play(2);
    desk.now += 4000;
}

void paused(Desk& desk)
{
    playing(desk);
    desk.player.pause(desk.now);
    desk.now += 1000;
}

void pausedWithoutOutput(Desk& desk)
{
    playing(desk);
    desk.setOutput({});
}

void stopped(Desk& desk)
{
    playing(desk);
    desk.player.stop(desk.now);
}

void playingLast(Desk& desk)
{
    offer(desk);
    desk.play(3);
    desk.now += 4000;
}

void finished(Desk& desk)
{
    playingLast(desk);
    desk.report(reportOf(3, State::Ended, 180'000));
}

struct Row
{
    const char* name;
    void (*situation)(Desk&);
    std::function<void(Desk&)> command;
    const char* expected;
    const char* error = "";
};

std::ostream& operator<<(std::ostream& out, const Row& row)
{
    return out << row.name;
}

const auto play = [](Desk& desk) { desk.play(); };
const auto playOne = [](Desk& desk) { desk.play(1); };
const auto playMissing = [](Desk& desk) { desk.play(9); };
const auto pause_ = [](Desk& desk) { desk.player.pause(desk.now); };
const auto stop = [](Desk& desk) { desk.player.stop(desk.now); };
const auto next = [](Desk& desk) { desk.next(); };
const auto previous = [](Desk& desk) { desk.previous(); };
const auto seek = [](Desk& desk) { desk.seek(70'000); };
const auto seekBack = [](Desk& desk) { desk.seek(-1); };
const auto withdraw = [](Desk& desk) { desk.setOutput({}); };
const auto otherOutput = [](Desk& desk) { desk.setOutput(QStringLiteral("other")); };
const auto start3 = [](Desk& desk) { desk.player.start(desk.queue, 3, desk.now); };
const auto removeCurrent = [](Desk& desk) { desk.remove({2}); };
const auto removeCurrentAndRest = [](Desk& desk) { desk.remove({2, 3}); };
const auto removeAll = [](Desk& desk) { desk.remove({1, 2, 3}); };
const auto removeOther = [](Desk& desk) { desk.remove({3}); };
const auto reportEnd = [](Desk& desk) { desk.report(reportOf(*desk.state().current, State::Ended, 180'000)); };
const auto reportError = [](Desk& desk) { desk.report(reportOf(*desk.state().current, State::Error)); };
const auto reportPlaying = [](Desk& desk) { desk.report(reportOf(2, State::Playing, 3900)); };
const auto reportPaused = [](Desk& desk) { desk.report(reportOf(2, State::Paused, 3900)); };
const auto reportNext = [](Desk& desk) { desk.report(reportOf(3, State::Playing, 100)); };
const auto reportOther = [](Desk& desk) { desk.report(reportOf(1, State::Playing, 100)); };

const std::vector<Row> rows = {
    {"PlayWithoutCurrent", offer, play, "playing 1 >2 0 ms"},
    {"PlayWithoutCurrentAndOutput", nothing, play, "stopped - >- 0 ms", "noOutput"},
    {"PlayWhilePlaying", playing, play, "playing 2 >3 4000 ms"},
    {"PlayWhilePaused", paused, play, "playing 2 >3 4000 ms"},
    {"PlayWhilePausedWithoutOutput", pausedWithoutOutput, play, "paused 2 >3 4000 ms", "noOutput"},
    {"PlayWhileStopped", stopped, play, "playing 2 >3 0 ms"},
    {"PlayAfterTheEnd", finished, play, "playing 1 >2 0 ms"},
    {"PlayAnEmptyQueue", emptyQueue, play, "stopped - >- 0 ms", "noSuchItem"},

    {"PlayAnEntryWithoutCurrent", offer, playOne, "playing 1 >2 0 ms"},
    {"PlayAnEntryWithoutOutput", pausedWithoutOutput, playOne, "paused 2 >3 4000 ms", "noOutput"},
    {"PlayAnEntryWhilePlaying", playing, playOne, "playing 1 >2 0 ms"},
    {"PlayAnEntryWhilePaused", paused, playOne, "playing 1 >2 0 ms"},
    {"PlayAnEntryWhileStopped", stopped, playOne, "playing 1 >2 0 ms"},
    {"PlayAMissingEntry", playing, playMissing, "playing 2 >3 0 ms", "noSuchItem"},
    {"PlayAMissingEntryWithoutOutput", nothing, playMissing, "stopped - >- 0 ms", "noSuchItem"},

    {"StartWithoutOutput", nothing, start3, "paused 3 >- 0 ms"},
    {"StartWhilePlaying", playing, start3, "playing 3 >- 0 ms"},
    {"StartWhilePaused", paused, start3, "playing 3 >- 0 ms"},
    {"StartWhileStopped", stopped, start3, "playing 3 >- 0 ms"},

    {"PauseWithoutCurrent", offer, pause_, "stopped - >- 0 ms"},
    {"PauseWhilePlaying", playing, pause_, "paused 2 >3 4000 ms"},
    {"PauseWhilePaused", paused, pause_, "paused 2 >3 4000 ms"},
    {"PauseWhileStopped", stopped, pause_, "stopped 2 >3 0 ms"},

    {"StopWithoutCurrent", offer, stop, "stopped - >- 0 ms"},
    {"StopWhilePlaying", playing, stop, "stopped 2 >3 0 ms"},
    {"StopWhilePaused", paused, stop, "stopped 2 >3 0 ms"},
    {"StopWhileStopped", stopped, stop, "stopped 2 >3 0 ms"},

    {"NextWithoutCurrent", offer, next, "stopped 1 >2 0 ms"},
    {"NextWhilePlaying", playing, next, "playing 3 >- 0 ms"},
    {"NextWhilePaused", paused, next, "paused 3 >- 0 ms"},
    {"NextWhilePausedWithoutOutput", pausedWithoutOutput, next, "paused 3 >- 0 ms"},
    {"NextWhileStopped", stopped, next, "stopped 3 >- 0 ms"},
    {"NextAtTheLast", playingLast, next, "stopped 3 >- 0 ms"},
    {"NextInAnEmptyQueue", emptyQueue, next, "stopped - >- 0 ms", "noSuchItem"},

    {"PreviousWithoutCurrent", offer, previous, "stopped 1 >2 0 ms"},
    {"PreviousWhilePlaying", playing, previous, "playing 1 >2 0 ms"},
    {"PreviousWhilePaused", paused, previous, "paused 1 >2 0 ms"},
    {"PreviousWhileStopped", stopped, previous, "stopped 1 >2 0 ms"},
    {"PreviousAfterTheEnd", finished, previous, "stopped 3 >- 0 ms"},
    {"PreviousInAnEmptyQueue", emptyQueue, previous, "stopped - >- 0 ms", "noSuchItem"},

    {"SeekWithoutCurrent", offer, seek, "stopped - >- 0 ms", "noSuchItem"},
    {"SeekWhilePlaying", playing, seek, "playing 2 >3 70000 ms"},
    {"SeekWhilePaused", paused, seek, "paused 2 >3 70000 ms"},
    {"SeekWhileStopped", stopped, seek, "stopped 2 >3 70000 ms"},
    {"SeekBelowTheBeginning", paused, seekBack, "paused 2 >3 4000 ms", "invalidValue"},

    {"WithdrawWithoutCurrent", offer, withdraw, "stopped - >- 0 ms"},
    {"WithdrawWhilePlaying", playing, withdraw, "paused 2 >3 4000 ms"},
    {"WithdrawWhilePaused", paused, withdraw, "paused 2 >3 4000 ms"},
    {"WithdrawWhileStopped", stopped, withdraw, "stopped 2 >3 0 ms"},
    {"AnotherOutputWhilePlaying", playing, otherOutput, "playing 2 >3 4000 ms"},
    {"AnotherOutputWhilePaused", paused, otherOutput, "paused 2 >3 4000 ms"},
    {"AnotherOutputWhileStopped", stopped, otherOutput, "stopped 2 >3 0 ms"},

    {"RemoveTheCurrentWhilePlaying", playing, removeCurrent, "playing 3 >- 0 ms"},
    {"RemoveTheCurrentWhilePaused", paused, removeCurrent, "paused 3 >- 0 ms"},
    {"RemoveTheCurrentWhileStopped", stopped, removeCurrent, "stopped 3 >- 0 ms"},
    {"RemoveTheCurrentAndTheRestWhilePlaying", playing, removeCurrentAndRest, "stopped - >- 0 ms"},
    {"RemoveAllWhilePaused", paused, removeAll, "stopped - >- 0 ms"},
    {"RemoveAnotherWhilePlaying", playing, removeOther, "playing 2 >- 0 ms"},
    {"RemoveAnotherWhilePaused", paused, removeOther, "paused 2 >- 4000 ms"},

    {"EndWhilePlaying", playing, reportEnd, "playing 3 >- 0 ms"},
    {"EndOfTheLastWhilePlaying", playingLast, reportEnd, "stopped 3 >- 0 ms"},
    {"EndWhilePaused", paused, reportEnd, "paused 3 >- 0 ms"},
    {"EndWhileStopped", stopped, reportEnd, "stopped 2 >3 0 ms"},
    {"ErrorWhilePlaying", playing, reportError, "playing 3 >- 0 ms"},
    {"ErrorOfTheLastWhilePlaying", playingLast, reportError, "stopped 3 >- 0 ms"},
    {"ErrorWhilePaused", paused, reportError, "paused 3 >- 0 ms"},
    {"ErrorWhileStopped", stopped, reportError, "stopped 2 >3 0 ms"},
    {"PositionWhilePlaying", playing, reportPlaying, "playing 2 >3 3900 ms"},
    {"PositionWhilePaused", paused, reportPaused, "paused 2 >3 3900 ms"},
    {"PositionWhileStopped", stopped, reportPlaying, "stopped 2 >3 0 ms"},
    {"OutputHoldsWhilePlaying", playing, reportPaused, "playing 2 >3 3900 ms"},
    {"NextIsPlayed", playing, reportNext, "playing 3 >- 100 ms"},
    {"AnotherThanNextIsPlayed", playing, reportOther, "playing 2 >3 0 ms"},
};

class PlayerTable : public testing::TestWithParam<Row>
{
};

TEST_P(PlayerTable, LeadsToTheState)
{
    Desk desk;
    GetParam().situation(desk);
    const PlayerState before = desk.state();
    desk.error.clear();
    GetParam().command(desk);
    EXPECT_EQ(desk.text(), GetParam().expected);
    EXPECT_EQ(desk.error, GetParam().error);
    EXPECT_TRUE(desk.error.empty() || desk.state() == before) << "refused, so that nothing changes";
}

INSTANTIATE_TEST_SUITE_P(Commands, PlayerTable, testing::ValuesIn(rows), [](const auto& test) {
    return test.param.name;
});

TEST(PlayerSerial, RisesWithEachCommand)
{
    Desk desk;
    playing(desk);
    const std::vector<std::function<void(Desk&)>> commands = {
        play,
        playOne,
        pause_,
        stop,
        next,
        previous,
        seek,
        withdraw,
        otherOutput,
        [](Desk& d) { d.note(d.player.setVolume(50)); },
        [](Desk& d) { d.setRepeat(Repeat::One); },
        [](Desk& d) { d.player.setShuffle(d.queue, true); }};
    for (const auto& command : commands) {
        const qint64 before = desk.state().serial;
        command(desk);
        EXPECT_EQ(desk.state().serial, before + 1);
    }
}

TEST(PlayerSerial, StaysWhenTheOutputReports)
{
    Desk desk;
    playing(desk);
    const qint64 before = desk.state().serial;
    reportPlaying(desk);
    reportNext(desk);
    EXPECT_EQ(desk.state().serial, before);
}

TEST(PlayerSerial, RisesWhenAnotherEntryHasToBePlayed)
{
    Desk desk;
    playing(desk);
    const qint64 before = desk.state().serial;
    reportEnd(desk);
    EXPECT_EQ(desk.state().serial, before + 1);
    desk.remove({3});
    EXPECT_EQ(desk.state().serial, before + 2);
}

TEST(PlayerReports, OfAnOlderCommandAreIgnored)
{
    Desk desk;
    playing(desk);
    OutputReport report = reportOf(2, State::Ended);
    report.serial = desk.state().serial;
    desk.seek(1000);
    const PlayerState before = desk.state();
    desk.report(report);
    EXPECT_EQ(desk.state(), before);
    report.serial = before.serial;
    desk.report(report);
    EXPECT_EQ(desk.text(), "playing 3 >- 0 ms");
}

TEST(PlayerReports, CountAfterAnotherVolume)
{
    Desk desk;
    playing(desk);
    OutputReport report = reportOf(2, State::Ended);
    report.serial = desk.state().serial;
    desk.note(desk.player.setVolume(20));
    desk.report(report);
    EXPECT_EQ(desk.state().current, 3);
}

TEST(PlayerPosition, RunsWhilePlaying)
{
    Desk desk;
    playing(desk);
    EXPECT_EQ(desk.player.positionAt(desk.now), 4000);
    OutputReport report = reportOf(2, State::Playing, 3900);
    report.duration = 180'000;
    desk.report(report);
    EXPECT_EQ(desk.player.positionAt(desk.now + 100), 4000);
    EXPECT_EQ(desk.player.positionAt(desk.now - 100), 3900) << "the clock was set back";
    EXPECT_EQ(desk.player.positionAt(desk.now + 500'000), 180'000);
}

TEST(PlayerPosition, RestsWhileTheOutputHolds)
{
    Desk desk;
    playing(desk);
    reportPaused(desk);
    EXPECT_EQ(desk.player.positionAt(desk.now + 1000), 3900);
    reportPlaying(desk);
    EXPECT_EQ(desk.player.positionAt(desk.now + 1000), 4900);
}

TEST(PlayerPosition, EndsWithTheEntry)
{
    Desk desk;
    playing(desk);
    OutputReport report = reportOf(2, State::Playing, 3900);
    report.duration = 60'000;
    desk.report(report);
    seek(desk);
    EXPECT_EQ(desk.state().position, 60'000);
}

TEST(PlayerVolume, IsBetween0And100)
{
    Desk desk;
    for (const int volume : {-1, 101}) {
        desk.note(desk.player.setVolume(volume));
        EXPECT_EQ(desk.error, "invalidValue");
        EXPECT_EQ(desk.state().volume, 100);
    }
    for (const int volume : {0, 100, 35}) {
        desk.note(desk.player.setVolume(volume));
        EXPECT_EQ(desk.state().volume, volume);
    }
}

TEST(PlayerRepeat, AllGoesRound)
{
    Desk desk;
    playingLast(desk);
    desk.setRepeat(Repeat::All);
    EXPECT_EQ(desk.state().next, 1);
    reportEnd(desk);
    EXPECT_EQ(desk.text(), "playing 1 >2 0 ms");
    desk.previous();
    EXPECT_EQ(desk.text(), "playing 3 >1 0 ms");
}

TEST(PlayerRepeat, OnePlaysTheSameAgainUntilACommand)
{
    Desk desk;
    playing(desk);
    desk.setRepeat(Repeat::One);
    EXPECT_EQ(desk.state().next, 2);
    reportEnd(desk);
    EXPECT_EQ(desk.text(), "playing 2 >2 0 ms");
    desk.next();
    EXPECT_EQ(desk.text(), "playing 3 >3 0 ms");
}

TEST(PlayerRepeat, OneSkipsWhatCannotBePlayed)
{
    Desk desk;
    playing(desk);
    desk.setRepeat(Repeat::One);
    reportError(desk);
    EXPECT_EQ(desk.state().current, 3);
}

TEST(PlayerFailures, AreTold)
{
    Desk desk;
    playing(desk);
    OutputReport report = reportOf(2, State::Error);
    report.error = QStringLiteral("gone");
    desk.report(report);
    EXPECT_EQ(desk.state().failed, 2);
    EXPECT_EQ(desk.state().failure, QStringLiteral("gone"));
    desk.report(reportOf(3, State::Playing));
    EXPECT_EQ(desk.state().failed, 2);
    desk.report(reportOf(3, State::Playing, 10));
    EXPECT_EQ(desk.state().failed, std::nullopt);
}

/// How many entries fail until the player stops.
int failuresUntilStop(Desk& desk)
{
    int failures = 0;
    while (desk.state().state == PlayState::Playing && failures < 100) {
        reportError(desk);
        ++failures;
    }
    return failures;
}

TEST(PlayerFailures, StopItAfterTenInARow)
{
    Desk desk;
    playing(desk);
    desk.setRepeat(Repeat::All);
    EXPECT_EQ(failuresUntilStop(desk), Player::mostFailures);
    desk.play();
    EXPECT_EQ(failuresUntilStop(desk), Player::mostFailures) << "a command begins anew";
}

TEST(PlayerFailures, CountAnewAfterAnEntryThatPlays)
{
    Desk desk;
    playing(desk);
    desk.setRepeat(Repeat::All);
    for (int i = 0; i < Player::mostFailures - 1; ++i)
        reportError(desk);
    desk.report(reportOf(*desk.state().current, State::Playing, 10));
    EXPECT_EQ(failuresUntilStop(desk), Player::mostFailures);
}

TEST(PlayerEdits, NewEntriesBecomeNext)
{
    Desk desk;
    playingLast(desk);
    desk.edit([](Queue& queue) { return queue.append(makeItems(1)); });
    EXPECT_EQ(desk.state().next, 4);
    desk.edit([](Queue& queue) { return queue.move({1}, 3); });
    EXPECT_EQ(desk.state().next, 1);
}

TEST(PlayerEdits, PlayGoesOnBehindTheEnd)
{
    Desk desk;
    finished(desk);
    desk.edit([](Queue& queue) { return queue.append(makeItems(1)); });
    desk.play();
    EXPECT_EQ(desk.text(), "playing 4 >- 0 ms");
}

TEST(PlayerEdits, RemovedLastEntryGivesWayToTheFirstIfAllRepeats)
{
    Desk desk;
    playingLast(desk);
    desk.setRepeat(Repeat::All);
    desk.remove({3});
    EXPECT_EQ(desk.text(), "playing 1 >2 0 ms");
}

TEST(PlayerEdits, ResumesWhereAnEntryWas)
{
    Desk desk;
    offer(desk);
    desk.player.resume(desk.queue, 2, 5000, true, desk.now);
    EXPECT_EQ(desk.text(), "playing 2 >3 5000 ms");
    desk.player.resume(desk.queue, 1, 6000, false, desk.now);
    EXPECT_EQ(desk.text(), "paused 1 >2 6000 ms");
}

/// A desk with 20 entries where the first one plays, by shuffle.
Desk shuffledDesk()
{
    Desk desk;
    desk.queue = makeQueue(20);
    offer(desk);
    desk.play(1);
    desk.player.setShuffle(desk.queue, true);
    return desk;
}

/// What is played from the current entry to the end.
std::vector<EntryId> playToEnd(Desk& desk)
{
    std::vector<EntryId> played;
    while (desk.state().state == PlayState::Playing) {
        played.push_back(*desk.state().current);
        desk.next();
    }
    return played;
}

TEST(PlayerShuffle, PlaysEveryEntryOnceBeginningWithTheCurrent)
{
    Desk desk = shuffledDesk();
    const std::vector<EntryId> played = playToEnd(desk);
    EXPECT_EQ(played.front(), 1);
    EXPECT_NE(played, desk.queue.ids());
    EXPECT_THAT(played, testing::UnorderedElementsAreArray(desk.queue.ids()));
}

TEST(PlayerShuffle, PreviousGoesBackTheSameWay)
{
    Desk desk = shuffledDesk();
    std::vector<EntryId> there;
    for (int i = 0; i < 10; ++i) {
        there.push_back(*desk.state().current);
        desk.next();
    }
    for (auto id = there.rbegin(); id != there.rend(); ++id) {
        desk.previous();
        EXPECT_EQ(desk.state().current, *id);
    }
}

TEST(PlayerShuffle, AnEntryThatIsChosenDoesNotEndTheRest)
{
    Desk desk = shuffledDesk();
    desk.next();
    const EntryId before = *desk.state().current;
    desk.play(before == 20 ? 19 : 20);
    desk.previous();
    EXPECT_EQ(desk.state().current, before);
    EXPECT_EQ(playToEnd(desk).size(), 19U);
}

TEST(PlayerShuffle, NewEntriesJoinThePartNotYetPlayed)
{
    Desk desk = shuffledDesk();
    std::set<EntryId> played;
    for (int i = 0; i < 10; ++i) {
        played.insert(*desk.state().current);
        desk.next();
    }
    desk.edit([](Queue& queue) { return queue.insert(Anchor(), makeItems(10)); });
    const std::vector<EntryId> rest = playToEnd(desk);
    EXPECT_EQ(rest.size(), 20U);
    for (const EntryId id : rest)
        EXPECT_EQ(played.count(id), 0U);
    EXPECT_THAT(rest, testing::IsSupersetOf({21, 22, 23, 24, 25, 26, 27, 28, 29, 30}));
}

TEST(PlayerShuffle, WhatIsToBePlayedNextIsNext)
{
    Desk desk = shuffledDesk();
    desk.next();
    desk.edit([](Queue& queue) { return queue.append(makeItems(2)); }, true);
    desk.next();
    EXPECT_EQ(desk.state().current, 21);
    EXPECT_EQ(desk.state().next, 22);
}

TEST(PlayerShuffle, ARemovedCurrentEntryGivesWayToItsFollower)
{
    Desk desk = shuffledDesk();
    desk.next();
    desk.next();
    const std::optional<EntryId> follower = desk.state().next;
    desk.remove({1, *desk.state().current});
    EXPECT_EQ(desk.state().current, follower);
    EXPECT_EQ(playToEnd(desk).size(), 17U);
}

TEST(PlayerShuffle, GoesRoundIfAllRepeats)
{
    Desk desk = shuffledDesk();
    desk.setRepeat(Repeat::All);
    for (int i = 0; i < 20; ++i)
        desk.next();
    EXPECT_EQ(desk.state().current, 1);
}

TEST(PlayerShuffle, BeginsAgainAfterTheEnd)
{
    Desk desk = shuffledDesk();
    ASSERT_EQ(playToEnd(desk).size(), 20U);
    desk.play();
    EXPECT_EQ(playToEnd(desk).size(), 20U);
}

TEST(PlayerShuffle, EndsInTheOrderOfTheQueue)
{
    Desk desk = shuffledDesk();
    desk.play(5);
    desk.player.setShuffle(desk.queue, false);
    EXPECT_EQ(desk.state().next, 6);
    desk.previous();
    EXPECT_EQ(desk.state().current, 4);
}

TEST(PlayerRestart, IsPausedWithoutAnOutput)
{
    Desk desk;
    playing(desk);
    desk.setRepeat(Repeat::All);
    const Player player(2, desk.state(), desk.queue);
    EXPECT_EQ(textOf(player.state()), "paused 2 >3 0 ms");
    EXPECT_TRUE(player.state().output.isEmpty());
    EXPECT_EQ(player.state().repeat, Repeat::All);
    EXPECT_EQ(player.state().serial, desk.state().serial);
}

TEST(PlayerRestart, IsStoppedIfTheEntryIsGone)
{
    Desk desk;
    paused(desk);
    const Player player(2, desk.state(), makeQueue(1));
    EXPECT_EQ(textOf(player.state()), "stopped - >- 0 ms");
}

TEST(PlayerRestart, ShufflesAnew)
{
    Desk desk = shuffledDesk();
    desk.player = Player(2, desk.state(), desk.queue);
    offer(desk);
    desk.play();
    EXPECT_EQ(playToEnd(desk).size(), 20U);
}

} // namespace
