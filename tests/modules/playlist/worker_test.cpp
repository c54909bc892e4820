// The playlist's worker: its paths, rows, versions, errors and notifications.

#include "queuestore.h"
#include "support/playlistworkertest.h"

#include "eventloop.h"
#include "keptlog.h"

#include "model/cmroot.h"
#include "tavo/tavokeys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Of the answer of an addition.
qint64 first(const QVariantHash& answer)
{
    return answer.value(QStringLiteral("first")).toLongLong();
}

int versionIn(const QVariantHash& answer)
{
    return answer.value(QStringLiteral("version")).toInt();
}

class PlaylistRowsOf : public PlaylistWorkerTest
{
};

TEST_F(PlaylistRowsOf, AnEmptyQueueAreNoneWithAVersion)
{
    EXPECT_EQ(rows().rowsCount(), 0);
    EXPECT_GT(version(), 0);
}

TEST_F(PlaylistRowsOf, TheQueueAreItsEntriesInTheirOrder)
{
    set("addToQueue", source("album"));
    const QStringList roles = {TavoRoles::Path(), TavoRoles::Type(), TavoRoles::Value(), TavoRoles::Flags()};
    const TavoRowsRoles page = rows({}, roles);
    EXPECT_EQ(page.rowsCount(), 3);
    const QVariantList second{
        QStringLiteral("/playlist/queue/2"), QStringLiteral("audio"), source("album/2"), QVariant()};
    EXPECT_EQ(page.rows().value(1).toList(), second);
}

TEST_F(PlaylistRowsOf, APageAreOnlyItsOwn)
{
    set("addToQueue", source("album"));
    for (const auto& [from, to, titles] : std::vector<std::tuple<int, int, int>>{
             {0, 0, 1},
             {1, 2, 2},
             {2, 99, 1},
             {3, 9, 0},
             {0, -1, 0},
             {-5, 0, 1},
             {2, std::numeric_limits<int>::max(), 1}}) {
        const CMGetRowsRequest request(path(""), from, to, 0, {TavoRoles::Title()});
        CMRoot()->request(request);
        EXPECT_EQ(request.reply().value().rows().size(), titles) << from << ' ' << to;
        EXPECT_EQ(request.reply().value().rowsCount(), 3);
    }
}

TEST_F(PlaylistRowsOf, AnOldVersionAreRefused)
{
    const int before = version();
    set("addToQueue", source("single"));
    ASSERT_TRUE(waitUntilPrepared());
    for (const char* base : {"", "player", "outputs"}) {
        const CMGetRowsRequest request(path(base), 0, 9, base[0] == '\0' ? before : 2'000'000'000, {});
        CMRoot()->request(request);
        EXPECT_EQ(request.reply().error().name(), TavoErrorInvalidRowsVersion()) << base;
    }
    EXPECT_EQ(rows({}, {}, version()).rowsCount(), 1);
}

TEST_F(PlaylistRowsOf, UnknownPathsAreRefused)
{
    for (const char* base : {"nothing", "queue", "queue/1", "outputs/none", "player/play", "..", "/etc"}) {
        const CMGetRowsRequest request(path(base), 0, 9, 0, {});
        CMRoot()->request(request);
        EXPECT_EQ(request.reply().error().name(), TavoErrorInvalidPath()) << base;
    }
}

TEST_F(PlaylistRowsOf, AnEntryAndTheListsHaveData)
{
    set("addToQueue", source("single"));
    const auto data = [](const char* base, const QString& role) {
        const CMGetDataRequest request(path(base), {role});
        CMRoot()->request(request);
        return request.reply().isError() ? QVariant(request.reply().error().name()) : request.reply().value().value(0);
    };
    EXPECT_EQ(data("queue/1", TavoRoles::Value()), source("single"));
    EXPECT_EQ(data("", TavoRoles::Type()), TavoRolesType::Container());
    EXPECT_EQ(data("outputs", TavoRoles::Path()), QStringLiteral("/playlist/outputs"));
    for (const char* base : {"queue/2", "queue/01", "queue/+1", "queue/", "queue/1/1", "queue/9999999999999999999999"})
        EXPECT_EQ(data(base, TavoRoles::Title()), TavoErrorInvalidPath()) << base;
}

class PlaylistAdds : public PlaylistWorkerTest
{
};

TEST_F(PlaylistAdds, ContainersInTheOrderOfTheirRowsAndItemsWhereTheyAreGiven)
{
    const QVariantHash answer = set("addToQueue", QStringList{source("single"), source("album")});
    EXPECT_EQ(answer.value(QStringLiteral("added")), 4);
    EXPECT_EQ(first(answer), 1);
    EXPECT_GT(versionIn(answer), 0);
    EXPECT_EQ(sources(), (QStringList{source("single"), source("album/1"), source("album/2"), source("album/3")}));
}

TEST_F(PlaylistAdds, TheWholeTreeDepthFirstWithoutPlaylistsAndFiles)
{
    set("addToQueue", source(""));
    EXPECT_EQ(sources(), (QStringList{source("album/1"), source("album/2"), source("album/3"), source("single")}));
}

TEST_F(PlaylistAdds, AllTreesForTheRootOfAllButNotTheQueueItself)
{
    ScriptedTree drive(QStringLiteral("drive"));
    drive.addItem({}, QStringLiteral("song"));
    ASSERT_TRUE(CMRootWorker::instance().mount(&drive));
    set("addToQueue", source("single"));
    set("replaceQueue", QStringLiteral("/"));
    EXPECT_EQ(
        sources(),
        (QStringList{
            source("album/1"), source("album/2"), source("album/3"), source("single"), QStringLiteral("/drive/song")}));
    EXPECT_TRUE(waitUntilPrepared()) << "nobody asks the second tree any more";
}

TEST_F(PlaylistAdds, NothingThatCannotBePlayed)
{
    for (const char* base : {"list", "notes", "gone", "album/gone"})
        EXPECT_EQ(errorOf(QStringLiteral("addToQueue"), source(base)), "noSuchItem") << base;
    for (const char* encoded : {"/gone/1", "/playlist/", "/playlist/queue/1", "//", "", "single"})
        EXPECT_EQ(errorOf(QStringLiteral("addToQueue"), QString::fromUtf8(encoded)), "noSuchItem") << encoded;
    EXPECT_EQ(rows().rowsCount(), 0);
}

TEST_F(PlaylistAdds, NothingThatLeadsOutOfItsWorker)
{
    for (const char* encoded : {"/music//etc/passwd", "/music/../secret", "/music/album/../../x", "/music/%2e%2e/x"}) {
        const QVariantList both{source("single"), QString::fromUtf8(encoded)};
        EXPECT_EQ(errorOf(QStringLiteral("addToQueue"), both), "accessViolation") << encoded;
    }
    EXPECT_EQ(rows().rowsCount(), 0);
}

TEST_F(PlaylistAdds, NothingInvisible)
{
    const CMPath item = CMPath::fromEncoded(source("album/2"));
    CMRootWorker::instance().setVisibility([&item](const CMPath& path) { return path != item; });
    set("addToQueue", source("album"));
    EXPECT_EQ(sources(), QStringList({source("album/1"), source("album/3")}));
    EXPECT_EQ(errorOf(QStringLiteral("addToQueue"), source("album/2")), "noSuchItem");
    CMRootWorker::instance().setVisibility(
        [](const CMPath& path) { return path.base().startsWith(QLatin1String("album/")); });
    EXPECT_EQ(errorOf(QStringLiteral("addToQueue"), source("album")), "noSuchItem");
    CMRootWorker::instance().setVisibility({});
    EXPECT_EQ(set("addToQueue", source("album/2")).value(QStringLiteral("added")), 1);
}

TEST_F(PlaylistAdds, WhatExistsOfAListOfPathsAndNamesTheRest)
{
    const QVariantList paths{source("gone"), source("single"), source("notes"), QStringLiteral("/nowhere/1")};
    const QVariantHash answer = set("addToQueue", paths);
    EXPECT_EQ(answer.value(QStringLiteral("added")), 1);
    const QVariantList missing{source("gone"), source("notes"), QStringLiteral("/nowhere/1")};
    EXPECT_EQ(answer.value(QStringLiteral("missing")), missing);
    EXPECT_FALSE(set("addToQueue", source("single")).contains(QStringLiteral("missing")));
}

TEST_F(PlaylistAdds, WithoutNamingMoreThanAnAnswerTakes)
{
    QVariantList paths{source("single")};
    while (paths.size() <= 10)
        paths.append(source(QByteArray(5000, 'x').constData()));
    EXPECT_EQ(set("addToQueue", paths).value(QStringLiteral("missing")).toList().size(), 3);
}

TEST_F(PlaylistAdds, EndlessContainersToADepth)
{
    music.addContainer({}, QStringLiteral("loop"));
    music.addLoop(QStringLiteral("loop"), 1);
    EXPECT_EQ(set("addToQueue", source("loop")).value(QStringLiteral("added")), 32);
}

TEST_F(PlaylistAdds, NoMoreThanAQueueTakes)
{
    music.addContainer({}, QStringLiteral("loop"));
    music.addLoop(QStringLiteral("loop"), 2000);
    EXPECT_EQ(errorOf(QStringLiteral("addToQueue"), source("loop")), "queueFull");
    EXPECT_EQ(rows().rowsCount(), 0);
}

TEST_F(PlaylistAdds, NothingFromContainersWithoutEnd)
{
    music.addContainer({}, QStringLiteral("a"));
    music.addLoop(QStringLiteral("a"), 0);
    music.addLoop(QStringLiteral("a"), 0);
    EXPECT_EQ(errorOf(QStringLiteral("addToQueue"), source("a")), "queueFull");
}

TEST_F(PlaylistAdds, NextAndNowAtTheCurrentEntry)
{
    set("addToQueue", source("album"));
    offer("phone");
    set("player/output", QStringLiteral("phone"));
    set("player/play", 1);
    set("playNext", source("single"));
    EXPECT_THAT(ids(), ElementsAre(1, 4, 2, 3));
    const qint64 now = first(set("playNow", source("single")));
    EXPECT_THAT(ids(), ElementsAre(1, now, 4, 2, 3));
    EXPECT_EQ(player().value(QStringLiteral("current")), now);
    EXPECT_EQ(stateOfPlayer(), "playing");
}

TEST_F(PlaylistAdds, InPlaceOfAllOthersAndBack)
{
    set("addToQueue", source("album"));
    const QVariantHash answer = set("replaceQueue", source("single"));
    EXPECT_THAT(ids(), ElementsAre(4));
    set("undo", answer.value(QStringLiteral("undo")));
    EXPECT_THAT(ids(), ElementsAre(1, 2, 3));
}

TEST_F(PlaylistAdds, EntriesWithTheTagsThatTheirWorkerReads)
{
    set("addToQueue", source("album"));
    ASSERT_TRUE(waitUntilPrepared());
    EXPECT_EQ(column(TavoRoles::Title()).value(0), QStringLiteral("Tagged 1"));
    EXPECT_EQ(music.preparations, 1);
}

TEST_F(PlaylistAdds, EntriesWhoseTagsCameTooLateBeforeARestart)
{
    music.served = [](const CMRequest& request) {
        if (request.kind() == CMRequest::Kind::SetData)
            throw std::runtime_error("no memory for the tags");
    };
    const KeptLog log("CB_Playlist", log4cplus::WARN_LOG_LEVEL);
    set("addToQueue", source("album"));
    worker.reset();
    music.served = {};
    restart();
    EXPECT_TRUE(waitUntilPrepared());
}

TEST_F(PlaylistAdds, EntriesWhoseTagsComeBackWithTheQueue)
{
    set("addToQueue", source("album"));
    ASSERT_TRUE(waitUntilPrepared());
    restart();
    EXPECT_EQ(column(TavoRoles::Title()).value(2), QStringLiteral("Tagged 3"));
    set("addToQueue", source("single"));
    ASSERT_TRUE(waitUntilPrepared());
    EXPECT_EQ(music.preparations, 2);
}

TEST_F(PlaylistAdds, NoTagsToStoredEntriesThatAreInvisible)
{
    music.served = [](const CMRequest& request) {
        if (request.path().base() == TavoPlayListPrepareItems())
            throw std::runtime_error("not yet");
    };
    set("addToQueue", QVariantList{source("album/1"), source("single")});
    const CMPath hidden = CMPath::fromEncoded(source("album/1"));
    CMRootWorker::instance().setVisibility([&hidden](const CMPath& path) { return path != hidden; });
    worker.reset();
    music.served = {};
    restart();
    EXPECT_TRUE(processEventsUntil(
        [this] { return column(TavoRoles::Title()).value(1).toString() == QLatin1String("Tagged single"); }));
    EXPECT_EQ(column(TavoRoles::Title()).value(0), QStringLiteral("1"));
    CMRootWorker::instance().setVisibility({});
}

TEST_F(PlaylistAdds, NoTagsToStoredEntriesThatLeadOutOfTheirWorker)
{
    worker.reset();
    {
        const auto item = [](const char* base) {
            return QueueItem{source(base), QString::fromUtf8(base), QStringLiteral("audio")};
        };
        QueueStore store(state.path());
        Playlist stored;
        ASSERT_TRUE(stored.addToQueue({item("../secret"), item("/etc/secret"), item("a/../../b"), item("single")}, 0));
        ASSERT_EQ(store.save(stored, stored.takeChange(), std::nullopt), QString());
    }
    restart();
    EXPECT_TRUE(processEventsUntil(
        [this] { return column(TavoRoles::Title()).value(3).toString() == QLatin1String("Tagged single"); }));
    const QVariantList titles = column(TavoRoles::Title());
    EXPECT_THAT(titles.mid(0, 3), ElementsAre(QVariant("../secret"), QVariant("/etc/secret"), QVariant("a/../../b")));
}

class PlaylistServices : public PlaylistWorkerTest
{
};

TEST_F(PlaylistServices, RefuseValuesOfAnotherKind)
{
    const QVariantHash hash{{QStringLiteral("x"), 1}};
    const QVariantList nested{QVariantList{1}};
    const std::vector<std::pair<const char*, QVariantList>> wrong = {
        {"addToQueue", {QVariant(), 1, true, hash, QVariantList(), nested, QVariantList{source("single"), 1}}},
        {"playNow", {QString(20'000, QLatin1Char('x'))}},
        {"remove", {QVariant(), 1, QStringLiteral("1"), QVariantList{1.5}, QVariantList{true}, hash, nested}},
        {"remove", {QVariantList{1e300}, QVariantList{qQNaN()}, QVariantList{9007199254740993.0}}},
        {"move", {QVariant(), QVariantList{1}, hash, QVariantHash{{QStringLiteral("ids"), QVariantList{1}}}}},
        {"clear", {1, false, QVariantList()}},
        {"shuffleQueue", {true}},
        {"undo", {QVariant(), QStringLiteral("1"), 1e10}},
        {"player/play", {QStringLiteral("1"), true, QVariantList{1}, 1.5}},
        {"player/pause", {1}},
        {"player/seek", {QVariant(), QStringLiteral("0"), -1, 1.5}},
        {"player/volume", {QVariant(), -1, 101, 1e10, true}},
        {"player/repeat", {QVariant(), QStringLiteral("some"), true, 1}},
        {"player/shuffle", {QVariant(), 1, QStringLiteral("true")}},
        {"player/output", {1, QStringLiteral(""), QStringLiteral("a/b"), QString(65, QLatin1Char('x'))}},
        {"outputs/a/report", {QVariant(), 1, hash}},
    };
    set("addToQueue", source("single"));
    for (const auto& [base, values] : wrong) {
        for (const QVariant& value : values)
            EXPECT_EQ(errorOf(QString::fromUtf8(base), value), "invalidValue") << base << ' ' << value.typeName();
    }
}

TEST_F(PlaylistServices, RefuseUnknownPaths)
{
    for (const char* base :
         {"", "nothing", "player", "queue/1", "outputs/a", "outputs//report", "playList/prepareItems"})
        EXPECT_EQ(errorOf(QString::fromUtf8(base), 1), TavoErrorInvalidPath().toStdString()) << base;
}

TEST_F(PlaylistServices, RefuseWrapsThatAreMalformed)
{
    const QVariantList wraps{
        QVariantHash{{QStringLiteral("version"), QStringLiteral("1")}},
        QVariantHash{{QStringLiteral("version"), 1.5}},
        QVariantHash{{QStringLiteral("operation"), 1}},
        QVariantHash{{QStringLiteral("operation"), QString()}},
        QVariantHash{{QStringLiteral("operation"), QString(201, QLatin1Char('x'))}},
        QVariantHash{{QStringLiteral("value"), QVariant()}, {QStringLiteral("more"), 1}}};
    for (const QVariant& wrap : wraps)
        EXPECT_EQ(errorOf(QStringLiteral("clear"), wrap), "invalidValue")
            << wrap.toHash().keys().join(u' ').toStdString();
}

TEST_F(PlaylistServices, TakeValuesInAWrap)
{
    const QVariantHash wrap{
        {QStringLiteral("value"), source("album")},
        {QStringLiteral("version"), version()},
        {QStringLiteral("operation"), QStringLiteral("first")}};
    const QVariantHash answer = set("addToQueue", wrap);
    EXPECT_EQ(set("addToQueue", wrap), answer);
    EXPECT_EQ(rows().rowsCount(), 3);
    const QVariantHash later{{QStringLiteral("version"), wrap.value(QStringLiteral("version"))}};
    EXPECT_EQ(errorOf(QStringLiteral("clear"), later), "conflict");
    const QVariantHash empty{
        {QStringLiteral("value"), QVariant::fromValue(nullptr)}, {QStringLiteral("version"), QVariant()}};
    set("clear", empty);
    EXPECT_EQ(rows().rowsCount(), 0);
}

TEST_F(PlaylistServices, AnswerARepeatedAdditionWithoutLookingForItsItems)
{
    const QVariantHash wrap{
        {QStringLiteral("value"), source("single")}, {QStringLiteral("operation"), QStringLiteral("once")}};
    const QVariantHash answer = set("addToQueue", wrap);
    ASSERT_TRUE(waitUntilPrepared());
    restart();
    music.served = [](const CMRequest& request) { ADD_FAILURE() << request.path().toEncoded().toStdString(); };
    const CMReply<QVariant> again = send(QStringLiteral("addToQueue"), wrap);
    EXPECT_TRUE(again.isFinished());
    EXPECT_EQ(again.value().toHash(), answer);
    EXPECT_EQ(rows().rowsCount(), 1);
}

TEST_F(PlaylistServices, AnswerAnAdditionThatIsRepeatedMeanwhileWithoutLookingTwice)
{
    std::atomic<int> looks{0};
    const auto mayServe = std::make_shared<std::atomic<bool>>(false);
    music.served = [mayServe, &looks](const CMRequest& request) {
        if (request.path().base() != QLatin1String("single"))
            return;
        if (++looks > 1)
            throw std::runtime_error("it is looked for again");
        while (!*mayServe)
            std::this_thread::yield();
    };
    const QVariantHash wrap{
        {QStringLiteral("value"), source("single")}, {QStringLiteral("operation"), QStringLiteral("once")}};
    const CMReply<QVariant> first = send(QStringLiteral("addToQueue"), wrap);
    ASSERT_TRUE(processEventsUntil([&looks] { return looks > 0; }));
    const CMReply<QVariant> again = send(QStringLiteral("addToQueue"), wrap);
    // Walks side by side with the repeated one.
    set("addToQueue", source("album"));
    EXPECT_FALSE(again.isFinished());
    *mayServe = true;
    EXPECT_TRUE(first.waitForFinished(20'000));
    EXPECT_TRUE(again.waitForFinished(20'000));
    EXPECT_EQ(first.value().toHash().value(QStringLiteral("added")).toInt(), 1);
    EXPECT_EQ(again.value(), first.value());
    EXPECT_EQ(rows().rowsCount(), 3 + 1);
}

TEST_F(PlaylistServices, MoveAndRemoveById)
{
    set("addToQueue", source("album"));
    set("move", QVariantHash{{QStringLiteral("ids"), QVariantList{3.0, 1}}, {QStringLiteral("after"), 2}});
    EXPECT_THAT(ids(), ElementsAre(2, 3, 1));
    set("move",
        QVariantHash{{QStringLiteral("ids"), QVariantList{1}}, {QStringLiteral("after"), QStringLiteral("head")}});
    EXPECT_THAT(ids(), ElementsAre(1, 2, 3));
    set("remove", QVariantList{2});
    EXPECT_THAT(ids(), ElementsAre(1, 3));
    EXPECT_EQ(errorOf(QStringLiteral("remove"), QVariantList{1, 2}), "noSuchItem");
    EXPECT_THAT(ids(), ElementsAre(1, 3));
}

TEST_F(PlaylistServices, AreAnsweredAfterTheWorkerHasReturned)
{
    // Commands never run in the thread of the request.
    const auto mayServe = std::make_shared<std::atomic<bool>>(false);
    music.served = [mayServe](const CMRequest& /*request*/) {
        while (!*mayServe)
            std::this_thread::yield();
    };
    const CMReply<QVariant> addition = send(QStringLiteral("addToQueue"), source("single"));
    set("player/volume", 50);
    EXPECT_FALSE(addition.isFinished());
    *mayServe = true;
    EXPECT_TRUE(addition.waitForFinished(20'000));
}

class PlaylistBesideADeadMount : public PlaylistServices
{
protected:
    /// Adds while so many other additions hang, which end then.
    void addWhileOthersHang(std::size_t count)
    {
        const auto isAlive = std::make_shared<std::atomic<bool>>(false);
        music.served = [isAlive](const CMRequest& request) {
            while (request.path().base() == QLatin1String("album") && !*isAlive)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        };
        std::vector<CMReply<QVariant>> hanging;
        while (hanging.size() < count)
            hanging.push_back(send(QStringLiteral("addToQueue"), source("album")));
        set("addToQueue", source("single"));
        EXPECT_EQ(sources(), QStringList(source("single")));
        *isAlive = true;
        for (const CMReply<QVariant>& addition : hanging)
            EXPECT_TRUE(addition.waitForFinished(20'000));
    }
};

TEST_F(PlaylistBesideADeadMount, AddsAtOnceIfFewAdditionsWaitForIt)
{
    addWhileOthersHang(3);
    EXPECT_EQ(rows().rowsCount(), 1 + 3 * 3);
}

TEST_F(PlaylistBesideADeadMount, AddsAfterSomeTimeIfMoreAdditionsWaitForItThanAreWalkedAtOnce)
{
    addWhileOthersHang(2 * WalkPool::mostWalks);
}

TEST_F(PlaylistBesideADeadMount, EntriesOfOtherWorkersGetTheirTags)
{
    ScriptedTree drive(QStringLiteral("drive"));
    drive.addItem({}, QStringLiteral("song"));
    ASSERT_TRUE(CMRootWorker::instance().mount(&drive));
    const auto isAlive = std::make_shared<std::atomic<bool>>(false);
    std::atomic<bool> hangs{false};
    music.served = [&hangs, isAlive](const CMRequest& request) {
        while (request.path().base() == TavoPlayListPrepareItems() && !*isAlive) {
            hangs = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    };
    set("addToQueue", source("single"));
    ASSERT_TRUE(processEventsUntil([&hangs] { return hangs.load(); }));
    set("addToQueue", QStringLiteral("/drive/song"));
    EXPECT_TRUE(processEventsUntil(
        [this] { return column(TavoRoles::Title()).value(1).toString() == QLatin1String("Tagged song"); }));
    EXPECT_EQ(column(TavoRoles::Title()).value(0), QStringLiteral("single"));
    *isAlive = true;
    EXPECT_TRUE(waitUntilPrepared());
}

TEST_F(PlaylistBesideADeadMount, EntriesOfTheSameWorkerGetTheirTags)
{
    const auto isAlive = std::make_shared<std::atomic<bool>>(false);
    std::atomic<bool> hangs{false};
    music.served = [&hangs, isAlive](const CMRequest& request) {
        if (request.path().base() != TavoPlayListPrepareItems() || hangs.exchange(true))
            return;
        while (!*isAlive)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    set("addToQueue", source("single"));
    ASSERT_TRUE(processEventsUntil([&hangs] { return hangs.load(); }));
    set("addToQueue", source("album"));
    EXPECT_TRUE(processEventsUntil(
        [this] { return column(TavoRoles::Title()).value(3).toString().startsWith(QLatin1String("Tagged ")); }));
    EXPECT_EQ(column(TavoRoles::Title()).value(0), QStringLiteral("single"));
    *isAlive = true;
    EXPECT_TRUE(waitUntilPrepared());
}

TEST_F(PlaylistServices, EndWithTheWorker)
{
    std::atomic<bool> isServing{false};
    music.served = [&](const CMRequest& /*request*/) { isServing = true; };
    music.addContainer({}, QStringLiteral("a"));
    music.addLoop(QStringLiteral("a"), 0);
    music.addLoop(QStringLiteral("a"), 0);
    // Some run, and some wait for these.
    std::vector<CMReply<QVariant>> additions;
    while (additions.size() < 10)
        additions.push_back(send(QStringLiteral("addToQueue"), source("a")));
    ASSERT_TRUE(processEventsUntil([&] { return isServing.load(); }));
    worker.reset();
    for (const CMReply<QVariant>& addition : additions)
        EXPECT_TRUE(addition.isError());
}

class PlaylistPlayer : public PlaylistWorkerTest
{
};

TEST_F(PlaylistPlayer, IsTheValueOfItsPath)
{
    const QVariantHash value = player();
    for (const char* key :
         {"state", "current", "next", "position", "at", "now", "serial", "output", "volume", "repeat", "shuffle"})
        EXPECT_TRUE(value.contains(QString::fromUtf8(key))) << key;
    EXPECT_EQ(value.value(QStringLiteral("state")), QStringLiteral("stopped"));
    EXPECT_EQ(value.value(QStringLiteral("repeat")), QStringLiteral("off"));
    EXPECT_FALSE(value.value(QStringLiteral("output")).isValid());
}

TEST_F(PlaylistPlayer, NeedsAnOutput)
{
    set("addToQueue", source("single"));
    EXPECT_EQ(errorOf(QStringLiteral("player/play")), "noOutput");
    EXPECT_EQ(errorOf(QStringLiteral("player/output"), QStringLiteral("phone")), "noOutput");
}

TEST_F(PlaylistPlayer, ObeysAllCommands)
{
    set("addToQueue", source("album"));
    offer("phone");
    set("player/output", QStringLiteral("phone"));
    set("player/play");
    EXPECT_EQ(stateOfPlayer(), "playing");
    set("player/next");
    EXPECT_EQ(player().value(QStringLiteral("current")), 2);
    set("player/previous");
    EXPECT_EQ(player().value(QStringLiteral("current")), 1);
    set("player/seek", 1234);
    EXPECT_EQ(player().value(QStringLiteral("position")), 1234);
    set("player/volume", 30);
    set("player/repeat", QStringLiteral("all"));
    set("player/shuffle", true);
    set("player/pause");
    EXPECT_EQ(stateOfPlayer(), "paused");
    set("player/stop");
    EXPECT_EQ(stateOfPlayer(), "stopped");
    const QVariantHash value = player();
    EXPECT_EQ(value.value(QStringLiteral("volume")), 30);
    EXPECT_EQ(value.value(QStringLiteral("repeat")), QStringLiteral("all"));
    EXPECT_EQ(value.value(QStringLiteral("shuffle")), true);
    set("player/output", QVariant::fromValue(nullptr));
    EXPECT_FALSE(player().value(QStringLiteral("output")).isValid());
}

TEST_F(PlaylistPlayer, FollowsTheReportsOfItsOutput)
{
    set("addToQueue", source("album"));
    offer("phone");
    set("player/output", QStringLiteral("phone"));
    set("player/play");
    const QVariantHash report{
        {QStringLiteral("id"), 2},
        {QStringLiteral("state"), QStringLiteral("playing")},
        {QStringLiteral("position"), 100},
        {QStringLiteral("duration"), 5000},
        {QStringLiteral("serial"), player().value(QStringLiteral("serial"))}};
    EXPECT_EQ(errorOf(QStringLiteral("outputs/tv/report"), report), "noOutput");
    set("outputs/phone/report", report);
    EXPECT_EQ(player().value(QStringLiteral("current")), 2);
    EXPECT_EQ(player().value(QStringLiteral("position")), 100);
}

TEST_F(PlaylistPlayer, IsPausedAfterARestart)
{
    set("addToQueue", source("album"));
    offer("phone");
    set("player/output", QStringLiteral("phone"));
    set("player/play", 2);
    restart();
    EXPECT_EQ(stateOfPlayer(), "paused");
    EXPECT_EQ(player().value(QStringLiteral("current")), 2);
    EXPECT_FALSE(player().value(QStringLiteral("output")).isValid());
    EXPECT_EQ(rows(QStringLiteral("outputs")).rowsCount(), 0);
}

class PlaylistChanges : public PlaylistWorkerTest
{
};

TEST_F(PlaylistChanges, OfTheQueueReachItsClientsWithTheNewVersion)
{
    ASSERT_TRUE(open(""));
    const int added = versionIn(set("addToQueue", source("album")));
    EXPECT_EQ(client.nextVersion(QString()), added);
    ASSERT_TRUE(waitUntilPrepared());
    EXPECT_EQ(client.nextVersion(QString()), version());
    const int removed = versionIn(set("remove", QVariantList{1}));
    EXPECT_EQ(client.nextVersion(QString()), removed);
}

TEST_F(PlaylistChanges, OfThePlayerReachItsClients)
{
    ASSERT_TRUE(open("player"));
    set("player/volume", 10);
    const int version = client.nextVersion(QStringLiteral("player"));
    EXPECT_GT(version, 0);
    EXPECT_EQ(rows(QStringLiteral("player")).rowsVersion(), version);
}

TEST_F(PlaylistChanges, OfTheOutputsReachTheirClients)
{
    ASSERT_TRUE(open("outputs"));
    offer("phone");
    EXPECT_GT(client.nextVersion(QStringLiteral("outputs")), 0);
    const TavoRowsRoles page = rows(QStringLiteral("outputs"), {TavoRoles::Path(), TavoRoles::Title()});
    EXPECT_EQ(
        page.rows(), (QVariantList{QVariantList{QStringLiteral("/playlist/outputs/phone"), QStringLiteral("phone")}}));
    close("outputs/phone");
    const int withdrawn = client.nextVersion(QStringLiteral("outputs"));
    EXPECT_EQ(withdrawn, rows(QStringLiteral("outputs")).rowsVersion());
    EXPECT_EQ(rows(QStringLiteral("outputs")).rowsCount(), 0);
}

TEST_F(PlaylistChanges, ThatChangeNothingReachNobody)
{
    set("addToQueue", source("album"));
    ASSERT_TRUE(waitUntilPrepared());
    ASSERT_TRUE(open(""));
    const int before = version();
    set("remove", QVariantList());
    set("move", QVariantHash{{QStringLiteral("ids"), QVariantList{1}}, {QStringLiteral("after"), 1}});
    EXPECT_EQ(version(), before);
    const int after = versionIn(set("clear"));
    EXPECT_EQ(client.nextVersion(QString()), after);
    EXPECT_EQ(client.received.size(), 1U);
}

TEST_F(PlaylistChanges, OfOtherPathsCannotBeFollowed)
{
    for (const char* base : {"nothing", "queue/1", "outputs/a/b", "menu/context", "player/play", ".."})
        EXPECT_FALSE(open(base)) << base;
}

class PlaylistOutputs : public PlaylistWorkerTest
{
protected:
    [[nodiscard]] QStringList outputs() const
    {
        QStringList names;
        for (const QVariant& row : rows(QStringLiteral("outputs")).rows())
            names.append(row.toList().value(0).toString());
        return names;
    }
};

TEST_F(PlaylistOutputs, StayUntilTheLastOfTheirClientsGoes)
{
    offer("phone");
    {
        PlaylistClient second;
        ASSERT_TRUE(worker->connectChange(path("outputs/phone"), &second));
        close("outputs/phone");
        set("player/volume", 10);
        EXPECT_THAT(outputs(), ElementsAre(QStringLiteral("phone")));
    }
    EXPECT_TRUE(processEventsUntil([this] { return outputs().isEmpty(); }));
}

TEST_F(PlaylistOutputs, ThatGoPauseThePlayer)
{
    set("addToQueue", source("single"));
    offer("phone");
    set("player/output", QStringLiteral("phone"));
    set("player/play");
    close("outputs/phone");
    set("player/volume", 10);
    EXPECT_EQ(stateOfPlayer(), "paused");
    EXPECT_FALSE(player().value(QStringLiteral("output")).isValid());
}

TEST_F(PlaylistOutputs, AreAFewHundredAtMost)
{
    for (int i = 0; i < 256; ++i)
        ASSERT_TRUE(open(("outputs/" + std::to_string(i)).c_str())) << i;
    EXPECT_FALSE(open("outputs/another"));
    EXPECT_TRUE(open("outputs/0"));
    close("outputs/0");
    EXPECT_TRUE(open("outputs/another"));
}

TEST_F(PlaylistOutputs, HaveNamesOfOneSegment)
{
    const std::string longest(64, 'x');
    for (const std::string& name : {std::string("Küche"), std::string("a b.c:d"), longest})
        EXPECT_TRUE(open(("outputs/" + name).c_str())) << name;
    for (const std::string& name : {longest + 'x', std::string("a\nb"), std::string("a/b")})
        EXPECT_FALSE(open(("outputs/" + name).c_str())) << name;
}

class PlaylistMenu : public PlaylistWorkerTest
{
protected:
    [[nodiscard]] CMReply<TavoRowsRoles> menuOf(const QString& item) const
    {
        const QString base = TavoContextMenuPath() + QLatin1Char('/') + item;
        const QStringList roles = {TavoRoles::Title(), TavoRoles::Path(), TavoRoles::Value()};
        const CMGetRowsRequest request(CMPath(QStringLiteral("playlist"), base), 0, 99, 0, roles);
        CMRoot()->request(request);
        return request.reply();
    }
};

TEST_F(PlaylistMenu, OfAnEntryLeadsToServicesThatWork)
{
    set("addToQueue", source("album"));
    const TavoRowsRoles menu = menuOf(QStringLiteral("/playlist/queue/2")).value();
    QStringList titles;
    for (const QVariant& row : menu.rows())
        titles.append(row.toList().value(0).toString());
    EXPECT_EQ(
        titles, (QStringList{
                    QStringLiteral("Play"), QStringLiteral("Play Next"), QStringLiteral("Remove"),
                    QStringLiteral("Show Folder")}));
    EXPECT_EQ(menu.roles().containerType(), TavoRolesContainerType::ContextMenu);
    for (int action : {1, 2}) {
        const QVariantList row = menu.rows().value(action).toList();
        const CMPath service = CMPath::fromEncoded(row.value(1).toString());
        set(service.base().toUtf8().constData(), row.value(2));
    }
    EXPECT_THAT(ids(), ElementsAre(1, 3));
    EXPECT_EQ(menu.rows().value(3).toList().value(1), source("album"));
}

TEST_F(PlaylistMenu, ShowsTheRootAsTheFolderOfItsItems)
{
    set("addToQueue", source("single"));
    const QVariantList rows = menuOf(QStringLiteral("/playlist/queue/1")).value().rows();
    EXPECT_EQ(rows.value(3).toList().value(1), source(""));
}

TEST_F(PlaylistMenu, IsRefusedWithoutAnEntry)
{
    for (const char* item : {"", "/playlist/queue/1", "/music/single", "/playlist/player"})
        EXPECT_TRUE(menuOf(QString::fromUtf8(item)).isError()) << item;
}

TEST(PlaylistWorkers, HaveThePrefixPlaylistByDefault)
{
    const std::unique_ptr<CMWorker> worker(worker_create(nullptr, {}));
    EXPECT_EQ(worker->prefix(), QStringLiteral("playlist"));
    EXPECT_EQ(worker->name(), QStringLiteral("CMPlaylistWorker"));
}

TEST(PlaylistWorkers, KeepNothingWithoutADirectory)
{
    const QVariantHash configuration{{TavoService_Id(), QStringLiteral("other")}};
    const std::unique_ptr<CMWorker> worker(worker_create(nullptr, configuration));
    const CMSetDataRequest request(worker->addPrefix(QStringLiteral("player/volume")), 10);
    worker->setDataRequest(request);
    EXPECT_TRUE(request.reply().waitForFinished(20'000));
    EXPECT_FALSE(request.reply().isError());
}

} // namespace
