// The bytes of media files over HTTP.

#include "support/rpcrequest.h"
#include "support/serving.h"
#include "support/swapper.h"
#include "support/webclient.h"

#include <QHash>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

namespace {

QByteArray noise(int size)
{
    std::mt19937 random(7);
    QByteArray bytes(size, Qt::Uninitialized);
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<char>(random()); });
    return bytes;
}

class ServeMedia : public testing::Test
{
protected:
    ServeMedia()
    {
        serving.tree.addFile(serving.served(QStringLiteral("a b/Nº #1.mp3")), "0123456789");
        serving.tree.addFile(serving.served(QStringLiteral("long.mp3")), longContent);
        serving.tree.addFile(serving.served(QStringLiteral("empty.mp3")));
        serving.start();
        client = std::make_unique<HttpClient>(serving.port());
    }

    /// Spans several windows and pieces.
    const QByteArray longContent = noise(5'000'001);
    const QByteArray shortTarget = "/media/file/a%20b/N%C2%BA%20%231.mp3";
    Serving serving;
    std::unique_ptr<HttpClient> client;
};

TEST_F(ServeMedia, SendsAShortFile)
{
    const HttpResponse response = client->get(shortTarget);
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "0123456789");
    EXPECT_EQ(response.field("Content-Type"), "audio/mpeg");
    EXPECT_EQ(response.field("Accept-Ranges"), "bytes");
    EXPECT_EQ(response.field("X-Content-Type-Options"), "nosniff");
    EXPECT_FALSE(response.field("Last-Modified").isEmpty());
}

TEST_F(ServeMedia, SendsALongFile)
{
    EXPECT_TRUE(client->get("/media/file/long.mp3").body == longContent);
    EXPECT_EQ(client->get(shortTarget).body, "0123456789");
}

TEST_F(ServeMedia, SendsAnEmptyFile)
{
    const HttpResponse response = client->get("/media/file/empty.mp3");
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.field("Content-Length"), "0");
}

TEST_F(ServeMedia, SendsNoBytesInAnswerToHead)
{
    const HttpResponse response = client->head("/media/file/long.mp3");
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.field("Content-Length").toInt(), longContent.size());
    EXPECT_EQ(client->get("/health").status, 200);
}

TEST_F(ServeMedia, SendsARange)
{
    const HttpResponse part = client->get(shortTarget, {"Range: bytes=2-4"});
    EXPECT_EQ(part.status, 206);
    EXPECT_EQ(part.body, "234");
    EXPECT_EQ(part.field("Content-Range"), "bytes 2-4/10");
    const HttpResponse rest = client->get("/media/file/long.mp3", {"Range: bytes=1234567-"});
    EXPECT_EQ(rest.status, 206);
    EXPECT_TRUE(rest.body == longContent.mid(1234567));
    EXPECT_EQ(client->get(shortTarget, {"Range: bytes=-3"}).body, "789");
}

TEST_F(ServeMedia, SendsRangesOfTheFileThatIsThere)
{
    const QString file = serving.served(QStringLiteral("a b/Nº #1.mp3"));
    const auto range = [this] { return client->get(shortTarget, {"Range: bytes=2-4"}); };
    const HttpResponse first = range();
    EXPECT_EQ(first.body, "234");
    EXPECT_EQ(range().field("ETag"), first.field("ETag"));
    serving.tree.addFile(serving.served(QStringLiteral("other.mp3")), "abcdefghij");
    serving.tree.remove(file);
    serving.tree.rename(serving.served(QStringLiteral("other.mp3")), file);
    const HttpResponse second = range();
    EXPECT_EQ(second.body, "cde");
    EXPECT_NE(second.field("ETag"), first.field("ETag"));
    serving.tree.rename(serving.served(QStringLiteral("a b")), serving.served(QStringLiteral(".a b")));
    EXPECT_EQ(range().status, 404);
    serving.tree.rename(serving.served(QStringLiteral(".a b")), serving.served(QStringLiteral("a b")));
    EXPECT_EQ(range().body, "cde");
    serving.tree.remove(file);
    EXPECT_EQ(range().status, 404);
}

TEST_F(ServeMedia, SendsTheETagOfTheBytesWhileTheFileIsReplaced)
{
    serving.tree.addFile(serving.served(QStringLiteral("other.mp3")), "another sound");
    QHash<QByteArray, QByteArray> contents;
    const Swapper swapper(
        serving.tree.absolute(serving.served(QStringLiteral("a b/Nº #1.mp3"))),
        serving.tree.absolute(serving.served(QStringLiteral("other.mp3"))));
    constexpr int rounds = 300;
    for (int i = 0; i < rounds || contents.size() < 2; ++i) {
        const HttpResponse response = client->get(shortTarget, {"Range: bytes=0-"});
        ASSERT_EQ(response.status, 206);
        QByteArray& content = contents[response.field("ETag")];
        ASSERT_TRUE(content.isEmpty() || content == response.body);
        content = response.body;
    }
    EXPECT_EQ(contents.size(), 2);
}

TEST_F(ServeMedia, RefusesARangeBehindTheEnd)
{
    const HttpResponse response = client->get(shortTarget, {"Range: bytes=10-"});
    EXPECT_EQ(response.status, 416);
    EXPECT_EQ(response.field("Content-Range"), "bytes */10");
}

TEST_F(ServeMedia, IgnoresTheRangeOfAHead)
{
    const HttpResponse response = client->head(shortTarget, {"Range: bytes=2-4"});
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.field("Content-Length"), "10");
    EXPECT_EQ(client->head(shortTarget, {"Range: bytes=10-"}).status, 200);
}

TEST_F(ServeMedia, SendsAllWhereARangeMakesNoSense)
{
    for (const QByteArray range : {"bytes=4-2", "bytes=0-1,3-4", "lines=1-2", "bytes=", "bytes=x-"}) {
        const HttpResponse response = client->get(shortTarget, {"Range: " + range});
        EXPECT_EQ(response.status, 200) << range.toStdString();
        EXPECT_EQ(response.body, "0123456789");
    }
}

TEST_F(ServeMedia, SendsARangeOnlyOfTheFileThatTheClientKnows)
{
    const QByteArray etag = client->get(shortTarget).field("ETag");
    EXPECT_EQ(client->get(shortTarget, {"Range: bytes=2-4", "If-Range: " + etag}).status, 206);
    EXPECT_EQ(client->get(shortTarget, {"Range: bytes=2-4", "If-Range: \"other\""}).status, 200);
}

TEST_F(ServeMedia, SendsNothingThatTheClientHas)
{
    const HttpResponse first = client->get(shortTarget);
    EXPECT_EQ(client->get(shortTarget, {"If-None-Match: " + first.field("ETag")}).status, 304);
    EXPECT_EQ(client->get(shortTarget, {"If-Modified-Since: " + first.field("Last-Modified")}).status, 304);
    serving.tree.addFile(serving.served(QStringLiteral("a b/Nº #1.mp3")), "other bytes");
    EXPECT_EQ(client->get(shortTarget, {"If-None-Match: " + first.field("ETag")}).status, 200);
}

TEST_F(ServeMedia, HidesWhatItDoesNotServe)
{
    serving.tree.addFile(serving.served(QStringLiteral("notes.txt")), "x");
    serving.tree.addFile(serving.served(QStringLiteral(".hidden/song.mp3")), "x");
    serving.tree.addFile(QStringLiteral("outside.mp3"), "x");
    for (const QByteArray target :
         {"/media/file/none.mp3", "/media/file/notes.txt", "/media/file/.hidden/song.mp3", "/media/file/../outside.mp3",
          "/media/file/%2e%2e/outside.mp3", "/media/file/a%20b", "/media/file/", "/media/file", "/media/none/long.mp3",
          "/media/file//long.mp3", "/media/file/./long.mp3", "/media/file/long.mp3/"})
        EXPECT_EQ(client->get(target).status, 404) << target.toStdString();
    for (const QByteArray target : {"/media/file/%00", "/media/file/%zz", "/media/file/%ff.mp3", "/media/file/%c0%ae"})
        EXPECT_EQ(client->get(target).status, 400) << target.toStdString();
    EXPECT_EQ(client->post("/media/file/long.mp3", "", {}).status, 405);
}

TEST_F(ServeMedia, EndsTheConnectionWhenAFileHasBecomeShorter)
{
    const int size = 64 << 20;
    serving.tree.addFile(serving.served(QStringLiteral("shrinking.mp3")), QByteArray(size, 'x'));
    client->send(requestText("GET", "/media/file/shrinking.mp3"));
    ASSERT_TRUE(client->connection().receiveUntil("\r\n\r\n").startsWith("HTTP/1.1 200"));
    serving.tree.addFile(serving.served(QStringLiteral("shrinking.mp3")), "x");
    EXPECT_LT(client->connection().receiveAll().size(), size);
    EXPECT_EQ(HttpClient(serving.port()).get("/health").status, 200);
}

TEST_F(ServeMedia, ServesOthersWhileAClientDoesNotRead)
{
    serving.tree.addFile(serving.served(QStringLiteral("huge.mp3")), QByteArray(64 << 20, 'x'));
    std::vector<HttpClient> stalled;
    for (int i = 0; i < 8; ++i) {
        stalled.emplace_back(serving.port());
        stalled.back().send(requestText("GET", "/media/file/huge.mp3"));
    }
    EXPECT_TRUE(client->get("/media/file/long.mp3").body == longContent);
}

TEST_F(ServeMedia, NamesItsFilesInRows)
{
    const HttpResponse rows = client->rpc(rpcRequest(1, "rows", pathParameter("/file/a%20b")));
    EXPECT_TRUE(rows.body.contains(shortTarget.mid(1))) << rows.body.toStdString();
}

} // namespace
