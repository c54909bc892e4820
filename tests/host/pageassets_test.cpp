#include "http/pageassets.h"

#include "printers.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::Not;

const QDir web(QStringLiteral(TAVO_WEB));

QStringList shippedFiles()
{
    QStringList files = {QStringLiteral("index.html")};
    QDirIterator walk(web.filePath(QStringLiteral("app")), QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext())
        files.append(web.relativeFilePath(walk.next()));
    return files;
}

QByteArray contentOf(const QString& file)
{
    QFile source(web.filePath(file));
    EXPECT_TRUE(source.open(QIODevice::ReadOnly)) << source.fileName().toStdString();
    return source.readAll();
}

/// The file as it is served: scripts without documentation and empty lines.
QByteArray servedContentOf(const QString& file)
{
    const QByteArray content = contentOf(file);
    if (!file.endsWith(QLatin1String(".js")))
        return content;
    static const QRegularExpression left(
        QStringLiteral("^ */\\*\\*.*?\\*/( *\\n)?|^ *\\n"),
        QRegularExpression::MultilineOption | QRegularExpression::DotMatchesEverythingOption);
    return QString::fromUtf8(content).remove(left).toUtf8();
}

QByteArray decompressed(const QByteArray& bytes)
{
    QProcess gzip;
    gzip.start(QStringLiteral("gzip"), {QStringLiteral("-dc")});
    gzip.write(bytes);
    gzip.closeWriteChannel();
    EXPECT_TRUE(gzip.waitForFinished());
    return gzip.readAllStandardOutput();
}

Response serve(const QByteArray& name, std::vector<HeaderField> fields = {})
{
    return servePage(RequestHead{"GET", "/", std::move(fields)}, name);
}

std::string headOf(const Response& response)
{
    return response.head.toText(0).toStdString();
}

TEST(PageAssets, AreTheFilesOfThePage)
{
    for (const QString& file : shippedFiles()) {
        const PageAsset* const asset = findPageAsset(file.toUtf8());
        ASSERT_NE(asset, nullptr) << file.toStdString();
        EXPECT_EQ(asset->plain, servedContentOf(file)) << file.toStdString();
        if (!asset->gzip.isEmpty()) {
            EXPECT_EQ(decompressed(asset->gzip), asset->plain);
            EXPECT_LT(asset->gzip.size(), asset->plain.size());
        }
    }
}

TEST(PageAssets, EachContentHasAStrongTagOfItsOwn)
{
    QSet<QByteArray> tags;
    QSet<QByteArray> contents;
    for (const QString& file : shippedFiles()) {
        const PageAsset* const asset = findPageAsset(file.toUtf8());
        ASSERT_NE(asset, nullptr);
        EXPECT_TRUE(asset->entityTag.startsWith('"') && asset->entityTag.endsWith('"'));
        contents.insert(asset->plain);
        tags.insert(asset->entityTag);
        tags.insert(asset->gzipEntityTag);
    }
    EXPECT_EQ(tags.size(), 2 * contents.size());
}

TEST(PageAssets, OtherNamesHaveNone)
{
    for (const char* name :
         {"", "/", "app", "app/", "/index.html", "app/../index.html", "./index.html", "INDEX.html", "package.json",
          "index.html/"})
        EXPECT_EQ(findPageAsset(name), nullptr) << name;
    EXPECT_EQ(serve("app/missing.js").head.status(), 404);
}

TEST(Page, IsCompressedForThoseWhoTakeIt)
{
    const Response response = serve("index.html", {{"Accept-Encoding", "gzip, deflate, br"}});
    EXPECT_EQ(response.head.status(), 200);
    EXPECT_EQ(response.body, findPageAsset("index.html")->gzip);
    EXPECT_THAT(headOf(response), HasSubstr("\r\nContent-Encoding: gzip\r\n"));
    EXPECT_THAT(headOf(response), HasSubstr("\r\nVary: Accept-Encoding\r\n"));
    EXPECT_THAT(headOf(response), HasSubstr("\r\nCache-Control: no-cache\r\n"));
    EXPECT_THAT(headOf(response), HasSubstr("\r\nContent-Type: text/html; charset=utf-8\r\n"));
    EXPECT_THAT(headOf(response), HasSubstr("Content-Length: " + std::to_string(response.body.size()) + "\r\n"));
}

TEST(Page, IsPlainForOthers)
{
    const Response response = serve("index.html");
    EXPECT_EQ(response.body, contentOf(QStringLiteral("index.html")));
    EXPECT_THAT(headOf(response), Not(HasSubstr("Content-Encoding")));
    EXPECT_THAT(headOf(response), HasSubstr("\r\nVary: Accept-Encoding\r\n"));
}

TEST(Page, IsNotSentAgain)
{
    const PageAsset& asset = *findPageAsset("index.html");
    const Response plain = serve("index.html", {{"If-None-Match", asset.entityTag}});
    EXPECT_EQ(plain.head.status(), 304);
    EXPECT_TRUE(plain.body.isEmpty());
    EXPECT_THAT(headOf(plain), HasSubstr("ETag: " + asset.entityTag.toStdString()));
    EXPECT_EQ(
        serve("index.html", {{"If-None-Match", asset.gzipEntityTag}, {"Accept-Encoding", "gzip"}}).head.status(), 304);
    EXPECT_EQ(serve("index.html", {{"If-None-Match", asset.gzipEntityTag}}).head.status(), 200);
}

TEST(AcceptEncoding, TakesGzipByNameOrWildcard)
{
    for (const char* value : {"gzip", "GZIP", "br, gzip", "gzip;q=0.1", "gzip; q=1.0", "*", "br;q=0,*;q=0.5"})
        EXPECT_TRUE(acceptsGzip(value)) << value;
    for (const char* value :
         {"", "br", "identity", "gzip;q=0", "gzip; q=0.000", "*;q=0", "gzip;q=0, *", "gzipped", "x-gzip;q"})
        EXPECT_FALSE(acceptsGzip(value)) << value;
    EXPECT_FALSE(acceptsGzip({}));
}

} // namespace
