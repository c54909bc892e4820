// The queue as clients of the server share it.

#include "support/serving.h"
#include "support/sessionclient.h"
#include "support/silentoutput.h"
#include "support/webclient.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <memory>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// root/album has 1.mp3, 2.mp3 and 3.mp3.
class ServeQueue : public testing::Test
{
protected:
    ServeQueue()
    {
        for (const char* name : {"1", "2", "3"})
            serving.tree.addFile(serving.served(QStringLiteral("album/%1.mp3").arg(QString::fromUtf8(name))));
        start();
    }

    void start()
    {
        serving.start();
        client = std::make_unique<WebClient>(serving.port());
    }

    QJsonValue set(const char* path, const QJsonValue& value = QJsonValue::Null)
    {
        return setOver(*client, path, value);
    }

    /// The name of the error; empty if it succeeds.
    [[nodiscard]] std::string refusal(const char* path, const QJsonValue& value)
    {
        const QJsonObject parameters{
            {QStringLiteral("path"), QString::fromUtf8(path)}, {QStringLiteral("value"), value}};
        const QJsonObject answer = client->call("set", parameters);
        return answer[QStringLiteral("error")][QStringLiteral("data")][QStringLiteral("name")].toString().toStdString();
    }

    /// The answer to a request for the queue's rows.
    [[nodiscard]] static QJsonObject rows(WebClient& reader, const QStringList& roles)
    {
        const QJsonObject parameters{
            {QStringLiteral("path"), QStringLiteral("/playlist/")},
            {QStringLiteral("roles"), QJsonArray::fromStringList(roles)}};
        return reader.call("rows", parameters).value(QLatin1String("result")).toObject();
    }

    /// One role of the queue's rows.
    [[nodiscard]] static std::vector<std::string> column(WebClient& reader, const char* role)
    {
        std::vector<std::string> values;
        for (const QJsonValue row : rows(reader, {QString::fromUtf8(role)}).value(QLatin1String("rows")).toArray())
            values.push_back(row.toArray().at(0).toString().toStdString());
        return values;
    }
    [[nodiscard]] std::vector<std::string> sources() { return column(*client, "value"); }

    [[nodiscard]] QJsonObject player()
    {
        const QJsonObject parameters{
            {QStringLiteral("path"), QStringLiteral("/playlist/player")},
            {QStringLiteral("roles"), QJsonArray{QStringLiteral("value")}}};
        return client->call("data", parameters).value(QLatin1String("result")).toArray().at(0).toObject();
    }
    [[nodiscard]] std::string playerMember(const char* name)
    {
        return player().value(QLatin1String(name)).toVariant().toString().toStdString();
    }

    Serving serving;
    std::unique_ptr<WebClient> client;
};

const std::vector<std::string> album = {"/file/album/1.mp3", "/file/album/2.mp3", "/file/album/3.mp3"};

TEST_F(ServeQueue, StandsBehindTheRoots)
{
    const QJsonArray top =
        client->call("rows", pathParameter("/")).value(QLatin1String("result"))[QStringLiteral("rows")].toArray();
    EXPECT_EQ(top.last().toArray().at(0).toString(), QStringLiteral("/playlist/"));
}

TEST_F(ServeQueue, NamesMediaByTheirAddresses)
{
    set("/playlist/addToQueue", QStringLiteral("/file/album"));
    const QByteArray text = QJsonDocument(rows(*client, {QStringLiteral("mediaData")})).toJson();
    EXPECT_THAT(text.toStdString(), HasSubstr("\"media/file/album/1.mp3\""));
    EXPECT_THAT(text.toStdString(), Not(HasSubstr("file://")));
    EXPECT_EQ(HttpClient(serving.port()).get("/media/file/album/1.mp3").status, 200);
}

TEST_F(ServeQueue, HasNothingThatLinksLeadTo)
{
    serving.tree.addFile(QStringLiteral("private/secret.mp3"));
    const QString hidden = serving.tree.absolute(QStringLiteral("private"));
    const QString folder = serving.tree.absolute(serving.served(QStringLiteral("album")));
    ASSERT_TRUE(QFile::link(hidden, folder + QStringLiteral("/linked")));
    ASSERT_TRUE(QFile::link(hidden + QStringLiteral("/secret.mp3"), folder + QStringLiteral("/4.mp3")));
    ASSERT_TRUE(QFile::link(folder + QStringLiteral("/1.mp3"), folder + QStringLiteral("/5.mp3")));
    EXPECT_EQ(set("/playlist/addToQueue", QStringLiteral("/file/album"))[QStringLiteral("added")].toInt(), 4);
    EXPECT_THAT(
        sources(), ElementsAre("/file/album/1.mp3", "/file/album/2.mp3", "/file/album/3.mp3", "/file/album/5.mp3"));
}

TEST_F(ServeQueue, IsTheSameForAllClients)
{
    WebClient other(serving.port());
    ASSERT_EQ(errorCode(other.call("open", pathParameter("/playlist/"))), 0);
    const int version = set("/playlist/addToQueue", QStringLiteral("/file/album"))[QStringLiteral("version")].toInt();
    EXPECT_EQ(other.nextChange().value(QLatin1String("version")).toInt(), version);
    EXPECT_EQ(column(other, "value"), album);
    set("/playlist/move",
        QJsonObject{{QStringLiteral("ids"), QJsonArray{3}}, {QStringLiteral("after"), QStringLiteral("head")}});
    EXPECT_EQ(column(other, "path"), column(*client, "path"));
    EXPECT_THAT(column(other, "path"), ElementsAre("/playlist/queue/3", "/playlist/queue/1", "/playlist/queue/2"));
}

TEST_F(ServeQueue, IsFilledFromTheContextMenuOfADirectory)
{
    const QJsonArray menu = client->call("menu", pathParameter("/file/album"))
                                .value(QLatin1String("result"))[QStringLiteral("rows")]
                                .toArray();
    ASSERT_EQ(menu.size(), 4);
    const QStringList roles =
        client->call("describe").value(QLatin1String("result"))[QStringLiteral("roles")].toVariant().toStringList();
    for (const QJsonValue row : menu) {
        const QByteArray service = row.toArray().at(roles.indexOf(QStringLiteral("path"))).toString().toUtf8();
        const QJsonValue value = row.toArray().at(roles.indexOf(QStringLiteral("value")));
        EXPECT_EQ(set(service.constData(), value)[QStringLiteral("added")].toInt(), 3) << service.toStdString();
    }
    // The last one is "Replace Queue".
    EXPECT_EQ(sources(), album);
}

TEST_F(ServeQueue, OutlivesAKilledServer)
{
    set("/playlist/addToQueue", QStringLiteral("/file/album"));
    set("/playlist/remove", QJsonArray{2});
    set("/playlist/player/volume", 40);
    serving.program().signal(SIGKILL);
    static_cast<void>(serving.program().waitForEnd());
    start();
    EXPECT_THAT(column(*client, "path"), ElementsAre("/playlist/queue/1", "/playlist/queue/3"));
    EXPECT_EQ(playerMember("volume"), "40");
    EXPECT_EQ(set("/playlist/addToQueue", QStringLiteral("/file/album"))[QStringLiteral("first")].toInt(), 4);
}

TEST_F(ServeQueue, RefusesWhatLeadsOutOfTheRoots)
{
    for (const char* path : {"/file/../secret", "/file//etc", "/file/.hidden"}) {
        EXPECT_EQ(refusal("/playlist/addToQueue", QString::fromUtf8(path)), "accessViolation") << path;
    }
    EXPECT_THAT(sources(), IsEmpty());
}

TEST_F(ServeQueue, PlaysOnAnyClientThatOffersItself)
{
    SilentOutput phone(serving.port(), QStringLiteral("phone"));
    SilentOutput tv(serving.port(), QStringLiteral("tv"));
    set("/playlist/player/output", QStringLiteral("phone"));
    set("/playlist/playNow", QStringLiteral("/file/album"));
    EXPECT_EQ(phone.obey(), 1);
    phone.passOn();
    EXPECT_EQ(playerMember("current"), "2");
    set("/playlist/player/output", QStringLiteral("tv"));
    EXPECT_EQ(tv.obey(), 2);
    EXPECT_EQ(tv.finish(), 3);
    EXPECT_EQ(playerMember("current"), "3");
}

TEST_F(ServeQueue, SkipsAnEntryThatCannotBePlayed)
{
    SilentOutput phone(serving.port(), QStringLiteral("phone"));
    set("/playlist/player/output", QStringLiteral("phone"));
    set("/playlist/playNow", QStringLiteral("/file/album"));
    ASSERT_EQ(phone.obey(), 1);
    EXPECT_EQ(phone.fail(), 2);
    EXPECT_EQ(playerMember("failed"), "1");
}

TEST_F(ServeQueue, LosesTheOutputsOfAConnectionThatEnds)
{
    auto phone = std::make_unique<SilentOutput>(serving.port(), QStringLiteral("phone"));
    set("/playlist/player/output", QStringLiteral("phone"));
    set("/playlist/playNow", QStringLiteral("/file/album"));
    ASSERT_EQ(phone->obey(), 1);
    ASSERT_EQ(errorCode(client->call("open", pathParameter("/playlist/outputs"))), 0);
    phone.reset();
    EXPECT_EQ(client->nextChange().value(QLatin1String("path")).toString(), QStringLiteral("/playlist/outputs"));
    EXPECT_EQ(playerMember("state"), "paused");
    EXPECT_TRUE(player().value(QLatin1String("output")).isNull());
}

TEST_F(ServeQueue, RefusesEditsOnAFullDiskAndPlaysOn)
{
    SilentOutput phone(serving.port(), QStringLiteral("phone"));
    set("/playlist/player/output", QStringLiteral("phone"));
    set("/playlist/playNow", QStringLiteral("/file/album"));
    ASSERT_EQ(phone.obey(), 1);
    {
        const Tavo::WithoutDiskSpace full(serving.program());
        EXPECT_EQ(refusal("/playlist/addToQueue", QStringLiteral("/file/album")), "notStored");
        EXPECT_EQ(refusal("/playlist/clear", QJsonValue::Null), "notStored");
        EXPECT_EQ(sources(), album);
        phone.passOn();
        EXPECT_EQ(playerMember("current"), "2");
        EXPECT_EQ(refusal("/playlist/player/volume", 30), "");
        EXPECT_EQ(playerMember("volume"), "30");
    }
    EXPECT_EQ(refusal("/playlist/addToQueue", QStringLiteral("/file/album")), "");
    EXPECT_THAT(sources(), testing::SizeIs(6));
}

TEST_F(ServeQueue, EndsWhileItIsBeingFilled)
{
    // Each level has two ways down.
    QFile::link(
        serving.tree.absolute(QStringLiteral("root")), serving.tree.absolute(serving.served(QStringLiteral("again"))));
    QFile::link(
        serving.tree.absolute(QStringLiteral("root")), serving.tree.absolute(serving.served(QStringLiteral("again2"))));
    const QJsonObject parameters{
        {QStringLiteral("path"), QStringLiteral("/playlist/addToQueue")},
        {QStringLiteral("value"), QStringLiteral("/file/")}};
    client->request("set", parameters);
    EXPECT_EQ(playerMember("state"), "stopped");
    serving.program().signal(SIGTERM);
    EXPECT_EQ(serving.program().waitForEnd().status, 0);
}

TEST_F(ServeQueue, NeedsTheModuleThatIsNamed)
{
    const Outcome outcome =
        runTavo(serving.arguments({QStringLiteral("--queue-module"), QStringLiteral("/nowhere.so")}));
    EXPECT_EQ(outcome.status, 1);
}

} // namespace
