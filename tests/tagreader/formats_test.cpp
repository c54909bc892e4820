// Every format and kind of tag, in files that their own encoders made, against what is in them and what ffprobe finds.

#include "support/ffprobe.h"
#include "support/item.h"

#include "printers.h"

#include <QRegularExpression>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

namespace {

enum class Tags { None, Short, Common, All };

struct Medium
{
    const char* file;
    Tags tags;
    /// Not valid: the file has none.
    QSize cover;
    /// What ffprobe measures the duration of, where it is wrong about the file itself. Null: nothing.
    const char* measured;
};

std::ostream& operator<<(std::ostream& out, const Medium& medium)
{
    return out << medium.file;
}

const QSize wide(600, 400);
const QSize narrow(120, 80);

const std::vector<Medium> media = {
    {"id3v1.mp3", Tags::Short, {}, "id3v1.mp3"},
    {"id3v2.2.mp3", Tags::All, narrow, "id3v2.2.mp3"},
    {"id3v2.3.mp3", Tags::All, wide, "id3v2.3.mp3"},
    {"id3v2.4.mp3", Tags::All, wide, "id3v2.4.mp3"},
    {"apev2.mp3", Tags::All, narrow, "parts/variable.mp3"},
    {"untagged.mp3", Tags::None, {}, "untagged.mp3"},
    {"comments.flac", Tags::All, wide, "comments.flac"},
    {"comments.ogg", Tags::All, wide, "comments.ogg"},
    {"comments.opus", Tags::All, wide, "comments.opus"},
    {"flac-in-ogg.oga", Tags::All, {}, nullptr},
    {"speex.spx", Tags::All, {}, "speex.spx"},
    {"aac.m4a", Tags::All, wide, "aac.m4a"},
    {"alac.m4a", Tags::All, wide, "alac.m4a"},
    {"adts.aac", Tags::None, {}, "adts.aac"},
    {"adts-id3v2.aac", Tags::All, {}, "adts-id3v2.aac"},
    {"info.wav", Tags::Common, {}, "info.wav"},
    {"id3v2.wav", Tags::All, narrow, "id3v2.wav"},
    {"id3v2.aiff", Tags::All, wide, "id3v2.aiff"},
    {"picture.wma", Tags::All, narrow, "parts/sound.wav"},
    {"apev2.ape", Tags::All, wide, "apev2.ape"},
    {"apev2.wv", Tags::All, wide, "apev2.wv"},
    {"apev2.mpc", Tags::All, wide, "parts/sound.wav"},
    {"id3v2.tta", Tags::All, wide, "id3v2.tta"}};

QString path(const char* file)
{
    return QDir(QStringLiteral(TAVO_TEST_MEDIA)).filePath(QString::fromUtf8(file));
}

/// The fields that are not of the file's kind of tags are absent.
QVariantHash expectedMetaData(Tags tags)
{
    QVariantHash fields = {{QStringLiteral("serviceID"), QStringLiteral("file")}};
    if (tags == Tags::None)
        return fields;
    const bool isShort = tags == Tags::Short;
    fields.insert(QStringLiteral("title"), isShort ? QStringLiteral("Green tea") : QStringLiteral("Grönt te & regn"));
    fields.insert(QStringLiteral("artist"), isShort ? QStringLiteral("Herons") : QStringLiteral("Ålesjö Kvartett"));
    fields.insert(QStringLiteral("album"), isShort ? QStringLiteral("Strings") : QStringLiteral("Stråkar #1"));
    fields.insert(QStringLiteral("genre"), QStringLiteral("Jazz"));
    fields.insert(QStringLiteral("year"), 1998);
    fields.insert(QStringLiteral("trackNumber"), 3);
    if (tags == Tags::All) {
        fields.insert(QStringLiteral("albumArtist"), QStringLiteral("Several Herons"));
        fields.insert(QStringLiteral("discNumber"), 2);
    }
    return fields;
}

QVariantHash withoutArt(QVariantHash metaData)
{
    metaData.remove(QStringLiteral("albumArt"));
    return metaData;
}

std::vector<Medium> chosen(bool (*isWanted)(const Medium&))
{
    std::vector<Medium> result;
    std::copy_if(media.begin(), media.end(), std::back_inserter(result), isWanted);
    return result;
}

std::string nameOf(const testing::TestParamInfo<Medium>& test)
{
    static const QRegularExpression other(QStringLiteral("[^A-Za-z0-9]"));
    return QString::fromLatin1(test.param.file).replace(other, QStringLiteral("_")).toStdString();
}

class FormatTest : public testing::TestWithParam<Medium>
{
protected:
    const QString file = path(GetParam().file);
};

TEST_P(FormatTest, LibraryItemHasAllThatTheTagsSay)
{
    EXPECT_EQ(withoutArt(libraryItem(file).metaData()), expectedMetaData(GetParam().tags));
}

TEST_P(FormatTest, PlayListItemHasTitleArtistAlbumAndDurationAlone)
{
    const QVariantHash all = expectedMetaData(GetParam().tags);
    QVariantHash expected;
    for (const char* field : {"serviceID", "title", "artist", "album"}) {
        const QString name = QString::fromLatin1(field);
        if (all.contains(name))
            expected.insert(name, all.value(name));
    }
    const Item item = playListItem(file);
    EXPECT_EQ(item.metaData(), expected);
    EXPECT_EQ(item.duration(), libraryItem(file).duration());
    for (const char* field : {"bitRate", "sampleRate", "channels"})
        EXPECT_FALSE(item.resource().contains(QString::fromLatin1(field))) << field;
}

TEST_P(FormatTest, ItemIsTitledByTheTagElseByTheFileName)
{
    const QString title = expectedMetaData(GetParam().tags).value(QStringLiteral("title")).toString();
    EXPECT_EQ(playListItem(file).title(), title.isEmpty() ? QFileInfo(file).fileName() : title);
}

TEST_P(FormatTest, SoundIsAsFfprobeMeasuresIt)
{
    const QVariantHash resource = libraryItem(file).resource();
    const Probe probed = probe(file);
    EXPECT_EQ(resource.value(QStringLiteral("sampleRate")).toInt(), probed.hertz);
    EXPECT_EQ(resource.value(QStringLiteral("channels")).toInt(), probed.channels);
}

TEST_P(FormatTest, CoverIsThere)
{
    const QVariantHash art = libraryItem(file, 300).art();
    const QSize size(art.value(QStringLiteral("width")).toInt(), art.value(QStringLiteral("height")).toInt());
    const QSize cover = GetParam().cover;
    EXPECT_EQ(size, cover == wide ? QSize(300, 200) : cover == narrow ? narrow : QSize(0, 0));
    EXPECT_EQ(art.isEmpty(), !cover.isValid());
}

INSTANTIATE_TEST_SUITE_P(Formats, FormatTest, testing::ValuesIn(media), nameOf);

/// Those that do not keep their length anywhere have none to measure.
class DurationTest : public FormatTest
{
};

TEST_P(DurationTest, IsAsFfprobeMeasuresIt)
{
    const double milliseconds = probe(path(GetParam().measured)).seconds * 1000;
    EXPECT_NEAR(libraryItem(file).duration(), milliseconds, 50);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, DurationTest, testing::ValuesIn(chosen([](const Medium& medium) { return medium.measured != nullptr; })),
    nameOf);

/// ffprobe does not look for APE tags in MPEG audio.
class ProbedTest : public FormatTest
{
};

TEST_P(ProbedTest, TagsAreThoseThatFfprobeFinds)
{
    const QHash<QString, QString> tags = probe(file).tags;
    const QVariantHash metaData = libraryItem(file).metaData();
    const auto text = [&](const char* name) { return metaData.value(QString::fromLatin1(name)).toString(); };
    const auto number = [&](const char* name) { return metaData.value(QString::fromLatin1(name)).toInt(); };
    const auto probed = [&](const char* name) { return tags.value(QString::fromLatin1(name)); };
    const auto probedNumber = [&](const char* name) { return probed(name).section(QLatin1Char('/'), 0, 0).toInt(); };
    EXPECT_EQ(text("title"), probed("title"));
    EXPECT_EQ(text("artist"), probed("artist"));
    EXPECT_EQ(text("album"), probed("album"));
    EXPECT_EQ(text("albumArtist"), probed("album_artist"));
    EXPECT_EQ(text("genre"), probed("genre"));
    EXPECT_EQ(number("year"), probedNumber("date"));
    EXPECT_EQ(number("trackNumber"), probedNumber("track"));
    EXPECT_EQ(number("discNumber"), probedNumber("disc"));
}

TEST_P(ProbedTest, CoverIsThereIfFfprobeFindsOne)
{
    EXPECT_EQ(probe(file).picture, GetParam().cover);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ProbedTest,
    testing::ValuesIn(chosen([](const Medium& medium) { return qstrcmp(medium.file, "apev2.mp3") != 0; })), nameOf);

TEST(Formats, BitRateIsAsFfprobeMeasuresIt)
{
    for (const char* name :
         {"id3v2.2.mp3", "apev2.mp3", "aac.m4a", "adts.aac", "info.wav", "id3v2.aiff", "picture.wma"}) {
        const QVariantHash resource = libraryItem(path(name)).resource();
        const int probed = probe(path(name)).bitsPerSecond;
        EXPECT_NEAR(resource.value(QStringLiteral("bitRate")).toInt(), probed, probed / 20) << name;
    }
}

TEST(Formats, SeveralArtistsAreJoined)
{
    const QVariantHash metaData = playListItem(path("two-artists-back-cover.flac")).metaData();
    EXPECT_EQ(metaData.value(QStringLiteral("artist")).toString(), QStringLiteral("One, Two"));
}

TEST(Formats, BackCoverIsNoFrontCover)
{
    EXPECT_TRUE(libraryItem(path("two-artists-back-cover.flac")).art().isEmpty());
}

TEST(Formats, ContentDecidesWhatAMislabelledFileIs)
{
    const QTemporaryDir folder;
    for (const Medium& medium : media) {
        for (const char* extension : {"mp3", "flac", "ogg", "m4a", "wav", "wma", "ape"}) {
            const QString name =
                QStringLiteral("%1.%2").arg(QString::fromUtf8(medium.file), QString::fromUtf8(extension));
            const QString copy = folder.filePath(name);
            ASSERT_TRUE(QFile::copy(path(medium.file), copy));
            EXPECT_EQ(withoutArt(libraryItem(copy).metaData()), expectedMetaData(medium.tags)) << name.toStdString();
        }
    }
}

} // namespace
