// Texts of the running program in the languages of its clients.

#include "support/rpcrequest.h"
#include "support/serving.h"
#include "support/sessionclient.h"
#include "support/webclient.h"

#include "printers.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

const QString inEnglish = QStringLiteral("Play Now");
const QString inGerman = QStringLiteral("Jetzt abspielen");

QJsonObject language(const char* tag)
{
    return {{QStringLiteral("language"), QString::fromLatin1(tag)}};
}

/// The first title of a context menu in the answer.
QString titleIn(const QJsonObject& answer)
{
    return answer[QLatin1String("result")][QLatin1String("rows")][0][1].toString();
}

class ServedLanguages : public testing::Test
{
protected:
    ServedLanguages()
    {
        serving.tree.addFile(serving.served(QStringLiteral("song.mp3")));
        serving.start();
    }

    [[nodiscard]] static QString menuTitle(WebClient& client)
    {
        return titleIn(client.call("menu", pathParameter("/file/song.mp3")));
    }

    [[nodiscard]] QJsonObject posted(const QByteArray& message, const QByteArray& field) const
    {
        const std::vector<QByteArray> fields = {"Content-Type: application/json", field};
        const HttpResponse response = HttpClient(serving.port()).post("/rpc", message, fields);
        return QJsonDocument::fromJson(response.body).object();
    }

    Serving serving;
};

TEST_F(ServedLanguages, BrowserNamesItsOwn)
{
    WebClient client(serving.port(), {"Accept-Language: fr, de-AT;q=0.9, en;q=0.8"});
    EXPECT_EQ(menuTitle(client), inGerman);
    WebClient other(serving.port(), {"Accept-Language: en-GB"});
    EXPECT_EQ(menuTitle(other), inEnglish);
}

TEST_F(ServedLanguages, ClientsHaveDifferentOnesAtTheSameTime)
{
    WebClient german(serving.port());
    WebClient english(serving.port());
    ASSERT_EQ(errorCode(german.call("describe", language("de"))), 0);
    ASSERT_EQ(errorCode(english.call("describe", language("en"))), 0);
    constexpr int rounds = 50;
    for (int i = 0; i < rounds; ++i) {
        german.request("menu", pathParameter("/file/song.mp3"));
        english.request("menu", pathParameter("/file/song.mp3"));
    }
    for (int id = 2; id < rounds + 2; ++id) {
        EXPECT_EQ(titleIn(german.answerTo(id)), inGerman);
        EXPECT_EQ(titleIn(english.answerTo(id)), inEnglish);
    }
}

TEST_F(ServedLanguages, ErrorIsInTheClients)
{
    WebClient client(serving.port(), {"Accept-Language: de"});
    const QJsonObject error = client.call("rows", pathParameter("/nowhere")).value(QLatin1String("error")).toObject();
    EXPECT_THAT(error[QLatin1String("message")].toString().toStdString(), testing::HasSubstr("wird abgelehnt"));
    EXPECT_EQ(error[QLatin1String("data")][QLatin1String("title")].toString(), QStringLiteral("Fehler"));
}

TEST_F(ServedLanguages, RefusalToOpenIsInTheClients)
{
    WebClient client(serving.port(), {"Accept-Language: de"});
    const QJsonObject answer = client.call("open", pathParameter("/file/missing"));
    EXPECT_THAT(
        answer[QLatin1String("error")][QLatin1String("message")].toString().toStdString(),
        testing::HasSubstr("wird abgelehnt"));
}

TEST_F(ServedLanguages, UnknownOneChangesNothing)
{
    WebClient client(serving.port(), {"Accept-Language: de"});
    ASSERT_EQ(errorCode(client.call("describe", language("tlh"))), 0);
    EXPECT_EQ(menuTitle(client), inGerman);
}

TEST_F(ServedLanguages, QueueIsNamedInTheClients)
{
    WebClient client(serving.port());
    const QJsonObject answer = client.call("describe", language("de"));
    EXPECT_EQ(
        answer[QLatin1String("result")][QLatin1String("roots")][1][QLatin1String("title")].toString(),
        QStringLiteral("Warteschlange"));
    const QJsonObject rows = client.call("rows", pathParameter("/"));
    EXPECT_EQ(rows[QLatin1String("result")][QLatin1String("rows")][1][1].toString(), QStringLiteral("Warteschlange"));
}

TEST_F(ServedLanguages, PostHasThatOfItsHeader)
{
    const QByteArray menu = rpcRequest(1, "menu", pathParameter("/file/song.mp3"));
    EXPECT_EQ(titleIn(posted(menu, "Accept-Language: de")), inGerman);
    EXPECT_EQ(titleIn(posted(menu, "Accept-Language: en")), inEnglish);
}

} // namespace
