#include "doctor/servercheck.h"
#include "doctor/treecheck.h"
#include "doctor/watchcheck.h"
#include "support/names.h"
#include "support/rawconnection.h"
#include "support/scriptedserver.h"
#include "support/serving.h"
#include "support/terminal.h"

#include "printers.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Doctor : public testing::Test
{
protected:
    Doctor() { tree.addDirectory(QStringLiteral("root")); }

    [[nodiscard]] QStringList arguments(const QStringList& options = {}) const
    {
        const QStringList usual = {
            QStringLiteral("--root"), tree.absolute(QStringLiteral("root")), QStringLiteral("doctor"),
            QStringLiteral("--state"), tree.absolute(QStringLiteral("state"))};
        const bool listens = options.contains(QStringLiteral("--listen"));
        const QStringList anyPort = {QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0")};
        return usual + (listens ? QStringList() : anyPort) + options;
    }

    /// Runs the command and remembers its findings.
    void examine(const QStringList& options = {})
    {
        tavo.start(arguments(options + QStringList{QStringLiteral("--json")}));
        const Outcome outcome = tavo.finish();
        EXPECT_THAT(outcome.errors.toStdString(), IsEmpty());
        status = outcome.status;
        const QJsonArray list = QJsonDocument::fromJson(outcome.output).object()[QLatin1String("findings")].toArray();
        for (const QJsonValue& finding : list) {
            names.append(finding[QLatin1String("name")].toString());
            last = finding.toObject();
        }
    }

    /// Expects a single finding, which needs action.
    void expectOnly(const char* name) const
    {
        EXPECT_EQ(names, QStringList(QString::fromUtf8(name)));
        EXPECT_EQ(status, 1);
        EXPECT_FALSE(last[QLatin1String("remedy")].toString().isEmpty());
    }

    [[nodiscard]] QStringList examples() const { return last[QLatin1String("examples")].toVariant().toStringList(); }

    [[nodiscard]] std::string problem() const { return last[QLatin1String("problem")].toString().toStdString(); }

    void addSong(const QString& path) const
    {
        const bool copied = QFile::copy(
            QStringLiteral(TAVO_DEMO "/Kettle & Crane/Songs for Rainy Windows/01 Half a Lantern.mp3"),
            tree.absolute(QStringLiteral("root/") + path));
        ASSERT_TRUE(copied);
    }

    TemporaryTree tree;
    Tavo tavo;
    int status = -1;
    QStringList names;
    QJsonObject last;
};

TEST_F(Doctor, FindsNothingInAHealthyTree)
{
    addSong(QStringLiteral("song.mp3"));
    tree.addFile(QStringLiteral("root/list.m3u"));
    tree.addFile(QStringLiteral("root/notes.txt"));
    tree.addFile(QStringLiteral("root/.hidden.mp3"));
    const Outcome outcome = runTavo(arguments());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "1 directories and 2 playable files were looked at. Nothing needs doing.\n");
    EXPECT_FALSE(QDir(tree.absolute(QStringLiteral("state"))).exists());
}

TEST_F(Doctor, NamesARootThatIsMissing)
{
    tree.remove(QStringLiteral("root"));
    examine();
    expectOnly("missingRoot");
    EXPECT_THAT(problem(), HasSubstr(tree.absolute(QStringLiteral("root")).toStdString()));
}

TEST_F(Doctor, NamesDirectoriesAndFilesThatCannotBeRead)
{
    tree.addDirectory(QStringLiteral("root/closed"));
    tree.addFile(QStringLiteral("root/closed.mp3"));
    for (const char* closed : {"root/closed", "root/closed.mp3"})
        QFile::setPermissions(tree.absolute(QString::fromUtf8(closed)), {});
    tavo.setRights(Tavo::Rights::NoOverride);
    examine();
    EXPECT_EQ(names, QStringList({QStringLiteral("unreadableDirectory"), QStringLiteral("unreadableFile")}));
    EXPECT_EQ(examples(), QStringList(QStringLiteral("closed.mp3")));
    EXPECT_EQ(status, 1);
}

TEST_F(Doctor, NamesLinksThatLeadOut)
{
    tree.addDirectory(QStringLiteral("root/inside"));
    QFile::link(QStringLiteral("inside"), tree.absolute(QStringLiteral("root/harmless")));
    QFile::link(QStringLiteral("/etc"), tree.absolute(QStringLiteral("root/outside")));
    examine();
    expectOnly("outerLink");
    EXPECT_EQ(examples(), QStringList(QStringLiteral("outside")));
}

TEST_F(Doctor, CountsNamesThatAreNotUtf8)
{
    const QByteArray directory = tree.absolute(QStringLiteral("root/")).toUtf8();
    QFile file;
    ASSERT_TRUE(
        file.open(fopen((directory + brokenName()).constData(), "w"), QIODevice::WriteOnly, QFile::AutoCloseHandle));
    examine();
    expectOnly("brokenName");
    EXPECT_EQ(last[QLatin1String("count")].toInt(), 1);
}

TEST_F(Doctor, ShowsTheFirstFiveOfManyDamagedFiles)
{
    addSong(QStringLiteral("whole.mp3"));
    for (int i = 0; i < 7; ++i)
        tree.addFile(QStringLiteral("root/damaged %1.mp3").arg(i), "no sound");
    examine();
    expectOnly("unreadableTags");
    EXPECT_THAT(examples(), testing::SizeIs(5));
    EXPECT_THAT(examples(), testing::Each(testing::Property(&QString::toStdString, HasSubstr("damaged"))));
    EXPECT_EQ(last[QLatin1String("count")].toInt(), 7);
}

TEST_F(Doctor, TellsPeopleWhatToDo)
{
    tree.addFile(QStringLiteral("root/new\nline.mp3"), "no sound");
    const std::string text = runTavo(arguments()).output.toStdString();
    EXPECT_THAT(text, HasSubstr("files without readable tags below " + tree.root().toStdString() + "/root: 1\n"));
    EXPECT_THAT(text, HasSubstr("\n    new\\nline.mp3\n  -> "));
    EXPECT_THAT(text, HasSubstr("1 directories and 1 playable files were looked at.\n"));
}

TEST_F(Doctor, ShowsItsProgressOnATerminal)
{
    const PseudoTerminal terminal(80);
    tree.addDirectory(QStringLiteral("root/a"));
    tavo.setStandardErrorFile(terminal.fileName());
    tavo.start(arguments());
    EXPECT_THAT(terminal.readUntil("files").toStdString(), HasSubstr("1 directories, 0 files"));
    EXPECT_EQ(tavo.finish().status, 0);
}

TEST_F(Doctor, NamesAnAddressThatAnotherProgramHas)
{
    const ScriptedServer other([](const QByteArray&) { return httpResponse("", "404 Not Found"); });
    examine({QStringLiteral("--listen"), QStringLiteral("127.0.0.1:%1").arg(other.port())});
    expectOnly("address");
    EXPECT_THAT(problem(), HasSubstr("no tavo server answers"));
}

TEST_F(Doctor, FindsNothingWrongWithATavoThatServesAlready)
{
    Serving serving;
    serving.start();
    examine({QStringLiteral("--listen"), QStringLiteral("127.0.0.1:%1").arg(serving.port())});
    EXPECT_THAT(names, IsEmpty());
    EXPECT_EQ(status, 0);
}

TEST_F(Doctor, FindsNothingWrongWithATavoThatNeedsAToken)
{
    Serving serving;
    serving.tree.addFile(QStringLiteral("token"), "a-token-of-the-server\n");
    const QString file = serving.tree.absolute(QStringLiteral("token"));
    QFile::setPermissions(file, QFile::ReadOwner);
    serving.start({QStringLiteral("--token-file"), file});
    const QStringList listen = {QStringLiteral("--listen"), QStringLiteral("127.0.0.1:%1").arg(serving.port())};
    examine(listen);
    EXPECT_THAT(names, IsEmpty());
    tree.addFile(QStringLiteral("token"), "a-token-of-somebody-else\n");
    QFile::setPermissions(tree.absolute(QStringLiteral("token")), QFile::ReadOwner);
    examine(listen + QStringList{QStringLiteral("--token-file"), tree.absolute(QStringLiteral("token"))});
    expectOnly("address");
    EXPECT_THAT(problem(), HasSubstr("does not accept the token"));
}

TEST_F(Doctor, WarnsOfAnAddressThatEverybodyCouldUse)
{
    const QStringList everywhere = {QStringLiteral("--listen"), QStringLiteral("0.0.0.0:0")};
    examine(everywhere);
    expectOnly("openAddress");
    EXPECT_EQ(runTavo(arguments(everywhere + QStringList{QStringLiteral("--no-token")})).status, 0);
}

TEST_F(Doctor, ChecksTheTokenFile)
{
    tree.addFile(QStringLiteral("token"), "far too short\n");
    const QString file = tree.absolute(QStringLiteral("token"));
    QFile::setPermissions(file, QFile::ReadOwner);
    examine({QStringLiteral("--token-file"), file});
    expectOnly("tokenFile");
    EXPECT_THAT(problem(), HasSubstr("16 to 1024"));
}

TEST_F(Doctor, RefusesWhatIsNoAddress)
{
    EXPECT_EQ(runTavo(arguments({QStringLiteral("--listen"), QStringLiteral("nowhere")})).status, 2);
}

TEST_F(Doctor, ChecksThatTheStateDirectoryCanBeWritten)
{
    tree.addDirectory(QStringLiteral("closed"));
    QFile::setPermissions(tree.absolute(QStringLiteral("closed")), QFile::ReadOwner | QFile::ExeOwner);
    tavo.setRights(Tavo::Rights::NoOverride);
    examine({QStringLiteral("--state"), tree.absolute(QStringLiteral("closed/state"))});
    expectOnly("stateDirectory");
}

TEST_F(Doctor, NoticesThatNoWatchIsLeft)
{
    tavo.setWatchLimit(0);
    examine();
    expectOnly("watchLimit");
}

TEST_F(Doctor, NoticesThatNoInotifyInstanceIsLeft)
{
    tavo.setInotifyInstanceLimit(0);
    examine();
    expectOnly("instanceLimit");
}

TEST(DoctorChecks, DirectoriesBeyondTheWatchLimitAreTooMany)
{
    const KernelLimit limit{QStringLiteral("fs.inotify.max_user_watches"), 8192};
    EXPECT_THAT(checkWatches({}, limit, 8192), IsEmpty());
    const Findings findings = checkWatches({}, limit, 1'000'000);
    ASSERT_THAT(findings, testing::SizeIs(1));
    EXPECT_THAT(findings.front().problem.toStdString(), HasSubstr("1000000 directories"));
    EXPECT_THAT(findings.front().remedy.toStdString(), HasSubstr("sysctl -w fs.inotify.max_user_watches=2097152"));
}

TEST(DoctorChecks, AFileSystemWithoutEventsNeedsSweeps)
{
    using std::chrono::seconds;
    const QString directory = QStringLiteral("/media/nas");
    EXPECT_THAT(checkFileSystem(directory, "ext4", seconds(0)), IsEmpty());
    const Findings unswept = checkFileSystem(directory, "nfs4", seconds(0));
    const Findings swept = checkFileSystem(directory, "fuse.sshfs", seconds(5));
    ASSERT_THAT(unswept, testing::SizeIs(1));
    ASSERT_THAT(swept, testing::SizeIs(1));
    EXPECT_TRUE(unswept.front().needsAction);
    EXPECT_FALSE(swept.front().needsAction);
    EXPECT_THAT(swept.front().problem.toStdString(), HasSubstr("/media/nas is on a file system of type fuse.sshfs"));
}

TEST(DoctorChecks, TheStateNeedsSomeRoom)
{
    EXPECT_THAT(checkRoom(QStringLiteral("/state"), 1'000'000'000), IsEmpty());
    const Findings findings = checkRoom(QStringLiteral("/state"), 9'500'000);
    ASSERT_THAT(findings, testing::SizeIs(1));
    EXPECT_EQ(findings.front().problem, QStringLiteral("the state directory /state has only 9 MB left"));
}

} // namespace
