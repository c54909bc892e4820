// Requests for files and covers that try to reach what is not served, or to exhaust the server.

#include "support/pictures.h"
#include "support/rpcrequest.h"
#include "support/stillserving.h"
#include "support/swapper.h"

#include "printers.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

/// A tag with a short title, as the start of an MP3 file.
QByteArray songWithTitle(const QString& title)
{
    const QByteArray utf8 = '\3' + title.toUtf8();
    const auto length = [](int size) { return QByteArray(3, '\0') + static_cast<char>(size); };
    const QByteArray frame = "TIT2" + length(utf8.size()) + QByteArray(2, '\0') + utf8;
    return QByteArray("ID3\4\0\0", 6) + length(frame.size()) + frame;
}

class HostilePaths : public StillServing
{
protected:
    HostilePaths()
    {
        serving.tree.addFile(serving.served(QStringLiteral("song.mp3")), "sound");
        serving.tree.addFile(serving.served(QStringLiteral("a/deep.mp3")), "sound");
        serving.tree.addFile(QStringLiteral("outside/song.mp3"), songWithCover(picture));
        serving.tree.addFile(QStringLiteral("outside/cover.jpg"), picture);
        start();
        client = std::make_unique<HttpClient>(serving.port());
    }

    void add(const char* path, const QByteArray& content)
    {
        serving.tree.addFile(serving.served(QString::fromUtf8(path)), content);
    }

    /// Adds a link below root/.
    void link(const char* target, const char* path) const
    {
        ASSERT_TRUE(QFile::link(QString::fromUtf8(target), absolute(path)));
    }

    [[nodiscard]] QString absolute(const char* path) const
    {
        return serving.tree.absolute(serving.served(QString::fromUtf8(path)));
    }

    /// Neither as a file nor as a cover. `path`: encoded, with the prefix.
    void expectRefused(const QByteArray& path, int status)
    {
        for (const QByteArray endpoint : {"/media/", "/cover/"})
            EXPECT_EQ(client->get(endpoint + path).status, status) << endpoint.toStdString() << path.toStdString();
    }

    [[nodiscard]] QJsonValue resultOf(const char* method, const QJsonObject& parameters)
    {
        const QByteArray body = client->rpc(rpcRequest(1, method, parameters)).body;
        return QJsonDocument::fromJson(body).object().value(QLatin1String("result"));
    }

    const QByteArray picture = pictureFile({20, 20});
    std::unique_ptr<HttpClient> client;
};

TEST_F(HostilePaths, DoNotLeadOutOfTheRoot)
{
    for (const QByteArray path :
         {"file/../outside/song.mp3", "file/%2e%2e%2foutside%2fsong.mp3", "file/%2E%2E/outside/song.mp3",
          "file/.%2e/outside/song.mp3", "file/a/../../outside/song.mp3", "file/a/%2e%2e/%2e%2e/outside/song.mp3",
          "file/..", "file/../", "file/a/..", "file/song.mp3/..", "file/song.mp3/../../outside/song.mp3",
          "../outside/song.mp3", "%2e%2e/outside/song.mp3", "file%2f..%2foutside/song.mp3"})
        expectRefused(path, 404);
    expectRefused("file/" + QByteArray("../").repeated(50) + "etc/passwd", 404);
    expectRefused("file" + serving.tree.absolute(QStringLiteral("outside/song.mp3")).toUtf8(), 404);
    expectRefused("file/" + serving.tree.absolute(QStringLiteral("outside/song.mp3")).toUtf8(), 404);
}

TEST_F(HostilePaths, AreDecodedOnce)
{
    for (const QByteArray path :
         {"file/%252e%252e%252foutside%252fsong.mp3", "file/%252e%252e/outside/song.mp3", "file/song%252emp3",
          "file/%25252e%25252e/outside/song.mp3", "file/song.mp3%2500"})
        expectRefused(path, 404);
}

TEST_F(HostilePaths, HaveNoSeparatorButTheSlash)
{
    for (const QByteArray path :
         {"file/..%5coutside%5csong.mp3", "file/..\\outside\\song.mp3", "file/a%5cdeep.mp3", "file/a\\deep.mp3",
          "file/a%5c..%5csong.mp3", "file/song.mp3;x", "file/song.mp3:x", "file/%e2%88%95song.mp3"})
        expectRefused(path, 404);
}

TEST_F(HostilePaths, AreNotNormalised)
{
    for (const QByteArray path :
         {"file//song.mp3", "file/%2fsong.mp3", "file/a//deep.mp3", "file/./song.mp3", "file/a/./deep.mp3",
          "file/a/../song.mp3", "file/song.mp3/", "file/song.mp3/.", "/file/song.mp3", "file/SONG.MP3"})
        expectRefused(path, 404);
}

TEST_F(HostilePaths, AreRefusedWhenTheyAreNoText)
{
    for (const QByteArray path :
         {"file/%00", "file/song.mp3%00", "file/song.mp3%00.txt", "file/..%00/outside/song.mp3",
          "file/%c0%ae%c0%ae/outside/song.mp3", "file/..%c0%afoutside%c0%afsong.mp3", "file/%e0%80%ae",
          "file/%f0%80%80%ae", "file/%f8%80%80%80%ae", "file/%ed%a0%80", "file/%ff", "file/%", "file/%2", "file/%zz",
          "file/%u002e%u002e", "%c0%ae/song.mp3"})
        expectRefused(path, 400);
}

TEST_F(HostilePaths, DoNotFollowLinksOutOfTheRoot)
{
    link("../outside/song.mp3", "out.mp3");
    link("../outside", "out");
    link("out", "chain");
    link("chain/song.mp3", "chain.mp3");
    link("loop.mp3", "loop.mp3");
    link("second.mp3", "first.mp3");
    link("first.mp3", "second.mp3");
    link("../../outside/cover.jpg", "a/cover.jpg");
    link("/etc/passwd", "passwd.mp3");
    link("/proc/self/environ", "environment.mp3");
    link("/proc/self/root", "proc");
    for (const QByteArray path :
         {"out.mp3", "out/song.mp3", "chain/song.mp3", "chain.mp3", "loop.mp3", "first.mp3", "out/../song.mp3",
          "passwd.mp3", "environment.mp3", "proc/etc/passwd"})
        expectRefused("file/" + path, 404);
    for (const QByteArray directory : {"out", "chain", "a", "a/deep.mp3"})
        EXPECT_EQ(client->get("/cover/file/" + directory).status, 404) << directory.toStdString();
}

TEST_F(HostilePaths, DoNotFollowLinksThatAreSwappedMeanwhile)
{
    add("in.mp3", "sound");
    add("in/song.mp3", "sound");
    link("../outside/song.mp3", "out.mp3");
    link("../outside", "out");
    const Swapper files(absolute("in.mp3"), absolute("out.mp3"));
    const Swapper directories(absolute("in"), absolute("out"));
    constexpr int rounds = 300;
    int found = 0;
    for (int i = 0; i < rounds || (found == 0 && i < 100 * rounds); ++i) {
        for (const QByteArray path : {"file/in.mp3", "file/in/song.mp3"}) {
            const HttpResponse response = client->get("/media/" + path);
            ASSERT_TRUE(response.status == 404 || response.body == "sound") << response.status;
            found += response.status == 200 ? 1 : 0;
            ASSERT_EQ(client->get("/cover/" + path).status, 404);
        }
    }
    EXPECT_GT(found, 0);
    EXPECT_GT(files.swaps() + directories.swaps(), 0);
}

TEST_F(HostilePaths, ReadNothingButRegularFiles)
{
    ASSERT_EQ(mkfifo(absolute("pipe.mp3").toUtf8(), 0600), 0);
    ASSERT_EQ(mkfifo(absolute("a/cover.jpg").toUtf8(), 0600), 0);
    ASSERT_EQ(mknod(absolute("socket.mp3").toUtf8(), S_IFSOCK | 0600, 0), 0);
    serving.tree.addDirectory(serving.served(QStringLiteral("directory.mp3")));
    link("/dev/zero", "zero.mp3");
    link("/dev/stdin", "stdin.mp3");
    for (const QByteArray path : {"pipe.mp3", "socket.mp3", "directory.mp3", "zero.mp3", "stdin.mp3", "a"})
        expectRefused("file/" + path, 404);
}

TEST_F(HostilePaths, PassNamesOnAsData)
{
    const QStringList names = {
        QStringLiteral("\r\nSet-Cookie: x=1\r\n\r\n<script>.mp3"), QStringLiteral("<img src=x onerror=alert(1)>.mp3"),
        QStringLiteral("\u202Egnp.\u2066\u2028.mp3")};
    for (const QString& name : names) {
        serving.tree.addFile(serving.served(QStringLiteral("names/") + name), name.toUtf8());
        const HttpResponse response = client->get("/media/file/names/" + QUrl::toPercentEncoding(name));
        EXPECT_EQ(response.body, name.toUtf8());
        EXPECT_EQ(response.field("Content-Type"), "audio/mpeg");
        EXPECT_TRUE(response.field("Set-Cookie").isNull());
    }
    QJsonObject parameters = pathParameter("/file/names");
    parameters.insert(QStringLiteral("roles"), QJsonArray{QStringLiteral("title")});
    const QJsonArray rows = resultOf("rows", parameters).toObject().value(QLatin1String("rows")).toArray();
    QStringList titles;
    for (const QJsonValue& row : rows)
        titles.append(row.toArray().at(0).toString());
    EXPECT_THAT(titles, testing::UnorderedElementsAreArray(names));
}

TEST_F(HostilePaths, PassTagsOnAsData)
{
    const QString title = QStringLiteral("<img src=x onerror=alert(1)>\r\n\r\n\"\\\u202E\u2028");
    add("tagged.mp3", songWithTitle(title));
    QJsonObject parameters = pathParameter("/file/playList/prepareItems");
    parameters.insert(QStringLiteral("value"), QJsonArray{QStringLiteral("/file/tagged.mp3")});
    const QJsonObject item = resultOf("set", parameters).toArray().at(0).toObject();
    EXPECT_EQ(item.value(QLatin1String("title")).toString(), title);
}

TEST_F(HostilePaths, DoNotReturnInTheHeadOfAnAnswer)
{
    const HttpResponse response = client->get("/media/file/x%0d%0aSet-Cookie:%20x=1%0d%0a%0d%0a<script>.mp3");
    EXPECT_EQ(response.status, 404);
    EXPECT_TRUE(response.field("Set-Cookie").isNull());
    EXPECT_FALSE(response.body.contains("<script>"));
}

class HostileCovers : public HostilePaths
{
protected:
    [[nodiscard]] HttpResponse cover(const QByteArray& pathAndQuery)
    {
        return client->get("/cover/file/" + pathAndQuery);
    }
};

TEST_F(HostileCovers, HaveNoOtherWidthsThanTheirSteps)
{
    add("cover.jpg", pictureFile({1000, 10}));
    for (const QByteArray width : {"1e9", "-1", "", "x", "0x10", "+1", "1.5", "%31", "1&width=2"})
        EXPECT_EQ(cover("?width=" + width).status, 400) << width.toStdString();
    for (const QByteArray width : {"801", "1000000000", "4294967297", "18446744073709551617"})
        EXPECT_EQ(QImage::fromData(cover("?width=" + width).body).width(), 800) << width.toStdString();
    EXPECT_EQ(QImage::fromData(cover("?width=0").body).width(), 100);
}

TEST_F(HostileCovers, OfAThousandWidthsAreFourFiles)
{
    add("cover.jpg", pictureFile({1000, 10}));
    for (int width = 1; width <= 1000; ++width)
        ASSERT_EQ(cover("?width=" + QByteArray::number(width)).status, 200);
    const QDir kept(serving.tree.absolute(QStringLiteral("state/covers")));
    EXPECT_EQ(kept.entryList(QDir::Files | QDir::Hidden).size(), 4);
}

TEST_F(HostileCovers, AreNotDecodedFromTooManyPixels)
{
    constexpr int side = 30'000;
    add("cover.png", monochromePng({side, side}));
    const int before = serving.program().memory("VmHWM");
    EXPECT_EQ(cover("").status, 404);
    constexpr int someMegabytes = 40'000;
    EXPECT_LT(serving.program().memory("VmHWM") - before, someMegabytes);
}

TEST_F(HostileCovers, AreNotMadeOfTruncatedPictures)
{
    const QByteArray whole = pictureFile({300, 300});
    for (const int size : {0, 1, 3, 20, whole.size() / 2, whole.size() - 2}) {
        add("cover.jpg", whole.left(size));
        add("song.mp3", songWithCover(whole).left(size));
        EXPECT_EQ(cover("").status, 404) << size;
        EXPECT_EQ(cover("song.mp3").status, 404) << size;
    }
}

TEST_F(HostileCovers, AreNoDocuments)
{
    const QByteArray svg = R"(<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"><script>1</script></svg>)";
    for (const QByteArray& document : {svg, QByteArray("<!doctype html><script>1</script>"), "GIF89a<html>" + svg}) {
        for (const char* name : {"cover.jpg", "folder.png"})
            add(name, document);
        add("song.mp3", songWithCover(document));
        EXPECT_EQ(cover("").status, 404) << document.toStdString();
        EXPECT_EQ(cover("song.mp3").status, 404) << document.toStdString();
    }
}

class HostileRanges : public HostilePaths
{
protected:
    HostileRanges() { add("digits.mp3", "0123456789"); }

    [[nodiscard]] HttpResponse part(const QByteArray& range)
    {
        return client->get("/media/file/digits.mp3", {"Range: bytes=" + range});
    }
};

TEST_F(HostileRanges, AreTheWholeFileWhenTheyAreAThousand)
{
    QByteArray ranges = "0-1";
    for (int i = 1; i < 1000; ++i)
        ranges += ",0-1";
    const HttpResponse response = part(ranges);
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "0123456789");
}

TEST_F(HostileRanges, AreTheWholeFileWhenTheyAreReversed)
{
    for (const QByteArray range : {"9-0", "5-4", "18446744073709551615-0", "--1", "-"}) {
        const HttpResponse response = part(range);
        EXPECT_EQ(response.status, 200) << range.toStdString();
        EXPECT_EQ(response.body, "0123456789") << range.toStdString();
    }
}

TEST_F(HostileRanges, DoNotOverflow)
{
    for (const QByteArray number :
         {"9223372036854775807", "9223372036854775808", "18446744073709551615", "18446744073709551616",
          "18446744073709551626", "99999999999999999999999999"}) {
        EXPECT_EQ(part(number + '-').status, 416) << number.toStdString();
        EXPECT_EQ(part(number + '-' + number).status, 416) << number.toStdString();
        EXPECT_EQ(part("8-" + number).body, "89") << number.toStdString();
        EXPECT_EQ(part('-' + number).body, "0123456789") << number.toStdString();
    }
}

} // namespace
