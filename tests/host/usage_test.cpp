#include "support/tavo.h"
#include "support/temporarytree.h"
#include "support/words.h"

#include "printers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

/// The one line that says why the program ends with this status.
std::string messageOf(const QStringList& arguments, int status)
{
    const Outcome outcome = runTavo(arguments);
    EXPECT_EQ(outcome.status, status) << arguments.join(QLatin1Char(' ')).toStdString();
    EXPECT_THAT(outcome.output.toStdString(), IsEmpty());
    EXPECT_EQ(outcome.errors.count('\n'), 1) << outcome.errors.toStdString();
    EXPECT_TRUE(outcome.errors.startsWith("tavo: ")) << outcome.errors.toStdString();
    return outcome.errors.toStdString();
}

std::string wrongUse(const QStringList& arguments)
{
    return messageOf(arguments, 2);
}

std::string refused(const QStringList& arguments)
{
    return messageOf(arguments, 1);
}

TEST(Usage, HelpListsTheCommands)
{
    const Outcome outcome = runTavo({QStringLiteral("--help")});
    EXPECT_EQ(outcome.status, 0);
    for (const char* word :
         {"browse", "watch", "session", "serve", "info", "prepare", "count", "menu", "doctor", "--root", "--filter",
          "--module"})
        EXPECT_THAT(outcome.output.toStdString(), HasSubstr(word));
}

TEST(Usage, HelpCallsTheProgramByItsName)
{
    EXPECT_TRUE(runTavo(words("--help")).output.startsWith("Usage: tavo [options] COMMAND"));
    EXPECT_TRUE(runTavo(words("browse --help")).output.startsWith("Usage: tavo [options] browse [options] [PATH]"));
}

TEST(Usage, WithoutAnythingFiveLinesSayHowToBegin)
{
    const Outcome outcome = runTavo({});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.output.toStdString(), IsEmpty());
    EXPECT_THAT(linesOf(outcome.errors), testing::SizeIs(5));
    EXPECT_THAT(outcome.errors.toStdString(), AllOf(HasSubstr("browse"), HasSubstr("serve"), HasSubstr("--help")));
}

TEST(Usage, EveryCommandExplainsItselfWithAnExample)
{
    for (const char* command : {"browse", "watch", "session", "serve", "info", "prepare", "count", "menu", "doctor"}) {
        const Outcome outcome = runTavo({QString::fromUtf8(command), QStringLiteral("--help")});
        EXPECT_EQ(outcome.status, 0) << command;
        EXPECT_THAT(outcome.output.toStdString(), HasSubstr("tavo --root ~/Music"));
        EXPECT_THAT(outcome.errors.toStdString(), IsEmpty());
    }
}

TEST(Usage, CommandsForARunningServerExplainThemselvesWithoutARoot)
{
    const QByteArray list = runTavo({QStringLiteral("--help")}).output;
    for (const char* command :
         {"queue", "player", "play", "pause", "stop", "next", "previous", "seek", "volume", "repeat", "shuffle",
          "output"}) {
        EXPECT_TRUE(list.contains(QByteArray("\n  ") + command + ' ')) << command;
        const Outcome outcome = runTavo({QString::fromUtf8(command), QStringLiteral("--help")});
        EXPECT_EQ(outcome.status, 0) << command;
        EXPECT_THAT(outcome.output.toStdString(), HasSubstr(std::string("\n  tavo ") + command));
        EXPECT_THAT(outcome.output.toStdString(), AllOf(HasSubstr("--server"), HasSubstr("--token-file")));
    }
}

TEST(Usage, VersionIsPrinted)
{
    const Outcome outcome = runTavo({QStringLiteral("--version")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output.toStdString(), testing::MatchesRegex("tavo [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(Usage, WrongUseIsToldInOneLine)
{
    EXPECT_THAT(wrongUse(words("--root /")), HasSubstr("command"));
    EXPECT_THAT(wrongUse(words("bro")), HasSubstr("'bro'"));
    EXPECT_THAT(wrongUse(words("--foo")), HasSubstr("foo"));
    EXPECT_THAT(wrongUse(words("browse --foo")), HasSubstr("foo"));
    EXPECT_THAT(wrongUse(words("--root")), HasSubstr("root"));
    EXPECT_THAT(wrongUse(words("--root / browse a b")), HasSubstr("[PATH]"));
    EXPECT_THAT(wrongUse(words("--root / watch")), HasSubstr("PATH..."));
    EXPECT_THAT(wrongUse(words("--root / info")), HasSubstr("PATH"));
    EXPECT_THAT(wrongUse(words("--root / session x")), HasSubstr("session"));
    EXPECT_THAT(wrongUse(words("--root / browse --first -1")), HasSubstr("--first"));
    EXPECT_THAT(wrongUse(words("--root / browse --first x")), HasSubstr("'x'"));
    EXPECT_THAT(wrongUse(words("--root / browse --last -2")), HasSubstr("--last"));
    EXPECT_THAT(wrongUse(words("--root / browse --rows-version 99999999999")), HasSubstr("--rows-version"));
    EXPECT_THAT(wrongUse(words("--root / --album-art-width 0 browse")), HasSubstr("--album-art-width"));
    EXPECT_THAT(wrongUse(words("--root / --sweep x browse")), HasSubstr("--sweep"));
    EXPECT_THAT(wrongUse(words("--root / --log-level loud browse")), HasSubstr("'loud'"));
    EXPECT_THAT(wrongUse(words("--root / --log-config /no/such/file browse")), HasSubstr("/no/such/file"));
}

QStringList browse(const QStringList& roots)
{
    QStringList arguments;
    for (const QString& root : roots)
        arguments << QStringLiteral("--root") << root;
    return arguments << QStringLiteral("browse");
}

TEST(Usage, RootMustBeGiven)
{
    EXPECT_THAT(wrongUse(words("browse")), HasSubstr("--root"));
    EXPECT_THAT(wrongUse(browse({QString("")})), HasSubstr("--root ''"));
    EXPECT_THAT(wrongUse(browse({QStringLiteral("disk=")})), HasSubstr("--root ''"));
    EXPECT_THAT(wrongUse(browse({QStringLiteral("/"), QString("")})), HasSubstr("--root ''"));
}

TEST(Usage, RootThatIsNotThereIsNamed)
{
    TemporaryTree tree;
    tree.addFile(QStringLiteral("file"));
    const QString file = tree.absolute(QStringLiteral("file"));
    EXPECT_THAT(refused(browse({QStringLiteral("/no/such")})), HasSubstr("/no/such"));
    EXPECT_THAT(refused(browse({file})), HasSubstr(file.toStdString()));
    EXPECT_THAT(refused(browse({QStringLiteral("new\nline")})), HasSubstr("new\\nline"));
    const std::string both = refused(browse({QStringLiteral("a=/no/such"), QStringLiteral("b=") + file}));
    EXPECT_THAT(both, AllOf(HasSubstr("/no/such"), HasSubstr(file.toStdString())));
}

TEST(Usage, EveryRootHasAnIdOfItsOwn)
{
    const auto slash = [](const char* id) { return QString::fromUtf8(id) + QStringLiteral("=/"); };
    EXPECT_THAT(wrongUse(browse({slash("settings")})), HasSubstr("'settings'"));
    EXPECT_THAT(wrongUse(browse({slash("playlist")})), HasSubstr("'playlist'"));
    EXPECT_THAT(wrongUse(browse({slash("disk"), slash("disk")})), HasSubstr("'disk'"));
    EXPECT_THAT(wrongUse(browse({QStringLiteral("/"), QStringLiteral("/tmp")})), HasSubstr("'file'"));
    EXPECT_THAT(wrongUse(browse({QStringLiteral("/"), slash("file")})), HasSubstr("'file'"));
}

TEST(Usage, WhatIsNoIdBelongsToTheDirectory)
{
    for (const char* id : {"", "my disk", "Bj\xc3\xb6rk", "a/b", "a.b"}) {
        const QString directory = QString::fromUtf8(id) + QStringLiteral("=/");
        EXPECT_THAT(refused(browse({directory})), HasSubstr(directory.toStdString()));
    }
}

TEST(Usage, ServiceIdIsNoOption)
{
    EXPECT_THAT(wrongUse(words("--root / --service-id disk browse")), HasSubstr("service-id"));
}

TEST(Usage, ModuleThatMakesNoWorkerIsToldWithTheReason)
{
    const auto withModule = [](const char* file) {
        return QStringList{
            QStringLiteral("--root"), QStringLiteral("/"), QStringLiteral("--module"), QString::fromUtf8(file),
            QStringLiteral("browse")};
    };
    EXPECT_THAT(wrongUse(withModule("/no/such.so")), HasSubstr("/no/such.so: cannot open shared object file"));
    EXPECT_THAT(wrongUse(withModule(TAVO_TEST_DATA "/modules/not_a_library.so")), HasSubstr("not_a_library.so"));
    EXPECT_THAT(wrongUse(withModule(MODULE_NO_FACTORY)), HasSubstr("undefined symbol: worker_create"));
    EXPECT_THAT(wrongUse(withModule(MODULE_MISSING_SYMBOL)), HasSubstr("undefined symbol"));
    EXPECT_THAT(wrongUse(withModule(MODULE_THROWING_FACTORY)), HasSubstr("no memory for it"));
    EXPECT_THAT(wrongUse(withModule(MODULE_NULL_FACTORY)), HasSubstr("its factory gives none"));
}

} // namespace
