#include "config/configuration.h"
#include "config/configurationfile.h"
#include "config/nearestname.h"

#include "printers.h"
#include "support/temporarytree.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const QString file = QStringLiteral("/etc/tavo/tavo.toml");

ReadConfiguration parsed(const QByteArray& text)
{
    return parseConfiguration(text, file);
}

/// Without the file's name: "3:1: unknown key …".
std::vector<std::string> problemsIn(const QByteArray& text)
{
    std::vector<std::string> problems;
    for (const ConfigurationProblem& problem : parsed(text).problems)
        problems.push_back(problem.toText().mid(file.size() + 1).toStdString());
    return problems;
}

Configuration valid(const QByteArray& text)
{
    EXPECT_THAT(problemsIn(text), IsEmpty());
    return parsed(text).configuration;
}

/// "key = value (origin)" for each setting that is no default.
QStringList settingsIn(const Configuration& configuration)
{
    QStringList settings;
    for (const NamedSetting& setting : settingsOf(configuration)) {
        const bool isList = setting.value.userType() == QMetaType::QStringList;
        const QString text = isList ? setting.value.toStringList().join(u' ') : setting.value.toString();
        if (setting.origin.kind != Origin::Kind::Default)
            settings.append(QStringLiteral("%1 = %2 (%3)").arg(setting.key, text, setting.origin.toText()));
    }
    return settings;
}

TEST(Configuration, EmptyFileSetsNothing)
{
    const Configuration configuration = valid("");
    EXPECT_THAT(settingsIn(configuration), IsEmpty());
    EXPECT_EQ(configuration.server.listen.value, QStringList(QStringLiteral("127.0.0.1:8420")));
    EXPECT_EQ(configuration.limits.toLimits().values, Limits().values);
    EXPECT_FALSE(configuration.server.noToken.value);
    EXPECT_EQ(configuration.file, file);
}

TEST(Configuration, ValuesHaveTheirLines)
{
    const Configuration configuration = valid(R"([server]
listen = ["0.0.0.0:80", "[::1]:8420"]
token-file = "/etc/tavo/token"
no-token = true
hosts = ["music.local"]
origins = ["https://home.example"]
state = "/var/lib/tavo"

[server.limits]
values = 1
items = 2
open = 3
message = 4

[root.music]
title = "My music"
path = "/srv/music"
filter = ["*.flac", "*.mp3"]
follow-links = true

[log]
level = "info"
config = "/etc/tavo/log.properties"
)");
    EXPECT_EQ(
        settingsIn(configuration),
        QStringList(
            {QStringLiteral("server.listen = 0.0.0.0:80 [::1]:8420 (/etc/tavo/tavo.toml:2)"),
             QStringLiteral("server.token-file = /etc/tavo/token (/etc/tavo/tavo.toml:3)"),
             QStringLiteral("server.no-token = true (/etc/tavo/tavo.toml:4)"),
             QStringLiteral("server.hosts = music.local (/etc/tavo/tavo.toml:5)"),
             QStringLiteral("server.origins = https://home.example (/etc/tavo/tavo.toml:6)"),
             QStringLiteral("server.state = /var/lib/tavo (/etc/tavo/tavo.toml:7)"),
             QStringLiteral("server.limits.values = 1 (/etc/tavo/tavo.toml:10)"),
             QStringLiteral("server.limits.items = 2 (/etc/tavo/tavo.toml:11)"),
             QStringLiteral("server.limits.open = 3 (/etc/tavo/tavo.toml:12)"),
             QStringLiteral("server.limits.message = 4 (/etc/tavo/tavo.toml:13)"),
             QStringLiteral("root.music.path = /srv/music (/etc/tavo/tavo.toml:17)"),
             QStringLiteral("root.music.title = My music (/etc/tavo/tavo.toml:16)"),
             QStringLiteral("root.music.filter = *.flac *.mp3 (/etc/tavo/tavo.toml:18)"),
             QStringLiteral("root.music.follow-links = true (/etc/tavo/tavo.toml:19)"),
             QStringLiteral("log.level = info (/etc/tavo/tavo.toml:22)"),
             QStringLiteral("log.config = /etc/tavo/log.properties (/etc/tavo/tavo.toml:23)")}));
    const Limits limits = configuration.limits.toLimits();
    EXPECT_THAT(
        (std::vector<int>{limits.values, limits.items, limits.openPaths, limits.message}), ElementsAre(1, 2, 3, 4));
}

TEST(Configuration, RootsHaveTheOrderOfTheFile)
{
    const Configuration configuration = valid(R"(
[root.z]
path = "/z"
[root.a]
path = "/a"
[root.M-1_x]
path = "/m"
)");
    QStringList ids;
    for (const RootConfiguration& root : configuration.roots)
        ids.append(root.id);
    EXPECT_EQ(ids, QStringList({QStringLiteral("z"), QStringLiteral("a"), QStringLiteral("M-1_x")}));
    EXPECT_EQ(configuration.roots.front().filter.value, usualFilter());
    EXPECT_FALSE(configuration.roots.front().followLinks.value);
}

TEST(Configuration, PathsAreRelativeToTheFileOrToTheHomeDirectory)
{
    const auto pathOf = [](const char* path) {
        return valid(QByteArray("[root.a]\npath = \"") + path + '"').roots.front().path.value;
    };
    EXPECT_EQ(pathOf("/srv/music/"), QStringLiteral("/srv/music"));
    EXPECT_EQ(pathOf("music"), QStringLiteral("/etc/tavo/music"));
    EXPECT_EQ(pathOf("../music"), QStringLiteral("/etc/music"));
    EXPECT_EQ(pathOf("~/Music"), QDir::homePath() + QStringLiteral("/Music"));
    EXPECT_EQ(pathOf("~music"), QStringLiteral("/etc/tavo/~music"));
}

struct Wrong
{
    const char* text;
    /// The first words of the problem.
    const char* problem;
};

std::ostream& operator<<(std::ostream& out, const Wrong& wrong)
{
    return out << wrong.text;
}

class WrongConfiguration : public testing::TestWithParam<Wrong>
{
};

TEST_P(WrongConfiguration, IsNamedWithItsPlace)
{
    EXPECT_THAT(problemsIn(GetParam().text), ElementsAre(HasSubstr(GetParam().problem)));
}

const std::vector<Wrong> wrongs = {
    // Keys.
    {"servre = 1", "1:1: unknown key 'servre'; did you mean 'server'?"},
    {"\n[rot.a]", "2:2: unknown key 'rot'; did you mean 'root'?"},
    {"xyz = 1", "1:1: unknown key 'xyz'; known are server, root, log"},
    {"[server]\nhots = []", "2:1: unknown key 'hots' in [server]; did you mean 'hosts'?"},
    {"[server]\ntokenfile = ''", "2:1: unknown key 'tokenfile' in [server]; did you mean 'token-file'?"},
    {"[server.limits]\nvalue = 1", "2:1: unknown key 'value' in [server.limits]; did you mean 'values'?"},
    {"[root.a]\npath = '/a'\n  Title = ''", "3:3: unknown key 'Title' in [root.a]; did you mean 'title'?"},
    {"[log]\nfile = ''", "2:1: unknown key 'file' in [log]; known are level, config"},
    // Tables.
    {"server = 1", "1:10: server: must be a table: [server]"},
    {"[server]\nlimits = 1", "2:10: server.limits: must be a table: [server.limits]"},
    {"root = '/srv'", "1:8: root: must be tables, each with an ID: [root.music]"},
    {"[root]\nmusic = '/srv'", "2:9: root.music: must be a table: [root.music]"},
    {"[root.a]", "1:7: [root.a] names no directory: path = "},
    {"[root.settings]\npath = '/a'", "1:7: 'settings' cannot be a root's id"},
    {"[root.\"a b\"]\npath = '/a'", "1:7: 'a b' cannot be a root's id"},
    // Values.
    {"[server]\nlisten = '127.0.0.1:80'", "2:10: server.listen: must be a list of texts, such as [\"127.0.0.1:8420\"]"},
    {"[server]\nlisten = []", "2:10: server.listen: must be a list of texts"},
    {"[server]\nlisten = [80]", "2:10: server.listen: must be a list of texts"},
    {"[server]\nlisten = ['80']", "2:10: server.listen: '80' is no ADDRESS:PORT, such as 127.0.0.1:8420"},
    {"[server]\nhosts = ['a/b']", "2:9: server.hosts: 'a/b' is no name of a host"},
    {"[server]\norigins = ['home']", "2:11: server.origins: 'home' is no origin"},
    {"[server]\nno-token = 'yes'", "2:12: server.no-token: must be true or false"},
    {"[server]\nstate = ''", "2:9: server.state: must not be empty"},
    {"[server]\ntoken-file = 1", "2:14: server.token-file: must be a text in quotes"},
    {"[server.limits]\nitems = 0", "2:9: server.limits.items: must be a number from 1 to 2147483647"},
    {"[server.limits]\nitems = 2147483648", "2:9: server.limits.items: must be a number from 1"},
    {"[server.limits]\nitems = 1.5", "2:9: server.limits.items: must be a number from 1"},
    {"[root.a]\npath = ''", "2:8: root.a.path: must not be empty"},
    {"[root.a]\npath = '/a'\nfilter = []", "3:10: root.a.filter: must be a list of texts, such as"},
    {"[root.a]\npath = '/a'\nfilter = ['']", "3:10: root.a.filter: must not be empty"},
    {"[root.a]\npath = '/a'\nfollow-links = 1", "3:16: root.a.follow-links: must be true or false"},
    {"[log]\nlevel = 'loud'", "2:9: log.level: unknown log level 'loud', known are OFF, FATAL, ERROR, WARN, INFO"},
    // Syntax.
    {"[server", "1:8: "},
    {"a = 1\na = 2", "2:"},
    {"\xff = 1", "1:1: "}};

INSTANTIATE_TEST_SUITE_P(Texts, WrongConfiguration, testing::ValuesIn(wrongs));

TEST(Configuration, AllProblemsAreNamedInTheirOrder)
{
    const ReadConfiguration read = parsed(R"([root.b]
path = 1
[server]
hosts = 2
listen = ["[::1]:1"]
[root.a]
titel = "3"
path = "/a"
)");
    std::vector<int> lines;
    for (const ConfigurationProblem& problem : read.problems)
        lines.push_back(problem.origin.line);
    EXPECT_THAT(lines, ElementsAre(2, 4, 7));
    EXPECT_EQ(read.configuration.server.listen.value, QStringList(QStringLiteral("[::1]:1")));
}

TEST(Configuration, FileThatCannotBeReadIsNamed)
{
    const ReadConfiguration read = readConfigurationFile(QStringLiteral("/no/such/file"));
    ASSERT_EQ(read.problems.size(), 1);
    EXPECT_THAT(
        read.problems.front().toText().toStdString(),
        testing::StartsWith("/no/such/file: the configuration cannot be read: "));
}

TEST(Configuration, ServerForOtherMachinesNeedsATokenOrPermission)
{
    ServerConfiguration server;
    EXPECT_THAT(problemsOf(server), IsEmpty());
    server.listen = {
        {QStringLiteral("[::1]:80"), QStringLiteral("0.0.0.0:80")}, Origin::option(QStringLiteral("listen"))};
    ASSERT_EQ(problemsOf(server).size(), 1);
    EXPECT_THAT(problemsOf(server).front().toText().toStdString(), HasSubstr("--listen: everybody in the network"));
    server.noToken.value = true;
    EXPECT_THAT(problemsOf(server), IsEmpty());
    server.noToken.value = false;
    server.tokenFile.value = QStringLiteral("/token");
    EXPECT_THAT(problemsOf(server), IsEmpty());
    server.hosts.value = QStringList{QStringLiteral("a/b")};
    server.origins.value = QStringList{QStringLiteral("a")};
    EXPECT_EQ(problemsOf(server).size(), 2);
}

TEST(Configuration, ExampleInTheDocumentsIsValidAndShowsEverySetting)
{
    QFile page(QStringLiteral(TAVO_DOCS "/configuration.md"));
    ASSERT_TRUE(page.open(QIODevice::ReadOnly));
    const QByteArray text = page.readAll();
    const int begin = text.indexOf("```toml\n") + 8;
    const Configuration configuration = valid(text.mid(begin, text.indexOf("```", begin) - begin));
    ASSERT_FALSE(configuration.roots.empty());
    for (const NamedSetting& setting : settingsOf(configuration)) {
        const bool isOfFirstRoot =
            !setting.key.startsWith(QLatin1String("root.")) || setting.key.contains(configuration.roots.front().id);
        EXPECT_TRUE(!isOfFirstRoot || setting.origin.kind == Origin::Kind::File) << setting.key.toStdString();
    }
}

TEST(NearestName, IsOneThatMayBeMeant)
{
    const QStringList known = {QStringLiteral("title"), QStringLiteral("path"), QStringLiteral("follow-links")};
    const auto nearest = [&known](const char* name) { return nearestName(QString::fromUtf8(name), known); };
    for (const char* name : {"titel", "tile", "titles", "TITLE", "ttile"})
        EXPECT_EQ(nearest(name), QStringLiteral("title")) << name;
    EXPECT_EQ(nearest("follow_links"), QStringLiteral("follow-links"));
    for (const char* name : {"", "x", "colour", "directory"})
        EXPECT_EQ(nearest(name), QString()) << name;
}

} // namespace
