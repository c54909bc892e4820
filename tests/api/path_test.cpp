#include "model/cmpath.h"

#include "printers.h"

#include <QHash>
#include <QVariant>

#include <gtest/gtest.h>

#include <sstream>

namespace {

CMPath path(const char* base)
{
    return {QStringLiteral("file"), QString::fromUtf8(base)};
}

TEST(Path, EncodedFormKeepsSlashesAndEncodesTheRest)
{
    EXPECT_EQ(path("Music/A#1").toEncoded(), QStringLiteral("/file/Music/A%231"));
    EXPECT_EQ(path("/etc").toEncoded(), QStringLiteral("/file//etc"));
    EXPECT_EQ(path("").toEncoded(), QStringLiteral("/file/"));
}

TEST(Path, DecodingReversesEncoding)
{
    const QStringList bases = {
        QString(),
        QStringLiteral("a/b"),
        QStringLiteral("/"),
        QStringLiteral("/etc"),
        QStringLiteral("../x"),
        QStringLiteral("a//b"),
        QStringLiteral("100%"),
        QStringLiteral("%41"),
        QString::fromUtf8("Bj\u00f6rk/\U0001F3B5"),
        QStringLiteral("new\nline"),
        QString(QChar(0)),
        QString(QChar(0xD800)),
        QString(QChar(0xDFFF)) + QChar(0xD800),
        QString(QChar(0xD7FF)) + QChar(0xE000),
        QString(QChar(0xFFFD)),
        QString(QChar(0xFEFF)),
        QString(QChar(0xDC00)) + QChar(0xFEFF) + QChar(0xFEFF)};
    for (const QString& base : bases) {
        const CMPath original(QStringLiteral("fi/le"), base);
        EXPECT_EQ(CMPath::fromEncoded(original.toEncoded()), original) << original.toEncoded().toStdString();
    }
}

TEST(Path, DotAndTrailingSlashesAreDropped)
{
    EXPECT_EQ(path("."), path(""));
    EXPECT_EQ(path("./"), path(""));
    EXPECT_EQ(path("a/b//"), path("a/b"));
    EXPECT_EQ(path("/").base(), QStringLiteral("/"));
    EXPECT_EQ(path("//").base(), QStringLiteral("/"));
    EXPECT_EQ(path("./a").base(), QStringLiteral("./a"));
}

TEST(Path, StartsWithComparesWholeSegments)
{
    EXPECT_TRUE(path("a/b/c").startsWith(path("a/b")));
    EXPECT_TRUE(path("a/b").startsWith(path("a/b")));
    EXPECT_FALSE(path("a/bc").startsWith(path("a/b")));
    EXPECT_FALSE(path("a").startsWith(path("a/b")));
    EXPECT_TRUE(path("/etc").startsWith(path("")));
    EXPECT_TRUE(path("/etc").startsWith(path("/")));
    EXPECT_FALSE(path("a").startsWith(CMPath(QStringLiteral("other"), QString())));
}

TEST(Path, EmptyBaseStartsWithAnyOfItsSpellings)
{
    const CMPath null(QStringLiteral("file"), QString());
    EXPECT_TRUE(null.startsWith(path("")));
    EXPECT_TRUE(path("").startsWith(null));
    EXPECT_TRUE(path(".").startsWith(path("")));
}

TEST(Path, StartsWithReturnsTheRest)
{
    QString rest;
    EXPECT_TRUE(path("menu/context//file/A%231").startsWith(path("menu/context"), &rest));
    EXPECT_EQ(rest, QStringLiteral("/file/A%231"));
    EXPECT_TRUE(path("a").startsWith(path("a"), &rest));
    EXPECT_EQ(rest, QString());
    EXPECT_TRUE(path("a/b").startsWith(path(""), &rest));
    EXPECT_EQ(rest, QStringLiteral("a/b"));
}

TEST(Path, TextWithoutLeadingSlashIsABaseWithoutPrefix)
{
    EXPECT_EQ(CMPath::fromEncoded(QStringLiteral("a%20b/c")), CMPath(QString(), QStringLiteral("a b/c")));
    EXPECT_EQ(CMPath::fromEncoded(QStringLiteral("/file")), path(""));
}

TEST(Path, PrintsItsEncodedForm)
{
    std::ostringstream out;
    out << path("a b");
    EXPECT_EQ(out.str(), "/file/a%20b");
}

TEST(Path, StreamsItsEncodedForm)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << path("a b");
    CMPath read;
    QDataStream in(bytes);
    in >> read;
    EXPECT_EQ(read, path("a b"));
}

TEST(Path, EqualPathsHashAlike)
{
    EXPECT_EQ(qHash(path("a/")), qHash(path("a")));
    EXPECT_NE(qHash(path("a")), qHash(path("b")));
}

TEST(Path, OrdersByPrefixThenBase)
{
    EXPECT_LT(CMPath(QStringLiteral("a"), QStringLiteral("z")), CMPath(QStringLiteral("b"), QStringLiteral("a")));
    EXPECT_LT(path("B"), path("a"));
    EXPECT_FALSE(path("a") < path("a"));
}

TEST(Path, DefaultPathHasNeitherPrefixNorBase)
{
    EXPECT_EQ(CMPath(), CMPath(QString(), QString()));
    EXPECT_NE(CMPath(), path(""));
    EXPECT_EQ(CMPath().toEncoded(), QStringLiteral("/"));
    EXPECT_EQ(CMPath::fromEncoded(QStringLiteral("/")), CMPath());
    EXPECT_EQ(CMPath::fromEncoded(QStringLiteral("//")), CMPath());
    EXPECT_EQ(CMPath::fromEncoded(QString()), CMPath());
}

TEST(Path, IsKnownToTheMetaTypeSystemByName)
{
    EXPECT_EQ(QMetaType::type("CMPath"), qMetaTypeId<CMPath>());
}

TEST(Path, VariantsOfPathsCompareAndConvert)
{
    const QVariant value = QVariant::fromValue(path("a b"));
    EXPECT_EQ(value, QVariant::fromValue(path("a b/")));
    EXPECT_NE(value, QVariant::fromValue(path("a")));
    EXPECT_EQ(value.toString(), QStringLiteral("/file/a%20b"));
}

TEST(Path, VariantsOfPathsAreStreamed)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << QVariant::fromValue(path("a b"));
    QVariant read;
    QDataStream in(bytes);
    in >> read;
    EXPECT_EQ(read.value<CMPath>(), path("a b"));
}

} // namespace
