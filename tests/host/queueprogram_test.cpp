#include "support/serving.h"
#include "support/tavo.h"
#include "support/webclient.h"
#include "support/words.h"

#include "printers.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

/// Commands for a server of the program.
class QueueProgram : public testing::Test
{
protected:
    QueueProgram()
    {
        for (const char* name : {"Album/1.mp3", "Album/2.mp3", "3.mp3"})
            serving.tree.addFile(serving.served(QString::fromUtf8(name)));
    }

    [[nodiscard]] Outcome run(const char* arguments) const
    {
        Tavo tavo;
        tavo.setVariable(QStringLiteral("TAVO_SERVER"), QStringLiteral("http://127.0.0.1:%1").arg(serving.port()));
        tavo.setVariable(QStringLiteral("TAVO_TOKEN_FILE"), tokenFile);
        tavo.start(words(arguments));
        return tavo.finish();
    }

    /// Of a command that succeeds.
    QByteArray outputOf(const char* arguments) const
    {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 0) << arguments << ": " << outcome.errors.toStdString();
        return outcome.output;
    }

    [[nodiscard]] std::string problemOf(const char* arguments) const
    {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 1) << arguments;
        EXPECT_THAT(outcome.output.toStdString(), IsEmpty());
        return outcome.errors.toStdString();
    }

    /// The ids of the entries, in their order.
    [[nodiscard]] QStringList ids() const
    {
        QStringList ids;
        const QJsonObject queue = QJsonDocument::fromJson(outputOf("queue --json")).object();
        for (const QJsonValue row : queue.value(QLatin1String("rows")).toArray())
            ids.append(row.toArray().first().toString().section(QLatin1Char('/'), -1));
        return ids;
    }

    void writeToken(const char* name, const QByteArray& token)
    {
        serving.tree.addFile(QString::fromUtf8(name), token);
        QFile::setPermissions(serving.tree.absolute(QString::fromUtf8(name)), QFile::ReadOwner | QFile::WriteOwner);
    }

    Serving serving;
    QString tokenFile;
};

TEST_F(QueueProgram, AddedFilesAreInTheQueue)
{
    serving.start();
    EXPECT_EQ(outputOf("queue"), "  ID  TITLE  ARTIST  ALBUM  DURATION\n");
    EXPECT_EQ(outputOf("queue add Album"), "added 2 entries\n");
    EXPECT_EQ(outputOf("queue play file:3.mp3"), "added 1 entry\n");
    EXPECT_EQ(
        outputOf("queue"), "   ID  TITLE  ARTIST  ALBUM  DURATION\n"
                           ">  3   3.mp3  -       -      -\n"
                           "   1   1.mp3  -       -      -\n"
                           "   2   2.mp3  -       -      -\n");
}

TEST_F(QueueProgram, SlashAddsTheWholeRoot)
{
    serving.start();
    EXPECT_EQ(outputOf("queue add /"), "added 3 entries\n");
}

TEST_F(QueueProgram, EntriesMoveLeaveAndComeBack)
{
    serving.start();
    outputOf("queue add Album 3.mp3");
    outputOf("queue move 3 --after head");
    EXPECT_EQ(ids(), words("3 1 2"));
    outputOf("queue move 3 1 --after 2");
    EXPECT_EQ(ids(), words("2 3 1"));
    const QByteArray told = outputOf("queue remove 2 1");
    EXPECT_EQ(ids(), words("3"));
    outputOf("queue next Album");
    EXPECT_EQ(ids(), words("4 5 3"));
    const QString undo = QString::fromUtf8(told).section(QLatin1Char('\''), 1, 1).section(QLatin1Char(' '), 1);
    outputOf(undo.toUtf8().constData());
    EXPECT_THAT(ids(), testing::UnorderedElementsAreArray(words("1 2 3 4 5")));
    outputOf("queue shuffle");
    EXPECT_THAT(ids(), testing::UnorderedElementsAreArray(words("1 2 3 4 5")));
    outputOf("queue clear");
    EXPECT_THAT(ids(), IsEmpty());
}

TEST_F(QueueProgram, PlayerObeys)
{
    serving.start();
    outputOf("queue replace Album");
    EXPECT_THAT(outputOf("player").toStdString(), HasSubstr("state     paused\nentry     1\ntitle     1.mp3\n"));
    WebClient page(serving.port());
    EXPECT_TRUE(page.call("open", pathParameter("/playlist/outputs/Kitchen")).contains(QLatin1String("result")));
    EXPECT_EQ(outputOf("output"), "  NAME\n  Kitchen\n");
    outputOf("output Kitchen");
    EXPECT_EQ(outputOf("output"), "   NAME\n>  Kitchen\n");
    outputOf("play 2");
    outputOf("volume 40");
    outputOf("repeat all");
    outputOf("shuffle on");
    outputOf("seek 1:30");
    const std::string playing = outputOf("player").toStdString();
    for (const char* line :
         {"state     playing\nentry     2\n", "output    Kitchen\n", "volume    40\n", "repeat    all\n",
          "shuffle   yes\n", "position  1:3"})
        EXPECT_THAT(playing, HasSubstr(line));
    outputOf("previous");
    outputOf("next");
    outputOf("pause");
    EXPECT_THAT(outputOf("player").toStdString(), HasSubstr("state     paused\n"));
    outputOf("stop");
    EXPECT_THAT(outputOf("player").toStdString(), HasSubstr("state     stopped\n"));
    outputOf("output --none");
    EXPECT_THAT(outputOf("player").toStdString(), HasSubstr("output    -\n"));
}

TEST_F(QueueProgram, RefusalsAreTold)
{
    serving.start();
    outputOf("queue add 3.mp3");
    EXPECT_THAT(problemOf("play"), HasSubstr("no such output"));
    EXPECT_THAT(problemOf("output Kitchen"), HasSubstr("no such output"));
    EXPECT_THAT(problemOf("queue remove 99"), HasSubstr("no such entry"));
    EXPECT_THAT(problemOf("queue undo 99"), HasSubstr("cannot be undone"));
    EXPECT_THAT(problemOf("queue add nothing.mp3"), testing::StartsWith("tavo: "));
    EXPECT_THAT(problemOf("queue add ../x"), HasSubstr("does not show"));
    EXPECT_EQ(ids(), words("1"));
}

TEST_F(QueueProgram, TokenOpensTheServer)
{
    writeToken("token", "correct horse battery");
    writeToken("other", "wrong horse battery");
    serving.start({QStringLiteral("--token-file"), serving.tree.absolute(QStringLiteral("token"))});
    EXPECT_THAT(problemOf("queue"), HasSubstr("needs a token: --token-file FILE"));
    tokenFile = serving.tree.absolute(QStringLiteral("other"));
    EXPECT_THAT(problemOf("queue"), HasSubstr("does not accept the token"));
    tokenFile = serving.tree.absolute(QStringLiteral("token"));
    EXPECT_THAT(ids(), IsEmpty());
}

} // namespace
