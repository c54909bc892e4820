#include "tavo/tavomedia.h"

#include "printers.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

QByteArray encoded(const QString& path)
{
    return TavoUrl::fromLocalFile(path).toEncoded();
}

TEST(Url, AgreesWithQtOnLettersDigitsAndUnreservedMarks)
{
    const QStringList paths = {
        QStringLiteral("/"),
        QStringLiteral("/Music/A-b_c.d~e/01.mp3"),
        QStringLiteral("/with space"),
        QStringLiteral("/100%"),
        QStringLiteral("/%41"),
        QStringLiteral("/a#b"),
        QStringLiteral("/a?b"),
        QStringLiteral("/\"quoted\"<x>`^{|}\\"),
        QStringLiteral("/\n\t\x01\x7F"),
        QString::fromUtf8("/Bj\u00f6rk/\u65e5\u672c/\U0001F3B5"),
        QStringLiteral("/a/../b/./c")};
    for (const QString& path : paths)
        EXPECT_EQ(encoded(path), QUrl::fromLocalFile(path).toEncoded()) << path.toStdString();
}

TEST(Url, EncodesReservedMarksThatQtLeavesAlone)
{
    const QString path = QStringLiteral("/!$&'()*+,;=:@[]");
    EXPECT_EQ(encoded(path), QByteArray("file:///%21%24%26%27%28%29%2A%2B%2C%3B%3D%3A%40%5B%5D"));
    EXPECT_NE(encoded(path), QUrl::fromLocalFile(path).toEncoded());
}

TEST(Url, LeadingSlashesBeginNoHost)
{
    const QString path = QStringLiteral("//host/share");
    EXPECT_EQ(encoded(path), QByteArray("file:////host/share"));
    EXPECT_EQ(QUrl::fromLocalFile(path).toEncoded(), QByteArray("file://host/share"));
}

TEST(Url, DecodesToItsPath)
{
    QString everyLatinCharacter = QStringLiteral("/");
    for (ushort unit = 1; unit < 0x180; ++unit)
        everyLatinCharacter += QChar(unit);
    for (const QString& path :
         {everyLatinCharacter, QStringLiteral("/%2F"), QStringLiteral("/a//b/"), QString::fromUtf8("/\U0001F3B5")}) {
        const QUrl url = QUrl::fromEncoded(encoded(path), QUrl::StrictMode);
        EXPECT_TRUE(url.isValid());
        EXPECT_EQ(url.toLocalFile(), path);
    }
}

TEST(Url, IsAsciiForAnyPath)
{
    const QString unpaired = QStringLiteral("/") + QChar(0xD800) + QStringLiteral("/") + QChar(0xFFFD);
    for (const char c : encoded(unpaired))
        EXPECT_TRUE(c > ' ' && c < 0x7F);
}

TEST(Media, ResourceReturnsItsFields)
{
    TavoResource resource{QVariantHash()};
    resource.setMimeType(QStringLiteral("audio/mpeg"));
    resource.setUri(QStringLiteral("file:///a"));
    EXPECT_EQ(resource.mimeType(), QStringLiteral("audio/mpeg"));
    EXPECT_EQ(resource.uri(), QStringLiteral("file:///a"));
}

TEST(Media, ResourceHoldsTechnicalData)
{
    TavoResource resource;
    resource.setDuration(Q_INT64_C(3600000000));
    resource.setBitRate(320000);
    resource.setSampleRate(44100);
    resource.setChannels(2);
    const QVariantHash expected = {
        {QStringLiteral("duration"), Q_INT64_C(3600000000)},
        {QStringLiteral("bitRate"), 320000},
        {QStringLiteral("sampleRate"), 44100},
        {QStringLiteral("channels"), 2}};
    EXPECT_EQ(resource.fields(), expected);
}

TEST(Media, MetaDataHoldsTheFieldsOfATag)
{
    TavoMetaData metaData;
    metaData.setServiceID(QStringLiteral("usb"));
    metaData.setTitle(QStringLiteral("T"));
    metaData.setArtist(QStringLiteral("A"));
    metaData.setAlbum(QStringLiteral("B"));
    metaData.setAlbumArtist(QStringLiteral("C"));
    metaData.setGenre(QStringLiteral("G"));
    metaData.setTrackNumber(3);
    metaData.setDiscNumber(2);
    metaData.setYear(1971);
    const QVariantHash expected = {
        {QStringLiteral("serviceID"), QStringLiteral("usb")},
        {QStringLiteral("title"), QStringLiteral("T")},
        {QStringLiteral("artist"), QStringLiteral("A")},
        {QStringLiteral("album"), QStringLiteral("B")},
        {QStringLiteral("albumArtist"), QStringLiteral("C")},
        {QStringLiteral("genre"), QStringLiteral("G")},
        {QStringLiteral("trackNumber"), 3},
        {QStringLiteral("discNumber"), 2},
        {QStringLiteral("year"), 1971}};
    EXPECT_EQ(metaData.fields(), expected);
    EXPECT_EQ(metaData.serviceID(), QStringLiteral("usb"));
}

TEST(Media, UnknownFieldsAreAbsent)
{
    EXPECT_TRUE(TavoMetaData().fields().isEmpty());
    EXPECT_TRUE(TavoResource().fields().isEmpty());
    EXPECT_TRUE(TavoMediaData().fields().isEmpty());
    EXPECT_EQ(TavoMediaData().resources().size(), 0);
}

TEST(Media, CoverIsBase64InJson)
{
    TavoMetaData metaData;
    metaData.setAlbumArt(QStringLiteral("image/png"), 300, 200, QByteArrayLiteral("\x89PNG"));
    const QJsonObject expected = {
        {QStringLiteral("albumArt"), QJsonObject{
                                         {QStringLiteral("mimeType"), QStringLiteral("image/png")},
                                         {QStringLiteral("width"), 300},
                                         {QStringLiteral("height"), 200},
                                         {QStringLiteral("data"), QStringLiteral("iVBORw==")}}}};
    EXPECT_EQ(QJsonValue::fromVariant(metaData.__variant()), expected);
}

TEST(Media, RecordIsAHashOfMetaDataAndResources)
{
    TavoResource resource;
    resource.setUri(QStringLiteral("file:///a"));
    TavoList<TavoResource> resources;
    resources.append(resource);
    TavoMetaData metaData;
    metaData.setServiceID(QStringLiteral("file"));
    TavoMediaData media;
    media.setMetaData(metaData);
    media.setResources(resources);
    const QVariantHash expected = {
        {QStringLiteral("metaData"), QVariantHash{{QStringLiteral("serviceID"), QStringLiteral("file")}}},
        {QStringLiteral("resources"),
         QVariantList{QVariantHash{{QStringLiteral("uri"), QStringLiteral("file:///a")}}}}};
    EXPECT_EQ(media.__variant(), QVariant(expected));
    EXPECT_EQ(media.metaData().serviceID(), QStringLiteral("file"));
    ASSERT_EQ(media.resources().size(), 1);
    EXPECT_EQ(media.resources().at(0).uri(), QStringLiteral("file:///a"));
}

} // namespace
