#include "support/names.h"
#include "support/tavo.h"
#include "support/temporarytree.h"
#include "support/terminal.h"

#include "printers.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Browse : public testing::Test
{
protected:
    Browse() { tree.addDirectory(QString()); }

    [[nodiscard]] QStringList arguments(const QStringList& rest) const
    {
        return QStringList{QStringLiteral("--root"), tree.root(), QStringLiteral("browse")} + rest;
    }

    [[nodiscard]] Outcome browse(const QStringList& rest = {}) const { return runTavo(arguments(rest)); }

    [[nodiscard]] QJsonObject page(const QStringList& rest = {}) const
    {
        const Outcome outcome = browse(QStringList{QStringLiteral("--json")} + rest);
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        QJsonParseError problem{};
        const QJsonObject page = QJsonDocument::fromJson(outcome.output, &problem).object();
        EXPECT_EQ(problem.error, QJsonParseError::NoError) << outcome.output.toStdString();
        return page;
    }

    [[nodiscard]] QStringList titles(const QStringList& rest = {}) const
    {
        QStringList titles;
        const QStringList roles = {QStringLiteral("--roles"), QStringLiteral("title")};
        for (const QJsonValue row : page(roles + rest).value(QLatin1String("rows")).toArray())
            titles.append(row.toArray().first().toString());
        return titles;
    }

    void addRaw(const QByteArray& name)
    {
        const int descriptor = ::creat((tree.root().toUtf8() + '/' + name).constData(), 0644);
        ASSERT_GE(descriptor, 0) << name.toStdString();
        ::close(descriptor);
    }

    TemporaryTree tree;
};

TEST_F(Browse, RowsAreATable)
{
    tree.addFile(QStringLiteral("Song.mp3"));
    tree.addFile(QStringLiteral("notes.txt"));
    tree.addDirectory(QStringLiteral("Albums"));
    tree.setModified(QStringLiteral("Song.mp3"), 1);
    tree.setModified(QStringLiteral("Albums"), 86400);
    Tavo tavo;
    tavo.setVariable(QStringLiteral("TZ"), QStringLiteral("UTC"));
    tavo.start(arguments({}));
    const Outcome outcome = tavo.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(
        outcome.output, "TYPE       MODIFIED             TITLE\n"
                        "container  1970-01-02 00:00:00  Albums/\n"
                        "audio      1970-01-01 00:00:01  Song.mp3\n");
    EXPECT_THAT(outcome.errors.toStdString(), IsEmpty());
}

TEST_F(Browse, JsonIsTheReply)
{
    tree.addFile(QStringLiteral("a/Song.mp3"));
    const QJsonObject reply = page({QStringLiteral("a")});
    EXPECT_EQ(reply.keys(), (QStringList{QStringLiteral("count"), QStringLiteral("rows"), QStringLiteral("version")}));
    EXPECT_EQ(reply.value(QLatin1String("count")).toInt(), 1);
    EXPECT_EQ(reply.value(QLatin1String("version")).toInt(-1), 0);
    const QJsonArray row = reply.value(QLatin1String("rows")).toArray().first().toArray();
    ASSERT_EQ(row.size(), 7);
    EXPECT_EQ(row.at(0).toString(), QStringLiteral("/file/a/Song.mp3"));
    EXPECT_EQ(row.at(2).toString(), QStringLiteral("audio"));
}

TEST_F(Browse, PageIsCutAsAsked)
{
    for (const char* name : {"1.mp3", "2.mp3", "3.mp3", "4.mp3"})
        tree.addFile(QString::fromUtf8(name));
    EXPECT_THAT(
        titles({QStringLiteral("--first"), QStringLiteral("1"), QStringLiteral("--last"), QStringLiteral("2")}),
        testing::ElementsAre(QStringLiteral("2.mp3"), QStringLiteral("3.mp3")));
    EXPECT_EQ(titles({QStringLiteral("--first"), QStringLiteral("3")}).size(), 1);
    EXPECT_THAT(titles({QStringLiteral("--first"), QStringLiteral("9")}), IsEmpty());
    EXPECT_THAT(titles({QStringLiteral("--last"), QStringLiteral("-1")}), IsEmpty());
}

TEST_F(Browse, RolesAreTheColumns)
{
    tree.addDirectory(QStringLiteral("a"));
    EXPECT_EQ(
        browse({QStringLiteral("--roles"), QStringLiteral("title,containerPlayable,flags,foo")}).output,
        "TITLE  CONTAINERPLAYABLE  FLAGS  FOO\n"
        "a/     yes                file   -\n");
}

TEST_F(Browse, VersionDoesNotMatterWhereNothingIsOpen)
{
    EXPECT_EQ(browse({QStringLiteral("--rows-version"), QStringLiteral("7")}).status, 0);
}

TEST_F(Browse, EmptyDirectoryHasNoRows)
{
    EXPECT_EQ(browse().output, "TYPE  MODIFIED  TITLE\n");
    EXPECT_EQ(page().value(QLatin1String("count")).toInt(-1), 0);
}

TEST_F(Browse, PathMayBeWrittenInManyWays)
{
    tree.addFile(QStringLiteral("a/b/x.mp3"));
    for (const char* path : {"a/b", "a/b/", "./a/b", "a//b", "a/./b/."})
        EXPECT_EQ(titles({QString::fromUtf8(path)}), QStringList{QStringLiteral("x.mp3")}) << path;
    for (const char* path : {"", ".", "./"})
        EXPECT_EQ(titles({QString::fromUtf8(path)}), QStringList{QStringLiteral("a")}) << path;
    EXPECT_EQ(titles({QStringLiteral("--"), QStringLiteral("a")}), QStringList{QStringLiteral("b")});
}

TEST_F(Browse, GlobalOptionsMayFollowTheCommand)
{
    tree.addFile(QStringLiteral("x.foo"));
    const QStringList arguments = {QStringLiteral("browse"),  QStringLiteral("--root"), tree.root(),
                                   QStringLiteral("--roles"), QStringLiteral("title"),  QStringLiteral("--filter"),
                                   QStringLiteral("*.foo")};
    EXPECT_EQ(runTavo(arguments).output, "TITLE\nx.foo\n");
}

TEST_F(Browse, UsualMediaFilesArePlayableByDefault)
{
    for (const char* ending :
         {"mp3", "FLAC", "ogg", "oga", "opus", "m4a", "aac", "wav", "aiff", "aif", "wma", "ape", "wv", "mpc", "m3u",
          "m3u8", "pls", "wpl", "asx"})
        tree.addFile(QStringLiteral("x.") + QString::fromUtf8(ending));
    tree.addFile(QStringLiteral("x.txt"));
    tree.addFile(QStringLiteral(".hidden.mp3"));
    EXPECT_EQ(titles().size(), 19);
}

TEST_F(Browse, FilterMayBeGivenAgain)
{
    for (const char* name : {"a.x", "b.y", "c.z"})
        tree.addFile(QString::fromUtf8(name));
    const QStringList arguments = {
        QStringLiteral("--root"),   tree.root(),           QStringLiteral("--filter"), QStringLiteral("*.x"),
        QStringLiteral("--filter"), QStringLiteral("b.*"), QStringLiteral("browse"),   QStringLiteral("--roles"),
        QStringLiteral("title")};
    EXPECT_EQ(runTavo(arguments).output, "TITLE\na.x\nb.y\n");
}

TEST_F(Browse, IdOfTheRootIsThePrefix)
{
    tree.addFile(QStringLiteral("a.mp3"));
    const QStringList arguments = {
        QStringLiteral("--root"), QStringLiteral("my-disk_1=") + tree.root(), QStringLiteral("browse"),
        QStringLiteral("--roles"), QStringLiteral("path")};
    EXPECT_EQ(runTavo(arguments).output, "PATH\n/my-disk_1/a.mp3\n");
}

TEST_F(Browse, EveryNameIsOneRow)
{
    for (const QByteArray& name : nastyNames())
        addRaw(name);
    addRaw(brokenName());
    const Outcome outcome = browse();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(linesOf(outcome.output).size(), 1 + nastyNames().size() + 1);
    for (const char c : outcome.output)
        EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= ' ') << int(c);
}

TEST_F(Browse, EveryNameComesThroughJson)
{
    for (const QByteArray& name : nastyNames())
        addRaw(name);
    QList<QByteArray> names;
    for (const QString& title : titles())
        names.append(title.toUtf8());
    EXPECT_THAT(names, testing::UnorderedElementsAreArray(nastyNames()));
}

TEST_F(Browse, EveryUriNamesItsFile)
{
    for (const QByteArray& name : nastyNames())
        addRaw(name);
    const QJsonArray rows =
        page({QStringLiteral("--roles"), QStringLiteral("title,mediaData")}).value(QLatin1String("rows")).toArray();
    ASSERT_EQ(rows.size(), nastyNames().size());
    for (const QJsonValue row : rows) {
        const QJsonObject media = row.toArray().at(1).toObject();
        const QString uri =
            media.value(QLatin1String("resources")).toArray().first().toObject().value(QLatin1String("uri")).toString();
        const QString expected = tree.absolute(row.toArray().at(0).toString());
        EXPECT_EQ(QUrl::fromEncoded(uri.toUtf8(), QUrl::StrictMode).toLocalFile(), expected);
    }
}

TEST_F(Browse, EveryDirectoryCanBeEntered)
{
    for (const QByteArray& name : nastyNames()) {
        const QString directory = QString::fromUtf8(name);
        tree.addFile(directory + QStringLiteral("/inside.mp3"));
        EXPECT_EQ(titles({QStringLiteral("--"), directory}), QStringList{QStringLiteral("inside.mp3")})
            << name.toStdString();
    }
}

TEST_F(Browse, NamesAreUtf8WhateverTheLocale)
{
    tree.addFile(QString::fromUtf8("Bj\u00f6rk/\u65e5\u672c.mp3"));
    for (const char* locale : {"C", "C.UTF-8", "POSIX", "fr_FR.ISO-8859-1"}) {
        Tavo tavo;
        tavo.setVariable(QStringLiteral("LC_ALL"), QString::fromUtf8(locale));
        tavo.start(
            arguments({QStringLiteral("--roles"), QStringLiteral("title,type"), QString::fromUtf8("Bj\u00f6rk")}));
        EXPECT_EQ(tavo.finish().output, QByteArray("TITLE     TYPE\n\u65e5\u672c.mp3  audio\n")) << locale;
    }
}

TEST_F(Browse, LinksThatLeadNowhereDoNoHarm)
{
    QFile::link(QStringLiteral("/no/such/file"), tree.absolute(QStringLiteral("dangling.mp3")));
    QFile::link(QStringLiteral("loop.mp3"), tree.absolute(QStringLiteral("loop.mp3")));
    EXPECT_EQ(titles().size(), 2);
    EXPECT_EQ(browse({QStringLiteral("loop.mp3")}).status, 1);
}

TEST_F(Browse, RefusalIsOneLine)
{
    const Outcome outcome = browse({QStringLiteral("../x\ny")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output.toStdString(), IsEmpty());
    EXPECT_EQ(outcome.errors, "tavo: Access violation: path '../x\\ny' is outside '" + tree.root().toUtf8() + "'\n");
}

TEST_F(Browse, WhatDoesNotExistIsRefused)
{
    EXPECT_EQ(browse({QStringLiteral("missing")}).status, 1);
    EXPECT_EQ(browse({QStringLiteral("/etc")}).status, 1);
}

TEST_F(Browse, UnreadableDirectoryIsRefused)
{
    tree.addDirectory(QStringLiteral("secret"));
    QFile::setPermissions(tree.absolute(QStringLiteral("secret")), {});
    Tavo tavo;
    tavo.setRights(Tavo::Rights::NoOverride);
    tavo.start(arguments({QStringLiteral("secret")}));
    const Outcome outcome = tavo.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "tavo: No permission to read directory 'secret'\n");
    QFile::setPermissions(tree.absolute(QStringLiteral("secret")), QFile::ReadOwner | QFile::ExeOwner);
}

TEST_F(Browse, FullDiskIsAFailure)
{
    Tavo tavo;
    tavo.setStandardOutputFile(QStringLiteral("/dev/full"));
    tavo.start(arguments({}));
    const Outcome outcome = tavo.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "tavo: cannot write: No space left on device\n");
}

TEST_F(Browse, LogNeverGetsBetweenTheResults)
{
    tree.addFile(QStringLiteral("a.mp3"));
    const Outcome outcome = runTavo(
        {QStringLiteral("--root"), tree.root(), QStringLiteral("--log-level"), QStringLiteral("trace"),
         QStringLiteral("browse"), QStringLiteral("--json")});
    EXPECT_TRUE(QJsonDocument::fromJson(outcome.output).isObject());
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("Enter "));
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("CB_Filesystem"));
}

TEST_F(Browse, LogOnStandardOutputIsSentElsewhere)
{
    tree.addFile(
        QStringLiteral("log.properties"), "log4cplus.rootLogger=TRACE, A\n"
                                          "log4cplus.appender.A=log4cplus::ConsoleAppender\n"
                                          "log4cplus.appender.A.layout=log4cplus::SimpleLayout\n");
    const Outcome outcome = runTavo(
        {QStringLiteral("--root"), tree.root(), QStringLiteral("--log-config"),
         tree.absolute(QStringLiteral("log.properties")), QStringLiteral("browse"), QStringLiteral("--json")});
    EXPECT_TRUE(QJsonDocument::fromJson(outcome.output).isObject());
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("TRACE - Enter "));
}

TEST_F(Browse, NothingIsLoggedByDefault)
{
    tree.addFile(QStringLiteral("a.mp3"));
    tree.addFile(QStringLiteral("b.txt"));
    EXPECT_THAT(browse().errors.toStdString(), IsEmpty());
}

TEST_F(Browse, TerminalGetsColoursAndNoLongLines)
{
    tree.addDirectory(QStringLiteral("dir"));
    tree.addFile(QString(100, QLatin1Char('x')) + QStringLiteral(".mp3"));
    const PseudoTerminal terminal(60);
    Tavo tavo;
    tavo.setVariable(QStringLiteral("TERM"), QStringLiteral("xterm"));
    tavo.setVariable(QStringLiteral("NO_COLOR"), QString());
    tavo.setStandardOutputFile(terminal.fileName());
    tavo.start(arguments({QStringLiteral("--roles"), QStringLiteral("type,title")}));
    const QByteArray text = terminal.readAll();
    EXPECT_EQ(tavo.finish().status, 0);
    EXPECT_EQ(
        text, QByteArray("\x1b[1mTYPE       TITLE\x1b[0m\n\x1b[1;34mcontainer  dir/\x1b[0m\naudio      ") +
                  QByteArray(48, 'x') + "\u2026\n");
}

TEST_F(Browse, TerminalThatDoesNotTellItsWidthHasEightyColumns)
{
    tree.addFile(QString(100, QLatin1Char('x')) + QStringLiteral(".mp3"));
    const PseudoTerminal terminal(0);
    Tavo tavo;
    tavo.setVariable(QStringLiteral("TERM"), QStringLiteral("dumb"));
    tavo.setStandardOutputFile(terminal.fileName());
    tavo.start(arguments({QStringLiteral("--roles"), QStringLiteral("title")}));
    EXPECT_EQ(terminal.readAll(), "TITLE\n" + QByteArray(79, 'x') + "\u2026\n");
    EXPECT_EQ(tavo.finish().status, 0);
}

TEST_F(Browse, ColoursCanBeSwitchedOff)
{
    tree.addDirectory(QStringLiteral("dir"));
    const QList<QPair<QString, QString>> variables = {
        {QStringLiteral("NO_COLOR"), QStringLiteral("1")}, {QStringLiteral("TERM"), QStringLiteral("dumb")}};
    for (const auto& [name, value] : variables) {
        const PseudoTerminal terminal(60);
        Tavo tavo;
        tavo.setVariable(QStringLiteral("TERM"), QStringLiteral("xterm"));
        tavo.setVariable(name, value);
        tavo.setStandardOutputFile(terminal.fileName());
        tavo.start(arguments({}));
        EXPECT_THAT(terminal.readAll().toStdString(), Not(HasSubstr("\x1b")));
    }
}

TEST_F(Browse, TerminalObeysNoFileName)
{
    addRaw("escape\x1b[2J.mp3");
    const PseudoTerminal terminal(80);
    Tavo tavo;
    tavo.setVariable(QStringLiteral("NO_COLOR"), QStringLiteral("1"));
    tavo.setStandardOutputFile(terminal.fileName());
    tavo.start(arguments({}));
    const std::string text = terminal.readAll().toStdString();
    EXPECT_THAT(text, HasSubstr("escape\\x1b[2J.mp3"));
    EXPECT_THAT(text, Not(HasSubstr("\x1b")));
}

} // namespace
