// The configuration file, as the program's commands use it.

#include "support/sessionclient.h"
#include "support/tavo.h"
#include "support/temporarytree.h"
#include "support/words.h"

#include "printers.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// home/tavo/tavo.toml, which the program finds, and the directories Songs and Drive.
class Config : public testing::Test
{
protected:
    Config()
    {
        tree.addFile(QStringLiteral("Songs/one.mp3"));
        tree.addFile(QStringLiteral("Songs/one.wav"));
        tree.addFile(QStringLiteral("Drive/two.mp3"));
        tree.addDirectory(QStringLiteral("home"));
    }

    void configure(const QByteArray& text) { tree.addFile(QStringLiteral("home/tavo/tavo.toml"), text); }
    void configureRoots()
    {
        configure("[root.songs]\npath = \"../../Songs\"\ntitle = \"My songs\"\n[root.drive]\npath = \"../../Drive\"\n");
    }

    [[nodiscard]] Outcome run(const QStringList& arguments) const
    {
        Tavo tavo;
        tavo.setVariable(QStringLiteral("XDG_CONFIG_HOME"), tree.absolute(QStringLiteral("home")));
        tavo.start(arguments);
        return tavo.finish();
    }
    [[nodiscard]] Outcome run(const char* arguments) const { return run(words(arguments)); }

    [[nodiscard]] std::string output(const char* arguments) const
    {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        return outcome.output.toStdString();
    }

    [[nodiscard]] std::string file() const
    {
        return tree.absolute(QStringLiteral("home/tavo/tavo.toml")).toStdString();
    }

    TemporaryTree tree;
};

TEST_F(Config, RootsAreThoseOfTheFile)
{
    configureRoots();
    EXPECT_EQ(output("browse --roles path,title"), "PATH     TITLE\n/songs/  My songs/\n/drive/  Drive/\n");
    EXPECT_EQ(output("count"), "3\n");
}

TEST_F(Config, RootsHaveTheirOwnFilters)
{
    configure("[root.a]\npath = '../../Songs'\nfilter = ['*.wav']\n[root.b]\npath = '../../Songs'\n");
    EXPECT_EQ(output("browse --roles title a:"), "TITLE\none.wav\n");
    configure("[root.a]\npath = '../../Songs'\nfilter = ['*.mp3']\n");
    EXPECT_EQ(output("browse --roles title"), "TITLE\none.mp3\n");
    EXPECT_EQ(output("--filter *.wav browse --roles title"), "TITLE\none.wav\n") << "options win";
}

TEST_F(Config, RootsOfTheCommandLineReplaceThoseOfTheFile)
{
    configureRoots();
    const Outcome outcome = run(
        {QStringLiteral("--root"), tree.absolute(QStringLiteral("Drive")), QStringLiteral("browse"),
         QStringLiteral("--roles"), QStringLiteral("title")});
    EXPECT_EQ(outcome.output, "TITLE\ntwo.mp3\n") << outcome.errors.toStdString();
}

TEST_F(Config, FileThatAnOptionNamesReplacesTheUsualOne)
{
    configureRoots();
    tree.addFile(QStringLiteral("other.toml"), "[root.other]\npath = 'Drive'\n");
    const QStringList option = {QStringLiteral("--config"), tree.absolute(QStringLiteral("other.toml"))};
    const QStringList command = words("browse --roles title");
    EXPECT_EQ(run(option + command).output, "TITLE\ntwo.mp3\n");
    EXPECT_EQ(run(command + option).output, "TITLE\ntwo.mp3\n");
    const Outcome missing = run("--config /no/such/file browse");
    EXPECT_EQ(missing.status, 2);
    EXPECT_THAT(missing.errors.toStdString(), HasSubstr("tavo: /no/such/file: the configuration cannot be read"));
}

TEST_F(Config, FileWithoutRootsIsEnoughForServersOnly)
{
    configure("");
    const Outcome browsed = run("browse");
    EXPECT_EQ(browsed.status, 2);
    EXPECT_THAT(browsed.errors.toStdString(), AllOf(HasSubstr("--root DIR"), HasSubstr(file())));
    EXPECT_EQ(run("session").status, 0);
}

TEST_F(Config, LimitsAreThoseOfTheFile)
{
    configure("[server.limits]\nvalues = 70\nopen = 1\n");
    SessionClient client;
    client.program().setVariable(QStringLiteral("XDG_CONFIG_HOME"), tree.absolute(QStringLiteral("home")));
    client.start({QStringLiteral("--root"), tree.root()});
    const QJsonObject limits = client.call(QStringLiteral("describe"))
                                   .value(QLatin1String("result"))
                                   .toObject()
                                   .value(QLatin1String("limits"))
                                   .toObject();
    EXPECT_EQ(limits.value(QLatin1String("values")).toInt(), 70);
    EXPECT_EQ(limits.value(QLatin1String("open")).toInt(), 1);
    const auto open = [&client](const char* path) {
        return errorCode(client.call(QStringLiteral("open"), QJsonArray{QString::fromUtf8(path)}));
    };
    EXPECT_EQ(open("/file/Songs"), 0);
    EXPECT_NE(open("/file/Drive"), 0);
}

TEST_F(Config, LogLevelIsThatOfTheFileUnlessAnOptionSaysOtherwise)
{
    tree.addFile(QStringLiteral("home/tavo/log.properties"), "log4cplus.rootLogger=OFF\n");
    configure("[root.a]\npath = '/no/such'\n[root.b]\npath = '../../Songs'\n[log]\nlevel = 'off'\n");
    EXPECT_EQ(run("browse").errors, "");
    EXPECT_THAT(run("--log-level WARN browse").errors.toStdString(), HasSubstr("/no/such does not exist"));
    configure("[root.a]\npath = '/no/such'\n[root.b]\npath = '../../Songs'\n[log]\nconfig = 'log.properties'\n");
    EXPECT_EQ(run("browse").errors, "");
}

TEST_F(Config, WrongFileIsRefusedWithAllItsProblems)
{
    configure("[root.a]\npath = '../../Songs'\ntitel = 'x'\n[server]\nlisten = '*'\n");
    for (const char* command : {"browse", "serve", "session", "count"}) {
        const Outcome outcome = run(command);
        EXPECT_EQ(outcome.status, 2) << command;
        EXPECT_EQ(outcome.output, "") << command;
        EXPECT_EQ(
            outcome.errors.toStdString(),
            "tavo: " + file() + ":3:1: unknown key 'titel' in [root.a]; did you mean 'title'?\ntavo: " + file() +
                ":5:10: server.listen: must be a list of texts, such as [\"127.0.0.1:8420\"]\n")
            << command;
    }
}

TEST_F(Config, CommandsForARunningServerDoNotReadIt)
{
    configure("nonsense");
    const Outcome outcome = run("pause --server http://127.0.0.1:1/");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), Not(HasSubstr("tavo.toml")));
}

TEST_F(Config, CommandPrintsValuesWithTheirOrigins)
{
    configureRoots();
    const QStringList lines = QString::fromStdString(output("--log-level INFO config --host music.local")).split(u'\n');
    const auto line = [&lines](const char* key) {
        const QStringList found = lines.filter(QString::fromUtf8(key));
        return found.value(0).simplified().toStdString();
    };
    EXPECT_EQ(lines.first().simplified(), QStringLiteral("SETTING VALUE FROM"));
    EXPECT_EQ(line("server.listen"), "server.listen 127.0.0.1:8420 default");
    EXPECT_EQ(line("server.hosts"), "server.hosts music.local --host");
    EXPECT_EQ(line("server.token-file"), "server.token-file none default");
    EXPECT_EQ(line("root.songs.title"), "root.songs.title My songs " + file() + ":3");
    EXPECT_EQ(line("root.drive.title"), "root.drive.title Drive default");
    EXPECT_EQ(line("root.drive.follow-links"), "root.drive.follow-links false default");
    EXPECT_EQ(line("log.level"), "log.level INFO --log-level");
    EXPECT_EQ(line("server.limits.values"), "server.limits.values 100000 default");
}

TEST_F(Config, CommandNamesTheVariableThatDecidesTheStateDirectory)
{
    const auto shown = [this](const char* stateHome) {
        Tavo tavo;
        tavo.setVariable(QStringLiteral("XDG_CONFIG_HOME"), tree.absolute(QStringLiteral("home")));
        tavo.setVariable(QStringLiteral("XDG_STATE_HOME"), QString::fromUtf8(stateHome));
        tavo.setVariable(QStringLiteral("HOME"), QStringLiteral("/home/ann"));
        tavo.start({QStringLiteral("config")});
        const QStringList lines = QString::fromUtf8(tavo.finish().output).split(u'\n');
        return lines.filter(QStringLiteral("server.state")).value(0).simplified().toStdString();
    };
    EXPECT_EQ(shown("/var/lib"), "server.state /var/lib/tavo $XDG_STATE_HOME");
    EXPECT_EQ(shown(""), "server.state /home/ann/.local/state/tavo $HOME");
    EXPECT_EQ(shown("relative"), "server.state /home/ann/.local/state/tavo $HOME");
}

TEST_F(Config, CommandPrintsJson)
{
    configureRoots();
    const QJsonObject printed =
        QJsonDocument::fromJson(QByteArray::fromStdString(output("config --json --no-token"))).object();
    EXPECT_EQ(printed.value(QLatin1String("file")).toString().toStdString(), file());
    EXPECT_THAT(printed.value(QLatin1String("problems")).toArray(), IsEmpty());
    QJsonObject byKey;
    for (const QJsonValue setting : printed.value(QLatin1String("settings")).toArray())
        byKey.insert(setting.toObject().value(QLatin1String("key")).toString(), setting);
    const auto fieldOf = [&byKey](const char* key, const char* field) {
        return byKey.value(QLatin1String(key)).toObject().value(QLatin1String(field));
    };
    EXPECT_EQ(fieldOf("server.no-token", "value"), QJsonValue(true));
    EXPECT_EQ(
        fieldOf("server.no-token", "from"),
        QJsonValue(QJsonObject{{QStringLiteral("option"), QStringLiteral("--no-token")}}));
    EXPECT_EQ(fieldOf("server.listen", "value"), QJsonValue(QJsonArray{QStringLiteral("127.0.0.1:8420")}));
    EXPECT_EQ(fieldOf("server.listen", "from"), QJsonValue(QJsonObject()));
    EXPECT_TRUE(fieldOf("server.state", "from").toObject().value(QLatin1String("variable")).isString());
    EXPECT_EQ(fieldOf("root.songs.title", "from").toObject().value(QLatin1String("line")), QJsonValue(3));
}

TEST_F(Config, CommandNamesAllThatIsWrong)
{
    configure("[server]\nlisten = ['0.0.0.0:80']\nhots = []\n[root.a]\npath = 'x'\nfilter = 'y'\n");
    const Outcome outcome = run("config --origin nonsense");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr("0.0.0.0:80"));
    EXPECT_EQ(outcome.errors.count('\n'), 4) << outcome.errors.toStdString();
    EXPECT_THAT(
        outcome.errors.toStdString(), AllOf(
                                          HasSubstr(":3:1: unknown key 'hots'"), HasSubstr(":6:10: root.a.filter: "),
                                          HasSubstr(":2:10: everybody in the network could use 0.0.0.0"),
                                          HasSubstr("tavo: --origin: 'nonsense' is no origin")));
    const QJsonObject printed = QJsonDocument::fromJson(run("config --json").output).object();
    EXPECT_EQ(printed.value(QLatin1String("problems")).toArray().size(), 3);
}

TEST_F(Config, CommandNamesWrongRootsOfTheCommandLine)
{
    const Outcome outcome = run("--root a=/ --root a=/ config");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("tavo: --root: two roots have the id 'a'"));
}

} // namespace
