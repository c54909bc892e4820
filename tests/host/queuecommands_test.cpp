#include "support/scriptedserver.h"
#include "support/tavo.h"
#include "support/words.h"

#include "printers.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

QJsonValue json(const QByteArray& text)
{
    return QJsonDocument::fromJson('[' + text + ']').array().first();
}

QByteArray text(const QJsonValue& value)
{
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

QByteArray result(const QByteArray& value)
{
    return R"({"jsonrpc":"2.0","id":1,"result":)" + value + '}';
}

QByteArray error(const QByteArray& name, const QByteArray& message)
{
    return R"({"jsonrpc":"2.0","id":1,"error":{"code":-32000,"message":")" + message + R"(","data":{"name":")" + name +
           R"("}}})";
}

const QByteArray oneRoot = R"({"roots":[{"kind":"files","prefix":"/file"},{"kind":"playlist","prefix":"/playlist"}]})";
const QByteArray twoRoots = R"({"roots":[{"kind":"files","prefix":"/file"},{"kind":"files","prefix":"/my%20disk"},)"
                            R"({"kind":"playlist","prefix":"/playlist"}]})";

/// Commands, and a server whose answers and questions the test knows.
class QueueCommands : public testing::Test
{
protected:
    QueueCommands()
    {
        answer("describe", result(oneRoot));
        answer("data /playlist/player", result(R"([{"state":"stopped","current":null}])"));
    }

    [[nodiscard]] Outcome run(const QStringList& arguments) const
    {
        Tavo tavo;
        tavo.setVariable(QStringLiteral("TAVO_SERVER"), server.url());
        tavo.start(arguments);
        return tavo.finish();
    }

    [[nodiscard]] Outcome run(const char* arguments) const { return run(words(arguments)); }

    /// The line on standard error with which the program ends.
    [[nodiscard]] std::string problemOf(const char* arguments, int status) const
    {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, status) << arguments;
        EXPECT_THAT(outcome.output.toStdString(), IsEmpty());
        EXPECT_EQ(outcome.errors.count('\n'), 1) << outcome.errors.toStdString();
        return outcome.errors.toStdString();
    }

    /// What the command sets: the path, a space, and the value.
    [[nodiscard]] QByteArray setBy(const char* arguments)
    {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        QJsonObject parameters;
        for (const QJsonObject& message : messages()) {
            if (message.value(QLatin1String("method")) == QLatin1String("set"))
                parameters = message.value(QLatin1String("params")).toObject();
        }
        return parameters.value(QLatin1String("path")).toString().toUtf8() + ' ' +
               text(parameters.value(QLatin1String("value")));
    }

    /// `request`: a method, and the path if it has one.
    void answer(const char* request, const QByteArray& message)
    {
        const std::lock_guard lock(m_mutex);
        m_answers[QString::fromLatin1(request)] = message;
    }

    /// Those that the server has received.
    [[nodiscard]] QList<QJsonObject> messages()
    {
        const std::lock_guard lock(m_mutex);
        return m_messages;
    }

private:
    [[nodiscard]] QByteArray answerTo(const QByteArray& request)
    {
        const QJsonObject message = json(request.mid(request.indexOf("\r\n\r\n"))).toObject();
        const QString method = message.value(QLatin1String("method")).toString();
        const QString path = message.value(QLatin1String("params")).toObject().value(QLatin1String("path")).toString();
        const std::lock_guard lock(m_mutex);
        m_messages.append(message);
        const QByteArray usual = result(method == QLatin1String("set") ? "{\"version\":2}" : "null");
        return httpResponse(m_answers.value(QString(method + QLatin1Char(' ') + path).trimmed(), usual));
    }

    std::mutex m_mutex;
    QMap<QString, QByteArray> m_answers;
    QList<QJsonObject> m_messages;

protected:
    const ScriptedServer server{[this](const QByteArray& request) { return answerTo(request); }};
};

/// With the roles that the commands ask for.
QByteArray row(int id, const QByteArray& title, const QByteArray& mediaData = "null")
{
    return R"(["/playlist/queue/)" + QByteArray::number(id) + R"(",")" + title + R"(","audio",false,{},)" + mediaData +
           R"(,null,"/file/x.opus"])";
}

QByteArray page(const QByteArrayList& rows, int count, int version = 4)
{
    return result(
        R"({"count":)" + QByteArray::number(count) + R"(,"version":)" + QByteArray::number(version) + R"(,"rows":[)" +
        rows.join(',') + "]}");
}

TEST_F(QueueCommands, QueueIsATableWithTheCurrentEntryMarked)
{
    answer("data /playlist/player", result(R"([{"state":"playing","current":12}])"));
    const QByteArray media = R"({"metaData":{"artist":"Low Orbit Choir","album":"Perigee"},)"
                             R"("resources":[{"duration":245000}]})";
    answer("rows /playlist/", page({row(3, "01.opus"), row(12, "Umbra #2", media)}, 2));
    const Outcome outcome = run("queue");
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    EXPECT_EQ(
        outcome.output, "   ID  TITLE     ARTIST           ALBUM    DURATION\n"
                        "   3   01.opus   -                -        -\n"
                        ">  12  Umbra #2  Low Orbit Choir  Perigee  4:05\n");
}

TEST_F(QueueCommands, JsonHasRowsAndPlayer)
{
    answer("rows /playlist/", page({row(3, "x")}, 1));
    const QJsonObject queue = json(run("queue --json").output).toObject();
    EXPECT_EQ(queue.value(QLatin1String("count")), QJsonValue(1));
    EXPECT_EQ(queue.value(QLatin1String("version")), QJsonValue(4));
    EXPECT_EQ(text(queue.value(QLatin1String("rows"))), '[' + row(3, "x") + ']');
    EXPECT_EQ(text(queue.value(QLatin1String("player"))), R"({"current":null,"state":"stopped"})");
}

TEST_F(QueueCommands, RowsThatComeInPartsAreAskedForAgain)
{
    answer("rows /playlist/", page({row(1, "a"), row(2, "b")}, 4));
    EXPECT_EQ(linesOf(run("queue").output).size(), 1 + 4);
    QStringList asked;
    for (const QJsonObject& message : messages()) {
        const QJsonObject parameters = message.value(QLatin1String("params")).toObject();
        if (message.value(QLatin1String("method")) == QLatin1String("rows"))
            asked += QString::fromLatin1(
                text(parameters.value(QLatin1String("first"))) + ' ' +
                text(parameters.value(QLatin1String("version"))));
    }
    EXPECT_THAT(asked, ElementsAre(QStringLiteral("0 0"), QStringLiteral("2 4")));
}

TEST_F(QueueCommands, RowsThatNeverComeAreAFailure)
{
    answer("rows /playlist/", page({}, 3));
    EXPECT_THAT(problemOf("queue", 1), HasSubstr("faster than they can be read"));
}

TEST_F(QueueCommands, EditsSetServicesOfTheQueue)
{
    EXPECT_EQ(setBy("queue add Albums/Blue #1.mp3"), R"(/playlist/addToQueue ["/file/Albums/Blue","/file/%231.mp3"])");
    EXPECT_EQ(setBy("queue next ./a//b/"), R"(/playlist/playNext ["/file/a/b"])");
    EXPECT_EQ(setBy("queue play ."), R"(/playlist/playNow ["/file/"])");
    EXPECT_EQ(setBy("queue replace a"), R"(/playlist/replaceQueue ["/file/a"])");
    EXPECT_EQ(setBy("queue remove 1 9007199254740991"), "/playlist/remove [1,9007199254740991]");
    EXPECT_EQ(setBy("queue move 7 5 --after 3"), R"(/playlist/move {"after":3,"ids":[7,5]})");
    EXPECT_EQ(setBy("queue move 7 --after head"), R"(/playlist/move {"after":"head","ids":[7]})");
    EXPECT_EQ(setBy("queue clear"), "/playlist/clear null");
    EXPECT_EQ(setBy("queue shuffle"), "/playlist/shuffleQueue null");
    EXPECT_EQ(setBy("queue undo 7"), "/playlist/undo 7");
}

TEST_F(QueueCommands, CommandsOfThePlayerSetItsServices)
{
    EXPECT_EQ(setBy("play"), "/playlist/player/play null");
    EXPECT_EQ(setBy("play 12"), "/playlist/player/play 12");
    EXPECT_EQ(setBy("pause"), "/playlist/player/pause null");
    EXPECT_EQ(setBy("stop"), "/playlist/player/stop null");
    EXPECT_EQ(setBy("next"), "/playlist/player/next null");
    EXPECT_EQ(setBy("previous"), "/playlist/player/previous null");
    EXPECT_EQ(setBy("seek 90"), "/playlist/player/seek 90000");
    EXPECT_EQ(setBy("seek 1:30.25"), "/playlist/player/seek 90250");
    EXPECT_EQ(setBy("seek 1:02:03"), "/playlist/player/seek 3723000");
    EXPECT_EQ(setBy("volume 40"), "/playlist/player/volume 40");
    EXPECT_EQ(setBy("repeat one"), R"(/playlist/player/repeat "one")");
    EXPECT_EQ(setBy("shuffle on"), "/playlist/player/shuffle true");
    EXPECT_EQ(setBy("shuffle off"), "/playlist/player/shuffle false");
    EXPECT_EQ(setBy("output Kitchen"), R"(/playlist/player/output "Kitchen")");
    EXPECT_EQ(setBy("output --none"), "/playlist/player/output null");
}

TEST_F(QueueCommands, PathsNameTheirRoot)
{
    EXPECT_EQ(
        setBy("queue add file:a ./file:a /file/a%20b"),
        R"(/playlist/addToQueue ["/file/a","/file/file%3Aa","/file/a%20b"])");
    EXPECT_EQ(setBy("queue add colon:a"), R"(/playlist/addToQueue ["/file/colon%3Aa"])");
    answer("describe", result(twoRoots));
    EXPECT_EQ(setBy("queue add file: /my%20disk/a"), R"(/playlist/addToQueue ["/file/","/my%20disk/a"])");
    EXPECT_THAT(problemOf("queue add a", 2), HasSubstr("file, my disk"));
    EXPECT_THAT(problemOf("queue add colon:a", 2), HasSubstr("'colon:a'"));
}

TEST_F(QueueCommands, EditsSayWhatTheyHaveDone)
{
    answer("set /playlist/addToQueue", result(R"({"added":1,"first":9,"version":5})"));
    answer("set /playlist/replaceQueue", result(R"({"added":12,"first":9,"undo":3,"version":5})"));
    EXPECT_EQ(run("queue add a").output, "added 1 entry\n");
    EXPECT_EQ(
        run("queue replace a").output, "added 12 entries\n"
                                       "'tavo queue undo 3' brings back what was removed\n");
    EXPECT_EQ(run("queue shuffle").output, "");
    EXPECT_EQ(run("queue add a --json").output, "{\"added\":1,\"first\":9,\"version\":5}\n");
}

TEST_F(QueueCommands, PathsWithNothingToPlayAreWarnedOf)
{
    answer(
        "set /playlist/addToQueue", result(R"({"added":1,"first":9,"missing":["/file/a%20b","/file/c"],"version":5})"));
    const Outcome outcome = run({"queue", "add", "a b", "d", "./c"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "added 1 entry\n");
    EXPECT_EQ(
        outcome.errors, "tavo: there is nothing to play at 'a b'\n"
                        "tavo: there is nothing to play at './c'\n");
}

TEST_F(QueueCommands, PlayingWithoutAnOutputIsNoted)
{
    answer("data /playlist/player", result(R"([{"output":null}])"));
    const Outcome silent = run("queue play a");
    EXPECT_EQ(silent.status, 0);
    EXPECT_THAT(silent.errors.toStdString(), HasSubstr("'tavo output'"));
    EXPECT_THAT(run("queue add a").errors.toStdString(), IsEmpty());
    answer("data /playlist/player", result(R"([{"output":"Kitchen"}])"));
    EXPECT_THAT(run("queue play a").errors.toStdString(), IsEmpty());
}

TEST_F(QueueCommands, PlayerIsATable)
{
    answer(
        "data /playlist/player",
        result(R"([{"state":"playing","current":12,"position":61000,"at":5000,"now":9000,"output":"Kitchen",)"
               R"("volume":80,"repeat":"off","shuffle":true,"failed":11,"failure":"no such file"}])"));
    answer(
        "data /playlist/queue/12",
        result(R"(["Umbra #2",{"metaData":{"artist":"Low Orbit Choir"},"resources":[{"duration":245000}]}])"));
    EXPECT_EQ(
        run("player").output, "PROPERTY  VALUE\n"
                              "state     playing\n"
                              "entry     12\n"
                              "title     Umbra #2\n"
                              "artist    Low Orbit Choir\n"
                              "album     -\n"
                              "position  1:05 of 4:05\n"
                              "output    Kitchen\n"
                              "volume    80\n"
                              "repeat    off\n"
                              "shuffle   yes\n"
                              "failed    11: no such file\n");
}

TEST_F(QueueCommands, PlayerWithoutAnEntryHasNothingToSayOfIt)
{
    answer(
        "data /playlist/player",
        result(R"([{"state":"stopped","current":null,"output":null,"volume":100,"repeat":"all","shuffle":false}])"));
    EXPECT_EQ(
        run("player").output, "PROPERTY  VALUE\n"
                              "state     stopped\n"
                              "output    -\n"
                              "volume    100\n"
                              "repeat    all\n"
                              "shuffle   no\n");
    EXPECT_EQ(
        run("player --json").output, "{\"current\":null,\"output\":null,\"repeat\":\"all\",\"shuffle\":false,\"state\":"
                                     "\"stopped\",\"volume\":100}\n");
}

TEST_F(QueueCommands, OutputsAreATableWithTheActiveOneMarked)
{
    answer("data /playlist/player", result(R"([{"output":"Kitchen & hall"}])"));
    answer(
        "rows /playlist/outputs",
        page({R"(["/playlist/outputs/Desk"])", R"(["/playlist/outputs/Kitchen%20%26%20hall"])"}, 2));
    EXPECT_EQ(
        run("output").output, "   NAME\n"
                              "   Desk\n"
                              ">  Kitchen & hall\n");
    EXPECT_EQ(
        run("output --json").output, "{\"output\":\"Kitchen & hall\",\"outputs\":[\"Desk\",\"Kitchen & hall\"]}\n");
}

TEST_F(QueueCommands, WhatTheServerRefusesIsTold)
{
    answer("set /playlist/player/play", error("error", "Nothing can play"));
    EXPECT_EQ(problemOf("play", 1), "tavo: Nothing can play\n");
    answer("rows /playlist/", error("error", "Cannot be read"));
    EXPECT_EQ(problemOf("queue", 1), "tavo: Cannot be read\n");
}

TEST_F(QueueCommands, RefusalsOfTheQueueAreInWords)
{
    answer("set /playlist/player/play", error("noOutput", "'/playlist/player/play' is refused: noOutput"));
    EXPECT_THAT(problemOf("play", 1), HasSubstr("'tavo output'"));
    answer("set /playlist/undo", error("noSuchItem", "'/playlist/undo' is refused: noSuchItem"));
    EXPECT_THAT(problemOf("queue undo 3", 1), HasSubstr("cannot be undone"));
    answer("set /playlist/remove", error("noSuchItem", "'/playlist/remove' is refused: noSuchItem"));
    EXPECT_THAT(problemOf("queue remove 3", 1), HasSubstr("no such entry"));
    answer("set /playlist/addToQueue", error("noSuchItem", "'/playlist/addToQueue' is refused: noSuchItem"));
    EXPECT_THAT(problemOf("queue add a", 1), HasSubstr("nothing to play"));
}

TEST_F(QueueCommands, ServerWithoutQueueIsNamed)
{
    answer("describe", result(R"({"roots":[{"kind":"files","prefix":"/file"}]})"));
    for (const char* command : {"queue", "queue clear", "play", "player", "output"})
        EXPECT_EQ(problemOf(command, 1), "tavo: the server at " + server.url().toStdString() + " has no queue\n");
}

TEST_F(QueueCommands, WrongUseAsksNoServer)
{
    for (const char* command :
         {"queue foo",
          "queue add",
          "queue clear x",
          "queue shuffle x",
          "queue remove",
          "queue remove x",
          "queue remove 0",
          "queue remove -1",
          "queue move 1",
          "queue move --after 1",
          "queue move 1 --after x",
          "queue remove 1 --after 2",
          "queue --after 1",
          "queue undo",
          "queue undo x",
          "queue undo 1 2",
          "play x",
          "play 1 2",
          "pause x",
          "seek",
          "seek x",
          "seek 1:2:3:4",
          "seek -1",
          "volume",
          "volume 101",
          "volume x",
          "repeat",
          "repeat some",
          "shuffle",
          "shuffle maybe",
          "output a b",
          "output a --none",
          "pause --server https://home.example/",
          "pause --server localhost:8420",
          "pause --token-file /no/such"})
        EXPECT_THAT(problemOf(command, 2), testing::StartsWith("tavo: ")) << command;
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(QueueCommands, OptionComesBeforeTheEnvironment)
{
    const Outcome outcome = run("pause --server http://127.0.0.1:1/");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("no server answers at http://127.0.0.1:1/ "));
}

TEST_F(QueueCommands, RootsMayBeGivenButAreNotNeeded)
{
    EXPECT_EQ(run("--root /no/such pause").status, 0);
}

} // namespace
