#include "support/pipe.h"
#include "support/tavo.h"
#include "support/temporarytree.h"
#include "support/terminal.h"
#include "support/words.h"

#include "printers.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include <unistd.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

QStringList demo(const QStringList& rest)
{
    return QStringList{QStringLiteral("--root"), QStringLiteral(TAVO_DEMO)} + rest;
}

QJsonArray itemsOf(const Outcome& outcome)
{
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    QJsonParseError problem{};
    const QJsonDocument items = QJsonDocument::fromJson(outcome.output, &problem);
    EXPECT_TRUE(items.isArray()) << problem.errorString().toStdString();
    return items.array();
}

TEST(Prepare, ItemsAreATableOfTheirTags)
{
    const Outcome outcome = runTavo(demo(
        {QStringLiteral("prepare"), QStringLiteral("playlist"), QString::fromUtf8("M\u00f8llehj\u00f8rnet"),
         QStringLiteral("Sketches")}));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(
        outcome.output, QByteArray("TITLE          ARTIST           ALBUM     DURATION\n"
                                   "Bl\u00e5b\u00e6r & br\u00f8d  M\u00f8llehj\u00f8rnet     Sm\u00e5 ting  0:10\n"
                                   "S\u00f8ndag         M\u00f8llehj\u00f8rnet     Sm\u00e5 ting  0:09\n"
                                   "Door chime     Juniper Signal   Sketches  0:08\n"
                                   "\u7d19\u306e\u8239         Low Orbit Choir  Sketches  0:11\n"));
    EXPECT_THAT(outcome.errors.toStdString(), IsEmpty());
}

TEST(Prepare, JsonHoldsTheItems)
{
    const QJsonArray items = itemsOf(runTavo(demo(words("prepare playlist . --json"))));
    EXPECT_EQ(items.size(), 14);
    const QJsonObject media = items.first().toObject().value(QLatin1String("mediaData")).toObject();
    EXPECT_TRUE(media.value(QLatin1String("metaData")).toObject().contains(QLatin1String("artist")));
}

TEST(Prepare, LibraryTakesMoreThanAPlayList)
{
    const QJsonArray items = itemsOf(runTavo(demo(words("prepare library . --json"))));
    EXPECT_EQ(items.size(), 15) << "with the playlist file";
    EXPECT_THAT(QJsonDocument(items).toJson().toStdString(), HasSubstr("\"bitRate\""));
}

TEST(Prepare, NothingIsAnEmptyArray)
{
    TemporaryTree tree;
    tree.addFile(QStringLiteral("x.txt"));
    const Outcome outcome =
        runTavo(QStringList{QStringLiteral("--root"), tree.root()} + words("prepare playlist . --json"));
    EXPECT_EQ(outcome.output, "[]\n");
}

TEST(Prepare, WrongUseIsReported)
{
    EXPECT_EQ(runTavo(demo(words("prepare"))).status, 2);
    EXPECT_EQ(runTavo(demo(words("prepare playlist"))).status, 2);
    const Outcome outcome = runTavo(demo(words("prepare film .")));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors, "tavo: 'film' is neither playlist nor library\n");
}

TEST(Prepare, PathThatDoesNotExistIsRefused)
{
    const Outcome outcome = runTavo(demo(words("prepare playlist . missing")));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "tavo: Invalid path '/file/missing'\n");
    EXPECT_THAT(outcome.output.toStdString(), IsEmpty());
}

TEST(Prepare, WhatIsOutsideTheRootIsRefused)
{
    for (const char* path : {"..", "/usr", "../demo/../src"}) {
        const Outcome outcome = runTavo(demo(words("prepare library Sketches") << QString::fromUtf8(path)));
        EXPECT_EQ(outcome.status, 1) << path;
        EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("Access violation")) << path;
        EXPECT_THAT(outcome.output.toStdString(), IsEmpty()) << path;
    }
}

TEST(Prepare, AlbumArtWidthIsTheCoversWidth)
{
    const auto widest = [](const QStringList& arguments) {
        int width = 0;
        for (const QJsonValue item : itemsOf(runTavo(arguments))) {
            const QJsonObject media = item.toObject().value(QLatin1String("mediaData")).toObject();
            const QJsonObject tags = media.value(QLatin1String("metaData")).toObject();
            const QJsonObject cover = tags.value(QLatin1String("albumArt")).toObject();
            width = std::max(width, cover.value(QLatin1String("width")).toInt());
        }
        return width;
    };
    EXPECT_EQ(widest(demo(words("--album-art-width 16 prepare library . --json"))), 16);
    EXPECT_GT(widest(demo(words("prepare library . --json"))), 16);
}

TEST(Prepare, ProgressIsShownOnATerminalOnly)
{
    const PseudoTerminal terminal(80);
    Tavo tavo;
    tavo.setStandardErrorFile(terminal.fileName());
    tavo.start(demo(words("prepare playlist .")));
    const std::string shown = terminal.readAll().toStdString();
    EXPECT_THAT(shown, HasSubstr("looking for files"));
    EXPECT_THAT(shown, HasSubstr("0 of 15 files"));
    EXPECT_THAT(shown, testing::EndsWith("\r\x1b[K")) << "it leaves no trace";
    EXPECT_EQ(tavo.finish().status, 0);
}

TEST(Prepare, FullDiskIsAFailure)
{
    for (const char* arguments : {"prepare playlist .", "prepare playlist . --json"}) {
        Tavo tavo;
        tavo.setStandardOutputFile(QStringLiteral("/dev/full"));
        tavo.start(demo(words(arguments)));
        const Outcome outcome = tavo.finish();
        EXPECT_EQ(outcome.status, 1) << arguments;
        EXPECT_EQ(outcome.errors, "tavo: cannot write: No space left on device\n") << arguments;
    }
}

/// Enough files to be interrupted in the middle.
class LongPreparation : public testing::Test
{
protected:
    static constexpr int files = 20000;

    LongPreparation()
    {
        const QString song = QStringLiteral("Kettle & Crane/Songs for Rainy Windows/01 Half a Lantern.mp3");
        QFile::copy(QStringLiteral(TAVO_DEMO "/") + song, tree.absolute(QStringLiteral("0.mp3")));
        for (int i = 1; i < files; ++i)
            ::link(
                tree.absolute(QStringLiteral("0.mp3")).toUtf8().constData(),
                tree.absolute(QStringLiteral("%1.mp3").arg(i)).toUtf8().constData());
    }

    [[nodiscard]] QStringList arguments(const char* rest) const
    {
        return QStringList{QStringLiteral("--root"), tree.root()} + words(rest);
    }

    TemporaryTree tree;
};

TEST_F(LongPreparation, InterruptionEndsItCleanly)
{
    for (const auto& [signalNumber, status] : {std::pair(SIGINT, 130), std::pair(SIGTERM, 143)}) {
        const PseudoTerminal terminal(80);
        Tavo tavo;
        tavo.setStandardErrorFile(terminal.fileName());
        tavo.start(arguments("prepare library ."));
        ASSERT_THAT(terminal.readUntil("of 20000 files").toStdString(), HasSubstr("of 20000 files"));
        tavo.signal(signalNumber);
        EXPECT_THAT(terminal.readAll().toStdString(), testing::EndsWith("\r\x1b[K"));
        const Outcome outcome = tavo.finish();
        EXPECT_EQ(outcome.status, status);
        EXPECT_THAT(outcome.output.toStdString(), IsEmpty());
    }
}

TEST_F(LongPreparation, InterruptedJsonIsWellFormed)
{
    Tavo tavo(arguments("prepare playlist . --json"));
    QByteArray output = tavo.readLine() + '\n';
    ASSERT_TRUE(output.startsWith('['));
    tavo.signal(SIGINT);
    const Outcome outcome = tavo.finish();
    EXPECT_EQ(outcome.status, 130);
    output += outcome.output;
    EXPECT_TRUE(QJsonDocument::fromJson(output).isArray()) << output.right(100).toStdString();
    EXPECT_LT(linesOf(output).size(), files);
}

TEST_F(LongPreparation, InterruptionDoesNotWaitForAReaderThatDoesNotRead)
{
    const PseudoTerminal terminal(80);
    Pipe output;
    Tavo tavo;
    tavo.setStandardErrorFile(terminal.fileName());
    tavo.setStandardOutputFile(output.writingFileName());
    tavo.start(arguments("prepare playlist . --json"));
    output.closeWritingEnd();
    EXPECT_FALSE(output.read().isEmpty());
    tavo.signal(SIGINT);
    EXPECT_EQ(tavo.waitForEnd().status, 130);
}

TEST_F(LongPreparation, EndsWhenNobodyReadsAnyMore)
{
    Pipe output;
    Tavo tavo;
    tavo.setStandardOutputFile(output.writingFileName());
    tavo.start(arguments("prepare playlist . --json"));
    output.closeWritingEnd();
    EXPECT_FALSE(output.read().isEmpty());
    output.closeReadingEnd();
    const Outcome outcome = tavo.waitForEnd();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.errors.toStdString(), IsEmpty());
}

TEST(Count, PrintsTheNumberOfPlayableFiles)
{
    EXPECT_EQ(runTavo(demo(words("count"))).output, "15\n");
    EXPECT_EQ(runTavo(demo(words("count Sketches/"))).output, "2\n");
    EXPECT_EQ(runTavo(demo(words("--filter *.m3u count"))).output, "1\n");
    EXPECT_EQ(runTavo(demo(words("count missing"))).output, "0\n");
}

TEST(Count, DirectoryOutsideTheRootIsRefused)
{
    const Outcome outcome = runTavo(demo(words("count /usr")));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("Access violation"));
}

TEST(Info, TellsAllRolesOfOneEntry)
{
    const std::string output =
        runTavo(demo({QStringLiteral("info"), QStringLiteral("Sketches/Door chime.wav")})).output.toStdString();
    for (const char* line :
         {"path                             /file/Sketches/Door%20chime.wav\n",
          "title                            Door chime.wav\n", "type                             audio\n",
          "containerPlayable                no\n", "flags.file                       yes\n",
          "mediaData.metaData.serviceID     file\n", "timestamp                        2"})
        EXPECT_THAT(output, HasSubstr(line));
}

TEST(Info, JsonIsAnObjectOfRoles)
{
    const Outcome outcome = runTavo(demo(words("info --json Sketches")));
    const QJsonObject entry = QJsonDocument::fromJson(outcome.output).object();
    EXPECT_EQ(entry.size(), 7);
    EXPECT_EQ(entry.value(QLatin1String("type")).toString(), QStringLiteral("container"));
}

TEST(Info, WhatDoesNotExistIsRefused)
{
    EXPECT_EQ(runTavo(demo(words("info missing"))).status, 1);
}

TEST(Menu, TellsWhatCanBeDoneWithAnItem)
{
    const Outcome outcome = runTavo(demo(words("menu Sketches")));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr("Play Now       /playlist/playNow       /file/Sketches\n"));
}

TEST(Menu, JsonIsTheReply)
{
    const QJsonObject menu = QJsonDocument::fromJson(runTavo(demo(words("menu --json Sketches"))).output).object();
    EXPECT_EQ(menu.value(QLatin1String("containerType")).toInt(), 100);
    EXPECT_EQ(menu.value(QLatin1String("rows")).toArray().size(), menu.value(QLatin1String("count")).toInt());
}

} // namespace
