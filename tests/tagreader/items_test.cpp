// What a reader makes of a file's rows, and of a path alone.

#include "support/item.h"

#include "audiofile.h"
#include "printers.h"

#include "tavo/tavoroles.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

const QString service = QStringLiteral("file");

QByteArray taggedSound()
{
    return id3Tag(
               id3Frame("TIT2", utf8Content(QStringLiteral("Kettle"))) +
               id3Frame("TPE1", utf8Content(QStringLiteral("Herons")))) +
           mpegSound();
}

/// Values of CMAllRoles(), in that order; those that are not given are invalid.
QVariantList rowsOf(const QVariantHash& values)
{
    QVariantList rows;
    for (const QString& role : CMAllRoles())
        rows.append(values.value(role));
    return rows;
}

QVariantHash mediaRecord()
{
    const QVariantHash resource = {
        {QStringLiteral("uri"), QStringLiteral("file:///x")},
        {QStringLiteral("mimeType"), QStringLiteral("audio/mpeg")}};
    return {
        {QStringLiteral("metaData"), QVariantHash{{QStringLiteral("serviceID"), QStringLiteral("other")}}},
        {QStringLiteral("resources"), QVariantList{resource}}};
}

QVariantHash someValues()
{
    return {
        {TavoRoles::Path(), QStringLiteral("/other/x.mp3")},
        {TavoRoles::Title(), QStringLiteral("x.mp3")},
        {TavoRoles::Type(), QStringLiteral("audio")},
        {TavoRoles::ContainerPlayable(), false},
        {TavoRoles::Flags(), QVariantHash{{CMFlags::File(), true}}},
        {TavoRoles::MediaData(), mediaRecord()},
        {TavoRoles::Timestamp(), 1234567890U}};
}

/// A test of both readers.
class ItemTest : public testing::TestWithParam<const TagReader*>
{
protected:
    [[nodiscard]] QVariant item(const QString& name, const QVariantList& rows = {}) const
    {
        return GetParam()->readItem(QDir(folder.path()), folder.filePath(name), service, rows);
    }

    void write(const QString& name, const QByteArray& content) const { writeFile(folder.filePath(name), content); }

    const QTemporaryDir folder;
};

TEST_P(ItemTest, RowsAreKeptAndTheTitleIsTheTags)
{
    write(QStringLiteral("x.mp3"), taggedSound());
    QVariantHash roles = Item(item(QStringLiteral("x.mp3"), rowsOf(someValues()))).roles();
    roles.remove(TavoRoles::MediaData());
    QVariantHash expected = someValues();
    expected.remove(TavoRoles::MediaData());
    expected.insert(TavoRoles::Title(), QStringLiteral("Kettle"));
    EXPECT_EQ(roles, expected);
}

TEST_P(ItemTest, InvalidRowsAreLeftOut)
{
    write(QStringLiteral("x.mp3"), taggedSound());
    const QVariantHash values = {
        {TavoRoles::Title(), QStringLiteral("x.mp3")}, {TavoRoles::MediaData(), mediaRecord()}};
    const QVariantHash roles = Item(item(QStringLiteral("x.mp3"), rowsOf(values))).roles();
    EXPECT_THAT(roles.keys(), UnorderedElementsAreArray(values.keys()));
}

TEST_P(ItemTest, MediaRecordOfTheRowsIsCompleted)
{
    write(QStringLiteral("x.mp3"), taggedSound());
    const Item item(this->item(QStringLiteral("x.mp3"), rowsOf(someValues())));
    EXPECT_EQ(item.metaData().value(QStringLiteral("serviceID")), QStringLiteral("other"));
    EXPECT_EQ(item.metaData().value(QStringLiteral("artist")), QStringLiteral("Herons"));
    EXPECT_EQ(item.resource().value(QStringLiteral("uri")), QStringLiteral("file:///x"));
    EXPECT_EQ(item.resource().value(QStringLiteral("mimeType")), QStringLiteral("audio/mpeg"));
    EXPECT_GT(item.duration(), 900);
}

TEST_P(ItemTest, FurtherResourcesAndFieldsStay)
{
    write(QStringLiteral("x.mp3"), taggedSound());
    const QVariantHash second = {{QStringLiteral("uri"), QStringLiteral("http://x/y")}};
    QVariantHash media = mediaRecord();
    media.insert(QStringLiteral("resources"), media.value(QStringLiteral("resources")).toList() << QVariant(second));
    media.insert(QStringLiteral("mine"), 7);
    QVariantHash values = someValues();
    values.insert(TavoRoles::MediaData(), media);
    const Item item(this->item(QStringLiteral("x.mp3"), rowsOf(values)));
    EXPECT_EQ(item.resources().size(), 2);
    EXPECT_EQ(item.resources().value(1), QVariant(second));
    EXPECT_EQ(item.media().value(QStringLiteral("mine")), 7);
}

TEST_P(ItemTest, WithoutRowsItIsMadeFromThePath)
{
    const QString name = QString::fromUtf8("Björn #1 100%?.mp3");
    write(name, mpegSound());
    const Item item(this->item(name));
    EXPECT_THAT(
        item.roles().keys(), UnorderedElementsAre(TavoRoles::Path(), TavoRoles::Title(), TavoRoles::MediaData()));
    EXPECT_EQ(item.roles().value(TavoRoles::Path()), QStringLiteral("/file/Bj%C3%B6rn%20%231%20100%25%3F.mp3"));
    EXPECT_EQ(item.title(), name);
    EXPECT_EQ(item.metaData(), (QVariantHash{{QStringLiteral("serviceID"), service}}));
    EXPECT_EQ(
        item.resource().value(QStringLiteral("uri")),
        QStringLiteral("file://") + folder.path() + QStringLiteral("/Bj%C3%B6rn%20%231%20100%25%3F.mp3"));
    EXPECT_EQ(item.resource().value(QStringLiteral("mimeType")), QStringLiteral("audio/mpeg"));
}

TEST_P(ItemTest, PathOutsideTheRootLeadsUpFromIt)
{
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("root")));
    write(QStringLiteral("x.mp3"), taggedSound());
    const QDir root(folder.filePath(QStringLiteral("root")));
    const Item item(GetParam()->readItem(root, folder.filePath(QStringLiteral("x.mp3")), service, {}));
    EXPECT_EQ(item.roles().value(TavoRoles::Path()), QStringLiteral("/file/../x.mp3"));
    EXPECT_EQ(item.title(), QStringLiteral("Kettle"));
}

TEST_P(ItemTest, RelativePathIsOneBelowTheRoot)
{
    write(QStringLiteral("x.mp3"), taggedSound());
    const Item item(GetParam()->readItem(QDir(folder.path()), QStringLiteral("x.mp3"), service, {}));
    EXPECT_EQ(item.title(), QStringLiteral("Kettle"));
    EXPECT_EQ(item.roles().value(TavoRoles::Path()), QStringLiteral("/file/x.mp3"));
}

TEST_P(ItemTest, MissingFileGivesWhatTheRowsTell)
{
    EXPECT_EQ(item(QStringLiteral("gone.mp3"), rowsOf(someValues())), QVariant(someValues()));
}

TEST_P(ItemTest, NameWithANullCharacterIsNoFile)
{
    write(QStringLiteral("x.mp3"), taggedSound());
    const QString name = QStringLiteral("x.mp3") + QChar(0) + QStringLiteral(".mp3");
    EXPECT_EQ(item(name, rowsOf(someValues())), QVariant(someValues()));
}

TEST_P(ItemTest, FileThatIsNoAudioGivesWhatTheRowsTell)
{
    write(QStringLiteral("list.m3u"), "#EXTM3U\nx.mp3\n");
    EXPECT_EQ(item(QStringLiteral("list.m3u"), rowsOf(someValues())), QVariant(someValues()));
}

TEST_P(ItemTest, TextNamedAsAudioGivesWhatTheRowsTell)
{
    for (const char* name :
         {"x.mp3", "x.flac", "x.ogg", "x.opus", "x.m4a", "x.aac", "x.wav", "x.aiff", "x.wma", "x.ape", "x.wv",
          "x.mpc"}) {
        write(QString::fromLatin1(name), "This is no sound.\n");
        EXPECT_EQ(item(QString::fromLatin1(name), rowsOf(someValues())), QVariant(someValues())) << name;
    }
}

TEST_P(ItemTest, EmptyFileGivesWhatTheRowsTell)
{
    for (const char* name : {"x.mp3", "x.flac", "x.ogg", "x.m4a", "x.wav", "x.wma", "x.ape", "x.wv", "x.mpc"}) {
        write(QString::fromLatin1(name), {});
        EXPECT_EQ(item(QString::fromLatin1(name), rowsOf(someValues())), QVariant(someValues())) << name;
    }
}

TEST_P(ItemTest, EmptyTagsAreAbsent)
{
    const QByteArray frames =
        id3Frame("TIT2", utf8Content(QStringLiteral(" "))) + id3Frame("TPE1", QByteArray(1, '\3')) +
        id3Frame("TRCK", utf8Content(QStringLiteral("0"))) + id3Frame("TDRC", utf8Content(QStringLiteral("soon")));
    write(QStringLiteral("x.mp3"), id3Tag(frames) + mpegSound());
    const Item item(this->item(QStringLiteral("x.mp3")));
    EXPECT_EQ(item.metaData(), (QVariantHash{{QStringLiteral("serviceID"), service}}));
    EXPECT_EQ(item.title(), QStringLiteral("x.mp3"));
}

TEST_P(ItemTest, SymbolicLinkIsFollowed)
{
    write(QStringLiteral("target"), taggedSound());
    ASSERT_TRUE(QFile::link(folder.filePath(QStringLiteral("target")), folder.filePath(QStringLiteral("x.mp3"))));
    EXPECT_EQ(Item(item(QStringLiteral("x.mp3"))).title(), QStringLiteral("Kettle"));
}

TEST_P(ItemTest, ConvertsToJsonCompletely)
{
    write(QStringLiteral("x.mp3"), taggedSound());
    const QVariant item = this->item(QStringLiteral("x.mp3"), rowsOf(someValues()));
    const QJsonObject object = QJsonObject::fromVariantHash(item.toHash());
    const QJsonObject metaData =
        object.value(QLatin1String("mediaData")).toObject().value(QLatin1String("metaData")).toObject();
    EXPECT_EQ(metaData.value(QLatin1String("title")).toString(), QStringLiteral("Kettle"));
    EXPECT_EQ(object.keys().size(), item.toHash().size());
}

const PlayListTagReader playListReader;
const MusicLibraryTagReader libraryReader(300);

INSTANTIATE_TEST_SUITE_P(Readers, ItemTest, testing::Values(&playListReader, &libraryReader), [](const auto& test) {
    return test.index == 0 ? "PlayList" : "MusicLibrary";
});

TEST(Items, DateGivesItsYear)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("x.flac"));
    for (const char* date : {"1998", "1998-05-01", "19980501"}) {
        writeFile(file, flacFile({{4, vorbisComment({QByteArray("DATE=") + date})}}));
        EXPECT_EQ(libraryItem(file).metaData().value(QStringLiteral("year")), 1998) << date;
    }
}

TEST(Items, GenreNumberGivesItsName)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("x.mp3"));
    writeFile(file, id3Tag(id3Frame("TCON", utf8Content(QStringLiteral("17")))) + mpegSound());
    EXPECT_EQ(libraryItem(file).metaData().value(QStringLiteral("genre")), QStringLiteral("Rock"));
}

TEST(Items, FirstTagOfAFileThatHasAFieldGivesIt)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("x.mp3"));
    writeFile(file, taggedSound() + apeTag({{"Title", "Another"}, {"Album", "Strings"}}));
    const QVariantHash metaData = playListItem(file).metaData();
    EXPECT_EQ(metaData.value(QStringLiteral("title")), QStringLiteral("Kettle"));
    EXPECT_EQ(metaData.value(QStringLiteral("album")), QStringLiteral("Strings"));
}

} // namespace
