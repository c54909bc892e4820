#include "support/names.h"
#include "support/pipe.h"
#include "support/sessionclient.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <future>
#include <limits>

#include <unistd.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class SessionProgram : public testing::Test
{
protected:
    SessionProgram()
    {
        tree.addFile(QStringLiteral("a/b/song.mp3"));
        tree.addFile(QStringLiteral("top.mp3"));
        client = std::make_unique<SessionClient>(QStringList{QStringLiteral("--root"), tree.root()});
    }

    [[nodiscard]] static QJsonObject path(const char* encoded)
    {
        return {{QStringLiteral("path"), QString::fromUtf8(encoded)}};
    }

    [[nodiscard]] int errorOf(const char* method, const QJsonValue& parameters) const
    {
        return errorCode(client->call(QString::fromUtf8(method), parameters));
    }

    /// The answer's error to a line that is no request.
    [[nodiscard]] int errorOfLine(const QByteArray& line) const
    {
        client->send(line);
        const QJsonObject answer = client->next();
        EXPECT_TRUE(answer.contains(QLatin1String("id"))) << line.left(100).toStdString();
        return errorCode(answer);
    }

    /// The answer as that to another request.
    [[nodiscard]] static QJsonObject withId(QJsonObject answer, const QJsonObject& other)
    {
        answer.insert(QStringLiteral("id"), other.value(QLatin1String("id")));
        return answer;
    }

    void expectAlive() const { EXPECT_EQ(errorCode(client->call(QStringLiteral("describe"))), 0); }

    [[nodiscard]] static QJsonObject resultOf(const QJsonObject& answer)
    {
        EXPECT_EQ(errorCode(answer), 0) << QJsonDocument(answer).toJson().toStdString();
        return answer.value(QLatin1String("result")).toObject();
    }

    /// What describe says of the only root, which the queue follows.
    [[nodiscard]] QJsonObject describedRoot() const
    {
        const QJsonObject result = resultOf(client->call(QStringLiteral("describe")));
        const QJsonArray roots = result.value(QLatin1String("roots")).toArray();
        EXPECT_EQ(roots.size(), 2);
        EXPECT_EQ(roots.last()[QStringLiteral("kind")].toString(), QStringLiteral("playlist"));
        return roots.first().toObject();
    }

    TemporaryTree tree;
    std::unique_ptr<SessionClient> client;
};

TEST_F(SessionProgram, DescribeListsTheRoots)
{
    const QJsonObject root = describedRoot();
    EXPECT_EQ(root.value(QLatin1String("prefix")).toString(), QStringLiteral("/file"));
    EXPECT_EQ(root.value(QLatin1String("title")).toString(), QFileInfo(tree.root()).fileName());
    EXPECT_EQ(root.value(QLatin1String("kind")).toString(), QStringLiteral("files"));
    EXPECT_EQ(root.value(QLatin1String("contextMenu")).toString(), QStringLiteral("/file/menu/context"));
    const QJsonObject services = root.value(QLatin1String("services")).toObject();
    for (const char* service : {"preparePlaylist", "prepareLibrary", "countFiles"})
        EXPECT_THAT(services.value(QLatin1String(service)).toString().toStdString(), testing::StartsWith("/file/"));
}

TEST_F(SessionProgram, DescribeListsRolesAndLimits)
{
    const QJsonObject result = resultOf(client->call(QStringLiteral("describe")));
    EXPECT_EQ(result.value(QLatin1String("protocol")).toInt(), 1);
    const QString version = result.value(QLatin1String("version")).toString();
    EXPECT_EQ(runTavo({QStringLiteral("--version")}).output, "tavo " + version.toUtf8() + '\n');
    EXPECT_TRUE(result.value(QLatin1String("roles")).toArray().contains(QStringLiteral("mediaData")));
    const QJsonObject limits = {
        {QStringLiteral("values"), 100'000},
        {QStringLiteral("items"), 1000},
        {QStringLiteral("open"), 1000},
        {QStringLiteral("message"), 1024 * 1024}};
    EXPECT_EQ(result.value(QLatin1String("limits")).toObject(), limits);
}

TEST_F(SessionProgram, DescribeTakesALanguage)
{
    const QJsonObject english = {{QStringLiteral("language"), QStringLiteral("en")}};
    EXPECT_EQ(errorOf("describe", english), 0);
    EXPECT_EQ(errorOf("describe", QJsonArray{QStringLiteral("de")}), 0);
}

TEST_F(SessionProgram, RowsOfTheTopAreTheRootsAndTheQueue)
{
    const QJsonObject page = resultOf(client->call(QStringLiteral("rows"), path("/")));
    EXPECT_EQ(page.value(QLatin1String("count")).toInt(), 2);
    const QJsonArray row = page.value(QLatin1String("rows")).toArray().first().toArray();
    EXPECT_EQ(row.size(), 7);
    EXPECT_EQ(row.at(0).toString(), QStringLiteral("/file/"));
    EXPECT_EQ(row.at(1).toString(), QFileInfo(tree.root()).fileName());
    EXPECT_EQ(row.at(2).toString(), QStringLiteral("container"));
}

TEST_F(SessionProgram, TopCanBeOpenedAndClosed)
{
    ASSERT_EQ(errorOf("open", path("/")), 0);
    EXPECT_GT(resultOf(client->call(QStringLiteral("rows"), path("/"))).value(QLatin1String("version")).toInt(), 0);
    EXPECT_EQ(errorOf("close", path("/")), 0);
    EXPECT_EQ(errorOf("close", path("/")), -32000);
}

TEST_F(SessionProgram, RowsTakeTheirParametersByNameOrInOrder)
{
    QJsonObject parameters = path("/file/");
    parameters.insert(QStringLiteral("first"), 1);
    parameters.insert(QStringLiteral("roles"), QJsonArray{QStringLiteral("title")});
    const QJsonObject byName = resultOf(client->call(QStringLiteral("rows"), parameters));
    EXPECT_EQ(byName.value(QLatin1String("count")).toInt(), 2);
    EXPECT_EQ(byName.value(QLatin1String("version")).toInt(-1), 0);
    EXPECT_EQ(
        byName.value(QLatin1String("rows")).toArray(), (QJsonArray{QJsonValue(QJsonArray{QStringLiteral("top.mp3")})}));
    const QJsonArray inOrder{QStringLiteral("/file/"), 1, 99, 0, QJsonArray{QStringLiteral("title")}};
    EXPECT_EQ(resultOf(client->call(QStringLiteral("rows"), inOrder)), byName);
}

TEST_F(SessionProgram, DataAreOneEntrysValues)
{
    QJsonObject parameters = path("/file/a");
    parameters.insert(QStringLiteral("roles"), QJsonArray{QStringLiteral("type"), QStringLiteral("nothing")});
    const QJsonObject answer = client->call(QStringLiteral("data"), parameters);
    EXPECT_EQ(
        answer.value(QLatin1String("result")).toArray(), (QJsonArray{QStringLiteral("container"), QJsonValue::Null}));
    EXPECT_EQ(errorOf("data", path("/file/missing")), -32000);
}

TEST_F(SessionProgram, ServicesAnswerToValues)
{
    const QJsonObject services = describedRoot().value(QLatin1String("services")).toObject();
    const auto set = [&](const char* service, const QJsonValue& value) {
        return client->call(QStringLiteral("set"), QJsonArray{services.value(QLatin1String(service)), value});
    };
    EXPECT_EQ(set("countFiles", QStringLiteral("a")).value(QLatin1String("result")).toInt(), 1);
    const QJsonArray ids{QStringLiteral("/file/a"), QStringLiteral("/file/top.mp3")};
    EXPECT_EQ(set("preparePlaylist", ids).value(QLatin1String("result")).toArray().size(), 2);
    EXPECT_EQ(set("prepareLibrary", ids).value(QLatin1String("result")).toArray().size(), 2);
    EXPECT_EQ(errorCode(set("countFiles", QStringLiteral("/etc"))), -32000);
}

TEST_F(SessionProgram, ValuesOfAnyTypeAreTaken)
{
    const QJsonArray values{
        QJsonValue::Null,
        true,
        1.5,
        -1,
        QStringLiteral("text"),
        QJsonArray{QJsonArray{}, QJsonObject{}, 1},
        QJsonObject{{QStringLiteral("a"), 1}}};
    for (const char* service : {"/file/playList/prepareItems", "/file/musicLibrary/prepareItems"}) {
        for (const QJsonValue value : values)
            EXPECT_EQ(errorOf("set", QJsonArray{QString::fromUtf8(service), value}), 0);
    }
    for (const QJsonValue value : values)
        EXPECT_NE(errorOf("set", QJsonArray{QStringLiteral("/file/filesystem/countFiles"), value}), -32602);
    expectAlive();
}

TEST_F(SessionProgram, ServiceWithoutAnAnswerIsReported)
{
    QJsonObject parameters = path("/file/no/such/service");
    parameters.insert(QStringLiteral("value"), 1);
    EXPECT_EQ(errorOf("set", parameters), -32001);
}

TEST_F(SessionProgram, WithoutAValueNullIsSet)
{
    const QJsonValue services[] = {
        QStringLiteral("/file/playList/prepareItems"), QStringLiteral("/file/musicLibrary/prepareItems")};
    for (const QJsonValue& service : services) {
        const QJsonObject answer = client->call(QStringLiteral("set"), QJsonArray{service});
        EXPECT_EQ(errorCode(answer), 0);
        EXPECT_EQ(answer, withId(client->call(QStringLiteral("set"), QJsonArray{service, QJsonValue::Null}), answer));
    }
}

TEST_F(SessionProgram, MenuIsThatOfAnItem)
{
    const QJsonObject menu = resultOf(client->call(QStringLiteral("menu"), path("/file/top.mp3")));
    EXPECT_EQ(
        menu.keys(), (QStringList{
                         QStringLiteral("containerType"), QStringLiteral("count"), QStringLiteral("rows"),
                         QStringLiteral("title")}));
    EXPECT_EQ(menu.value(QLatin1String("containerType")).toInt(), 100);
}

TEST_F(SessionProgram, MenuIsAlsoTheRowsBelowTheContextMenu)
{
    const QJsonObject menu = resultOf(client->call(QStringLiteral("menu"), path("/file/top.mp3")));
    const QJsonObject rows = resultOf(client->call(
        QStringLiteral("rows"), QJsonArray{
                                    QStringLiteral("/file/menu/context//file/top.mp3"), 0, 9, 0,
                                    resultOf(client->call(QStringLiteral("describe"))).value(QLatin1String("roles"))}));
    EXPECT_EQ(rows, menu);
    EXPECT_EQ(errorOf("rows", path("/file/menu/context")), -32000);
}

TEST_F(SessionProgram, RefusalCarriesNameMessageAndTitle)
{
    const QJsonObject error =
        client->call(QStringLiteral("rows"), path("/file/../x")).value(QLatin1String("error")).toObject();
    EXPECT_EQ(error.value(QLatin1String("code")).toInt(), -32000);
    const QJsonObject data = error.value(QLatin1String("data")).toObject();
    EXPECT_EQ(data.value(QLatin1String("name")).toString(), QStringLiteral("accessViolation"));
    EXPECT_EQ(data.value(QLatin1String("message")), error.value(QLatin1String("message")));
    EXPECT_FALSE(data.value(QLatin1String("title")).toString().isEmpty());
}

TEST_F(SessionProgram, ChangesOfOpenedPathsAreTold)
{
    ASSERT_EQ(errorOf("open", path("/file/a")), 0);
    tree.addFile(QStringLiteral("a/new.mp3"));
    const QJsonObject change = client->nextChange();
    EXPECT_EQ(change.value(QLatin1String("path")).toString(), QStringLiteral("/file/a"));
    EXPECT_EQ(change.value(QLatin1String("changes")).toArray(), QJsonArray{QStringLiteral("reset")});
    const QJsonObject rows = resultOf(client->call(QStringLiteral("rows"), path("/file/a")));
    EXPECT_EQ(rows.value(QLatin1String("version")), change.value(QLatin1String("version")));
}

TEST_F(SessionProgram, RowsOfAnOldVersionAreRefused)
{
    ASSERT_EQ(errorOf("open", path("/file/a")), 0);
    QJsonObject parameters = path("/file/a");
    const int version =
        resultOf(client->call(QStringLiteral("rows"), parameters)).value(QLatin1String("version")).toInt();
    EXPECT_GT(version, 0);
    parameters.insert(QStringLiteral("version"), version);
    EXPECT_EQ(errorOf("rows", parameters), 0);
    parameters.insert(QStringLiteral("version"), version + 1);
    EXPECT_EQ(errorOf("rows", parameters), -32000);
}

TEST_F(SessionProgram, OpenAndCloseRunInTheirOrder)
{
    QList<int> ids;
    for (int round = 0; round < 50; ++round) {
        ids.append(client->request(QStringLiteral("open"), path("/file/a/b")));
        ids.append(client->request(QStringLiteral("close"), path("/file/a/b")));
    }
    for (const int id : ids) {
        const QJsonObject answer = client->next();
        EXPECT_EQ(answer.value(QLatin1String("id")).toInt(), id);
        EXPECT_EQ(errorCode(answer), 0);
    }
}

TEST_F(SessionProgram, WhatTheSessionGuardsDoesNotReachTheWorker)
{
    EXPECT_EQ(errorOf("rows", QJsonArray{QStringLiteral("/file/"), -1}), -32602);
    EXPECT_EQ(errorOf("rows", QJsonArray{QStringLiteral("/file/"), 0, -2}), -32602);
    EXPECT_EQ(errorOf("rows", QJsonArray{QStringLiteral("/file/"), 0, 9, -1}), -32602);
    for (const char* encoded :
         {"/file/a/../a", "/file//etc", "/file/..", "/file/./a", "/file/a%2F%2Fb", "/file/a%00", "/file/top.mp3",
          "/file/missing", "/other/a", "/other/", "//a", "a", "/file/menu/context"})
        EXPECT_EQ(errorOf("open", path(encoded)), -32000) << encoded;
    EXPECT_EQ(errorOf("close", path("/file/a")), -32000);
    expectAlive();
}

TEST_F(SessionProgram, ParametersOfAnotherTypeAreInvalid)
{
    const QList<QJsonValue> parameters = {
        QJsonValue::Undefined,
        QJsonArray{},
        QJsonArray{1},
        QJsonArray{QJsonValue::Null},
        QJsonArray{QStringLiteral("/file/"), 1.5},
        QJsonArray{QStringLiteral("/file/"), QStringLiteral("1")},
        QJsonArray{QStringLiteral("/file/"), QJsonValue::Null},
        QJsonArray{QStringLiteral("/file/"), 1e300},
        QJsonArray{QStringLiteral("/file/"), 4294967296.0},
        QJsonArray{QStringLiteral("/file/"), 0, true},
        QJsonArray{QStringLiteral("/file/"), 0, 0, QJsonArray{}},
        QJsonArray{QStringLiteral("/file/"), 0, 0, 0, QStringLiteral("title")},
        QJsonArray{QStringLiteral("/file/"), 0, 0, 0, QJsonArray{1}},
        QJsonArray{QStringLiteral("/file/"), 0, 0, 0, QJsonArray{}, 0},
        QJsonArray{
            QStringLiteral("/file/"), 0, 0, 0,
            QJsonArray::fromVariantList(QVector<QVariant>(101, QStringLiteral("title")).toList())},
        QJsonObject{{QStringLiteral("path"), QStringLiteral("/file/")}, {QStringLiteral("frist"), 0}}};
    for (const QJsonValue& given : parameters)
        EXPECT_EQ(errorOf("rows", given), -32602) << QJsonDocument(QJsonArray{given}).toJson().toStdString();
    client->send(R"({"jsonrpc":"2.0","id":4711,"method":"rows","params":["/file/",1e400]})");
    EXPECT_EQ(errorCode(client->answerTo(4711)), -32602);
    EXPECT_EQ(errorOf("set", QJsonArray{}), -32602);
    EXPECT_EQ(errorOf("describe", QJsonArray{1}), -32602);
    EXPECT_EQ(errorOf("open", QJsonArray{}), -32602);
}

TEST_F(SessionProgram, UnknownMethodsAreRefused)
{
    EXPECT_EQ(errorOf("Rows", path("/file/")), -32601);
    EXPECT_EQ(errorOf("", QJsonValue::Undefined), -32601);
}

TEST_F(SessionProgram, MalformedLinesAreAnswered)
{
    EXPECT_EQ(errorOfLine("not json"), -32700);
    EXPECT_EQ(errorOfLine(""), -32700);
    EXPECT_EQ(errorOfLine("{\"a\":\"\xff\xfe\"}"), -32700);
    EXPECT_EQ(errorOfLine(QByteArray("{}\0{}", 5)), -32700);
    EXPECT_EQ(errorOfLine(QByteArray(100000, '[')), -32700);
    EXPECT_EQ(errorOfLine("[]"), -32600);
    EXPECT_EQ(errorOfLine("17"), -32600);
    EXPECT_EQ(errorOfLine(R"({"jsonrpc":"2.0","method":[]})"), -32600);
    expectAlive();
}

TEST_F(SessionProgram, OversizedLineIsRefusedAndPassedOver)
{
    EXPECT_EQ(errorOfLine(QByteArray(3 * 1024 * 1024, 'x')), -32600);
    expectAlive();
}

TEST_F(SessionProgram, LargeLineIsServed)
{
    QJsonObject parameters = path("/file/filesystem/countFiles");
    parameters.insert(QStringLiteral("value"), QString(900000, QLatin1Char('x')));
    EXPECT_EQ(errorOf("set", parameters), 0);
}

TEST_F(SessionProgram, LongestLineIsServed)
{
    constexpr int limit = 1024 * 1024;
    const QByteArray head = R"({"jsonrpc":"2.0","id":1,"method":"set","params":["/file/filesystem/countFiles",")";
    const QByteArray tail = R"("]})";
    client->send(head + QByteArray(limit - head.size() - tail.size(), 'x') + tail);
    EXPECT_EQ(errorCode(client->answerTo(1)), 0);
    EXPECT_EQ(errorOfLine(head + QByteArray(limit - head.size() - tail.size() + 1, 'x') + tail), -32600);
}

TEST_F(SessionProgram, DeepNestingIsRefused)
{
    constexpr int depth = 100'000;
    for (const char* bracket : {"[", R"({"a":)"}) {
        const bool isList = *bracket == '[';
        const QByteArray value =
            QByteArray(bracket).repeated(depth) + '1' + QByteArray(isList ? "]" : "}").repeated(depth);
        EXPECT_EQ(errorOfLine(value), -32700);
        EXPECT_EQ(
            errorOfLine(
                R"({"jsonrpc":"2.0","id":1,"method":"set","params":["/file/filesystem/countFiles",)" + value + "]}"),
            -32700);
    }
    expectAlive();
}

TEST_F(SessionProgram, NotificationsAreNotAnswered)
{
    client->send(R"({"jsonrpc":"2.0","method":"rows","params":["/file/"]})");
    client->send(R"({"jsonrpc":"2.0","method":"nothing"})");
    client->send(R"({"jsonrpc":"2.0","method":"open","params":["/file/missing"]})");
    client->send(R"({"jsonrpc":"2.0","method":"open","params":["/file/a"]})");
    const QJsonObject answer = client->call(QStringLiteral("close"), path("/file/a"));
    EXPECT_EQ(errorCode(answer), 0);
    EXPECT_THAT(client->program().finish().output.toStdString(), IsEmpty());
}

TEST_F(SessionProgram, AnswerHasTheIdOfItsRequest)
{
    for (const char* id : {"\"text\"", "0", "-7", "1.5", "null", "\"\\u0000\\ud800\"", "9007199254740993"}) {
        client->send(QByteArray(R"({"jsonrpc":"2.0","method":"describe","id":)") + id + '}');
        const QByteArray line = client->program().readLine();
        EXPECT_TRUE(line.contains(QByteArray("\"id\":") + id)) << id << line.left(60).toStdString();
    }
}

TEST_F(SessionProgram, EverythingIsAnsweredBeforeTheEnd)
{
    QSet<int> ids;
    QByteArray lines;
    for (int id = 1; id <= 2000; ++id) {
        const char* method = id % 3 == 0 ? "open" : "rows";
        lines += R"({"jsonrpc":"2.0","id":)" + QByteArray::number(id) + R"(,"method":")" + method +
                 R"(","params":["/file/a"]})" + '\n';
        ids.insert(id);
    }
    lines.chop(1);
    client->program().write(lines);
    const Outcome outcome = client->program().finish();
    EXPECT_EQ(outcome.status, 0);
    for (const QByteArray& line : linesOf(outcome.output)) {
        const QJsonObject answer = QJsonDocument::fromJson(line).object();
        EXPECT_EQ(errorCode(answer), 0);
        EXPECT_TRUE(ids.remove(answer.value(QLatin1String("id")).toInt())) << line.toStdString();
    }
    EXPECT_THAT(ids, IsEmpty());
}

TEST_F(SessionProgram, EmptyInputIsAQuietEnd)
{
    const Outcome outcome = client->program().finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output.toStdString(), IsEmpty());
    EXPECT_THAT(outcome.errors.toStdString(), IsEmpty());
}

TEST_F(SessionProgram, SignalsEndItCleanly)
{
    for (const int signalNumber : {SIGINT, SIGTERM}) {
        SessionClient other({QStringLiteral("--root"), tree.root()});
        EXPECT_EQ(errorCode(other.call(QStringLiteral("open"), path("/file/a"))), 0);
        other.program().signal(signalNumber);
        const Outcome outcome = other.program().finish();
        EXPECT_EQ(outcome.status, 0) << signalNumber;
        EXPECT_THAT(outcome.errors.toStdString(), IsEmpty());
    }
}

TEST_F(SessionProgram, EndsWhenNobodyReadsAnyMore)
{
    Pipe pipe;
    SessionClient other;
    other.program().setStandardOutputFile(pipe.writingFileName());
    other.start({QStringLiteral("--root"), tree.root()});
    pipe.closeWritingEnd();
    pipe.closeReadingEnd();
    other.send(R"({"jsonrpc":"2.0","id":1,"method":"describe"})");
    // The input stays open: it is the output that ends the session.
    EXPECT_EQ(other.program().waitForEnd().status, 0);
}

TEST_F(SessionProgram, FullDiskIsAFailure)
{
    SessionClient other;
    other.program().setStandardOutputFile(QStringLiteral("/dev/full"));
    other.start({QStringLiteral("--root"), tree.root()});
    other.send(R"({"jsonrpc":"2.0","id":1,"method":"describe"})");
    const Outcome outcome = other.program().waitForEnd();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "tavo: cannot write: No space left on device\n");
}

/// A session whose log nobody reads: a request that logs hangs until somebody does.
class UnreadLog : public testing::Test
{
protected:
    void start(const char* level)
    {
        for (int i = 0; i < files; ++i)
            tree.addFile(QStringLiteral("%1.mp3").arg(i));
        client.program().setStandardErrorFile(log.writingFileName());
        client.start({QStringLiteral("--root"), tree.root(), QStringLiteral("--log-level"), QString::fromUtf8(level)});
    }

    /// A program that still starts would never get to its requests.
    void fillLogOnceItServes()
    {
        EXPECT_EQ(errorCode(client.call(QStringLiteral("describe"))), 0);
        log.fill();
    }

    void readLog()
    {
        log.closeWritingEnd();
        reading = std::async(
            std::launch::async, [this] { static_cast<void>(log.readLines(std::numeric_limits<int>::max())); });
    }

    void expectAnswers(const QList<int>& requests)
    {
        for (const int request : requests) {
            const QJsonObject answer = client.answerTo(request);
            EXPECT_TRUE(answer.contains(QLatin1String("result"))) << QJsonDocument(answer).toJson().toStdString();
        }
    }

    static constexpr int files = 200;
    TemporaryTree tree;
    Pipe log;
    SessionClient client;
    std::future<void> reading;
};

/// The worker logs each count.
class UnfinishedWalks : public UnreadLog
{
protected:
    UnfinishedWalks()
    {
        start("INFO");
        fillLogOnceItServes();
        const QJsonArray everything{QStringLiteral("/file/filesystem/countFiles"), QString("")};
        while (walks.size() < 10)
            walks.append(client.request(QStringLiteral("set"), everything));
    }

    QList<int> walks;
};

TEST_F(UnfinishedWalks, HoldNobodyUp)
{
    expectAnswers({client.request(QStringLiteral("rows"), QJsonArray{QStringLiteral("/file/"), 0, 0})});
    expectAnswers({client.request(QStringLiteral("data"), QJsonArray{QStringLiteral("/file/0.mp3")})});
    EXPECT_EQ(client.kept(), 0) << "answered before the walks are";
    readLog();
    expectAnswers(walks);
    EXPECT_EQ(client.program().finish().status, 0);
}

TEST_F(UnfinishedWalks, AreAnsweredAfterTheEndOfTheInput)
{
    client.program().closeInput();
    readLog();
    expectAnswers(walks);
    EXPECT_EQ(client.program().waitForEnd().status, 0);
}

TEST_F(UnfinishedWalks, AreCancelledOrLeftBehindAtASignal)
{
    // Requests are accepted in their order: once this one is answered, every walk is under way or waits.
    expectAnswers({client.request(QStringLiteral("describe"), QJsonValue::Undefined)});
    client.program().signal(SIGTERM);
    const Outcome outcome = client.program().waitForEnd();
    EXPECT_EQ(outcome.status, 0);
    // Two walks of a client run at a time, and these two cannot be interrupted.
    const QList<QByteArray> answers = linesOf(outcome.output);
    EXPECT_GE(answers.size(), walks.size() - 2);
    for (const QByteArray& answer : answers)
        EXPECT_EQ(errorCode(QJsonDocument::fromJson(answer).object()), -32002) << answer.toStdString();
}

/// The worker logs each page in more than one line.
class UnfinishedPages : public UnreadLog
{
protected:
    UnfinishedPages()
    {
        start("TRACE");
        fillLogOnceItServes();
    }

    void request(int count)
    {
        const QJsonArray roles = QJsonArray::fromVariantList(QVector<QVariant>(100, QStringLiteral("path")).toList());
        const QJsonArray allRows{QStringLiteral("/file/"), 0, files - 1, 0, roles};
        for (int i = 0; i < count; ++i)
            pages.append(client.request(QStringLiteral("rows"), allRows));
    }

    QList<int> pages;
};

TEST_F(UnfinishedPages, HoldNobodyUp)
{
    // At most four requests of a client run.
    request(3);
    expectAnswers({client.request(QStringLiteral("describe"), QJsonValue::Undefined)});
    request(3);
    EXPECT_EQ(errorCode(client.call(QStringLiteral("unknown"), QJsonArray())), -32601);
    EXPECT_EQ(client.kept(), 0) << "answered before the pages are";
    readLog();
    expectAnswers(pages);
    EXPECT_EQ(client.program().finish().status, 0);
}

TEST_F(UnreadLog, KeepsNoSessionWhoseClientIsGone)
{
    Pipe output;
    client.program().setStandardOutputFile(output.writingFileName());
    start("INFO");
    client.request(QStringLiteral("describe"), QJsonValue::Undefined);
    EXPECT_FALSE(output.read().isEmpty()) << "it serves";
    log.fill();
    output.closeWritingEnd();
    output.closeReadingEnd();
    client.request(QStringLiteral("set"), QJsonArray{QStringLiteral("/file/filesystem/countFiles"), QString("")});
    client.request(QStringLiteral("describe"), QJsonValue::Undefined);
    EXPECT_EQ(client.program().waitForEnd().status, 0);
}

/// A program that is started with a standard descriptor closed.
class ClosedDescriptor : public testing::Test
{
protected:
    ClosedDescriptor() { tree.addDirectory(QStringLiteral("a")); }

    void start(int fileDescriptor)
    {
        client.program().setClosedDescriptor(fileDescriptor);
        client.start({QStringLiteral("--root"), tree.root()});
    }

    TemporaryTree tree;
    SessionClient client;
};

TEST_F(ClosedDescriptor, OfTheInputIsItsEnd)
{
    start(STDIN_FILENO);
    const Outcome outcome = client.program().waitForEnd();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output.toStdString(), IsEmpty());
    EXPECT_THAT(outcome.errors.toStdString(), IsEmpty());
}

TEST_F(ClosedDescriptor, OfTheOutputTakesNothing)
{
    start(STDOUT_FILENO);
    client.request(QStringLiteral("rows"), QJsonArray{QStringLiteral("/file/")});
    const Outcome outcome = client.program().finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.errors.toStdString(), IsEmpty());
}

TEST_F(ClosedDescriptor, OfErrorsIsNotUsedForAnythingElse)
{
    start(STDERR_FILENO);
    const QJsonArray path{QStringLiteral("/file/a")};
    ASSERT_EQ(errorCode(client.call(QStringLiteral("open"), path)), 0);
    const QString descriptor = QStringLiteral("/proc/%1/fd/2").arg(client.program().processId());
    EXPECT_EQ(QFile::symLinkTarget(descriptor), QStringLiteral("/dev/null"));
    tree.addFile(QStringLiteral("a/new.mp3"));
    EXPECT_EQ(client.nextChange().value(QLatin1String("path")), path.first());
    EXPECT_EQ(client.program().finish().status, 0);
}

/// A session that is sent more requests than it takes while nobody reads.
class StalledSession : public testing::Test
{
protected:
    static constexpr int requests = 300;

    /// A file makes about 10 kB of an answer.
    void stall(int files)
    {
        for (int i = 0; i < files; ++i)
            tree.addFile(QStringLiteral("%1.mp3").arg(i));
        program.setStandardOutputFile(output.writingFileName());
        program.start({QStringLiteral("--root"), tree.root(), QStringLiteral("session")});
        output.closeWritingEnd();
        const QByteArray roles = QByteArray(R"("mediaData",)").repeated(80) + R"("title")";
        QByteArray lines;
        for (int id = 1; id <= requests; ++id)
            lines += R"({"jsonrpc":"2.0","id":)" + QByteArray::number(id) +
                     R"(,"method":"rows","params":["/file/",0,99,0,[)" + roles + "]]}\n";
        EXPECT_FALSE(program.writesAll(lines)) << "the session takes whatever comes";
    }

    TemporaryTree tree;
    Pipe output;
    Tavo program;
};

TEST_F(StalledSession, KeepsLittleOfWhatIsNotRead)
{
    // What a sanitizer keeps of the memory that is given back is not the session's.
    const QString options = qEnvironmentVariable("ASAN_OPTIONS");
    program.setVariable(QStringLiteral("ASAN_OPTIONS"), options + QStringLiteral(":quarantine_size_mb=1"));
    SessionClient idle({QStringLiteral("--root"), tree.root()});
    ASSERT_EQ(errorCode(idle.call(QStringLiteral("describe"))), 0);
    const int atRest = idle.program().memory("VmHWM");
    ASSERT_GT(atRest, 0);
    stall(100);
    // All answers together are about 300 MB.
    EXPECT_LT(program.memory("VmHWM"), atRest + 100 * 1024);
}

TEST_F(StalledSession, AnswersEverythingOnceItIsRead)
{
    stall(5);
    auto reading = std::async(std::launch::async, [this] { return output.readLines(requests); });
    EXPECT_EQ(program.finish().status, 0);
    QSet<QByteArray> heads;
    for (const QByteArray& line : reading.get()) {
        EXPECT_TRUE(line.endsWith("\"version\":0}}")) << line.right(100).toStdString();
        heads.insert(line.left(line.indexOf(",\"result\"")));
    }
    EXPECT_EQ(heads.size(), requests);
}

TEST_F(StalledSession, EndsAtASignal)
{
    stall(5);
    EXPECT_FALSE(output.read().isEmpty()) << "it serves, so it no longer starts";
    program.signal(SIGTERM);
    EXPECT_EQ(program.waitForEnd().status, 0);
}

TEST_F(SessionProgram, NamesOfAllKindsCanBeOpened)
{
    for (const QByteArray& name : nastyNames())
        tree.addDirectory(QString::fromUtf8(name));
    const QJsonArray roles{QStringLiteral("path")};
    const QJsonArray parameters{QStringLiteral("/file/"), 0, 99, 0, roles};
    const QJsonObject root = resultOf(client->call(QStringLiteral("rows"), parameters));
    for (const QJsonValue row : root.value(QLatin1String("rows")).toArray()) {
        const QString encoded = row.toArray().first().toString();
        if (encoded == QStringLiteral("/file/top.mp3"))
            continue;
        EXPECT_EQ(errorOf("open", QJsonArray{encoded}), 0) << encoded.toStdString();
        EXPECT_EQ(errorOf("close", QJsonArray{encoded}), 0) << encoded.toStdString();
    }
}

TEST_F(SessionProgram, DirectoryBelowOneThatCannotBeReadIsNotOpened)
{
    QFile::setPermissions(tree.absolute(QStringLiteral("a")), QFile::ExeOwner);
    SessionClient other;
    other.program().setRights(Tavo::Rights::NoOverride);
    other.start({QStringLiteral("--root"), tree.root()});
    const QJsonObject error =
        other.call(QStringLiteral("open"), path("/file/a/b")).value(QLatin1String("error")).toObject();
    EXPECT_EQ(error.value(QLatin1String("message")).toString(), QStringLiteral("No permission to read directory 'a'"));
    QFile::setPermissions(tree.absolute(QStringLiteral("a")), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_EQ(errorCode(other.call(QStringLiteral("open"), path("/file/a/b"))), 0);
}

TEST_F(SessionProgram, ThrowingEventHandlerOfAWorkerLeavesTheOthersAlone)
{
    const QString module = QStringLiteral(MODULE_SCRIPTED_WORKER);
    client = std::make_unique<SessionClient>();
    client->start({QStringLiteral("--root"), tree.root(), QStringLiteral("--module"), module});
    EXPECT_EQ(errorOf("rows", path("/file/throw%20later")), 0);
    // Answered in the worker thread, behind the handler.
    EXPECT_EQ(errorOf("open", path("/file/a")), 0);
    expectAlive();
}

} // namespace
