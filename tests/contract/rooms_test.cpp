// Which parts of the source tree include what: each part ("room") knows only those below it.

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace {

using Origins = std::set<std::string>;

const QDir sourceDir(QStringLiteral(TAVO_SOURCE_DIR));

/// The longest first, where one contains another.
const QStringList rooms = {
    QStringLiteral("src/api/core/log"),  QStringLiteral("src/api/core"),      QStringLiteral("src/api/tagreader"),
    QStringLiteral("src/api/playlist"),  QStringLiteral("src/modules/file"),  QStringLiteral("src/modules/playlist"),
    QStringLiteral("src/host/app"),      QStringLiteral("src/host/cli"),      QStringLiteral("src/host/config"),
    QStringLiteral("src/host/content"),  QStringLiteral("src/host/doctor"),   QStringLiteral("src/host/exec"),
    QStringLiteral("src/host/http"),     QStringLiteral("src/host/language"), QStringLiteral("src/host/liveness"),
    QStringLiteral("src/host/media"),    QStringLiteral("src/host/prepare"),  QStringLiteral("src/host/process"),
    QStringLiteral("src/host/remote"),   QStringLiteral("src/host/rpc"),      QStringLiteral("src/host/stdio"),
    QStringLiteral("src/host/terminal"), QStringLiteral("tests/support")};

/// Where the compiler looks for quoted names, beside the including file's own folder.
const QStringList includeRoots = {QStringLiteral("src/api/core"),     QStringLiteral("src/api"),
                                  QStringLiteral("src/modules/file"), QStringLiteral("src/modules/playlist"),
                                  QStringLiteral("src/host"),         QStringLiteral("tests/support")};

/// One #include line.
struct Include
{
    /// Relative to the source tree.
    QString file;
    int line = 0;
    QString name;
    bool quoted = false;
};

bool isPrivateHeader(const QString& file)
{
    return file.endsWith(QLatin1String("_p.h"));
}

bool isPublicHeader(const QString& file)
{
    return file.endsWith(QLatin1String(".h")) && !isPrivateHeader(file);
}

QStringList sourcesBelow(const QString& folder)
{
    QStringList files;
    QDirIterator walk(
        sourceDir.filePath(folder), {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files,
        QDirIterator::Subdirectories);
    while (walk.hasNext())
        files.append(sourceDir.relativeFilePath(walk.next()));
    return files;
}

std::vector<Include> includesOf(const QString& file)
{
    static const QRegularExpression pattern(QStringLiteral(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"])"));
    QFile source(sourceDir.filePath(file));
    EXPECT_TRUE(source.open(QIODevice::ReadOnly)) << source.fileName().toStdString();
    std::vector<Include> includes;
    for (int line = 1; !source.atEnd(); ++line) {
        const QRegularExpressionMatch match = pattern.match(QString::fromUtf8(source.readLine()));
        if (match.hasMatch())
            includes.push_back({file, line, match.captured(2), match.captured(1) == QLatin1String("\"")});
    }
    return includes;
}

QString roomOf(const QString& file)
{
    for (const QString& room : rooms) {
        if (file.startsWith(room + QLatin1Char('/')))
            return room;
    }
    return {};
}

/// The file of this project that the name stands for, relative to the source tree; empty if there is none.
QString resolved(const Include& include)
{
    for (const QString& folder : QStringList(QFileInfo(include.file).path()) + includeRoots) {
        const QString file = QDir::cleanPath(folder + QLatin1Char('/') + include.name);
        if (QFile::exists(sourceDir.filePath(file)))
            return file;
    }
    return {};
}

std::string originOfOwn(const QString& file)
{
    const QString room = roomOf(file);
    const QString place = room.isEmpty() ? QFileInfo(file).path() : room;
    return (isPrivateHeader(file) ? "private " : "") + place.toStdString();
}

std::string originOfForeign(const QString& name)
{
    const auto liesIn = [&name](const char* folder) {
        return QFile::exists(QDir(QString::fromUtf8(folder)).filePath(name));
    };
    if (name.startsWith(QLatin1String("QtCore/")) || liesIn(TAVO_QTCORE_DIR))
        return "Qt Core";
    if (name.startsWith(QLatin1String("QtGui/")) || liesIn(TAVO_QTGUI_DIR))
        return "Qt Gui";
    if (name.startsWith(QLatin1String("QtSql/")) || liesIn(TAVO_QTSQL_DIR))
        return "Qt Sql";
    if (name.startsWith(QLatin1String("log4cplus/")))
        return "log4cplus";
    if (name.startsWith(QLatin1String("taglib/")) || liesIn(TAVO_TAGLIB_DIR))
        return "TagLib";
    // The C++ library's headers have no ending; other libraries' that have none lie in folders.
    if (!name.contains(QLatin1Char('.')) && !name.contains(QLatin1Char('/')))
        return "std";
    return "system";
}

std::string originOf(const Include& include)
{
    // Written by moc into the build tree.
    if (include.name.endsWith(QLatin1String(".moc")))
        return "moc";
    const QString own = resolved(include);
    if (!own.isEmpty())
        return originOfOwn(own);
    return include.quoted ? "nowhere" : originOfForeign(include.name);
}

/// The lines with forbidden includes, as a compiler would point at them.
std::vector<std::string> violations(const QStringList& files, const Origins& allowed)
{
    std::vector<std::string> lines;
    for (const QString& file : files) {
        for (const Include& include : includesOf(file)) {
            const std::string origin = originOf(include);
            const bool isOfOwnRoom = origin == roomOf(file).toStdString();
            const bool isAllowed = allowed.count(origin) > 0 || allowed.count(include.name.toStdString()) > 0;
            if (!isAllowed && !isOfOwnRoom)
                lines.push_back(
                    file.toStdString() + ':' + std::to_string(include.line) + ": " + include.name.toStdString() + " (" +
                    origin + ')');
        }
    }
    return lines;
}

enum class Side { Public, Inner, Both };

struct Rule
{
    const char* name;
    const char* folder;
    Side side;
    Origins allowed;
};

std::ostream& operator<<(std::ostream& out, const Rule& rule)
{
    return out << rule.folder;
}

/// What every room of the host may include, and `more`. A room's name stands for all of its headers.
Origins hostRoom(const Origins& more)
{
    Origins allowed = {"std", "system", "Qt Core", "src/api/core", "src/host/language", "moc"};
    allowed.insert(more.cbegin(), more.cend());
    return allowed;
}

const std::vector<Rule> rules = {
    {"CorePublicHeaders", "src/api/core", Side::Public, {"std", "Qt Core", "src/api/core"}},
    {"LogPublicHeaders", "src/api/core/log", Side::Public, {"std", "Qt Core", "log4cplus", "src/api/core"}},
    {"CoreSources",
     "src/api/core",
     Side::Inner,
     {"std", "system", "Qt Core", "log4cplus", "src/api/core", "src/api/core/log", "private src/api/core", "moc"}},
    {"LogSources",
     "src/api/core/log",
     Side::Inner,
     {"std", "Qt Core", "log4cplus", "src/api/core", "src/api/core/log"}},
    {"TagReaderPublicHeaders",
     "src/api/tagreader",
     Side::Public,
     {"std", "Qt Core", "src/api/core", "src/api/tagreader"}},
    {"TagReaderSources",
     "src/api/tagreader",
     Side::Inner,
     {"std", "dlfcn.h", "fcntl.h", "sys/stat.h", "unistd.h", "Qt Core", "Qt Gui", "TagLib", "src/api/core",
      "src/api/tagreader", "private src/api/tagreader", "moc"}},
    {"PlayListPublicHeaders", "src/api/playlist", Side::Public, {"std", "Qt Core", "src/api/core", "src/api/playlist"}},
    {"PlayListSources",
     "src/api/playlist",
     Side::Inner,
     {"std", "Qt Core", "Qt Gui", "src/api/core", "src/api/playlist", "private src/api/playlist", "moc"}},
    {"FileModuleHeaders",
     "src/modules/file",
     Side::Public,
     {"std", "Qt Core", "log4cplus", "src/api/core", "src/api/core/log", "src/api/tagreader", "src/api/playlist"}},
    {"FileModuleSources",
     "src/modules/file",
     Side::Inner,
     {"std", "dirent.h", "sys/stat.h", "Qt Core", "log4cplus", "src/api/core", "src/api/core/log", "src/api/tagreader",
      "src/api/playlist", "src/modules/file", "moc"}},
    {"PlaylistModuleHeaders",
     "src/modules/playlist",
     Side::Public,
     {"std", "Qt Core", "src/api/core", "src/modules/playlist"}},
    {"PlaylistModuleSources",
     "src/modules/playlist",
     Side::Inner,
     {"std", "Qt Core", "Qt Sql", "log4cplus", "src/api/core", "src/api/core/log", "src/modules/playlist", "moc"}},
    {"HostLanguage", "src/host/language", Side::Both, hostRoom({})},
    {"HostLiveness", "src/host/liveness", Side::Both,
     hostRoom({"exec/patientcall.h", "process/filedescriptor.h", "process/hostlog.h"})},
    {"HostExec", "src/host/exec", Side::Both, hostRoom({"process/guardedcall.h"})},
    {"HostContent", "src/host/content", Side::Both,
     hostRoom({"src/host/exec", "src/host/liveness", "process/hostlog.h", "process/openpath.h"})},
    {"HostMedia", "src/host/media", Side::Both,
     hostRoom({"src/api/tagreader", "src/host/content", "src/host/exec", "src/host/process"})},
    {"HostProcess", "src/host/process", Side::Both, hostRoom({"log4cplus", "src/api/core/log", "content/result.h"})},
    {"HostRpc", "src/host/rpc", Side::Both,
     hostRoom({"src/host/content", "src/host/exec", "process/freememory.h", "process/guardedcall.h"})},
    {"HostStdio", "src/host/stdio", Side::Both, hostRoom({"src/host/rpc", "src/host/process"})},
    {"HostHttp", "src/host/http", Side::Both,
     hostRoom(
         {"log4cplus", "src/api/core/log", "src/host/content", "src/host/exec", "src/host/media", "src/host/process",
          "src/host/rpc", "liveness/kernelevents.h"})},
    {"HostDoctor", "src/host/doctor", Side::Both,
     hostRoom(
         {"src/api/tagreader", "src/host/content", "src/host/exec", "src/host/http", "src/host/remote",
          "liveness/kernelevents.h", "process/filedescriptor.h", "process/statedirectory.h"})},
    {"HostRemote", "src/host/remote", Side::Both, hostRoom({"content/result.h", "src/host/rpc"})},
    {"HostTerminal", "src/host/terminal", Side::Both, hostRoom({"src/host/content", "src/host/process"})},
    {"HostPrepare", "src/host/prepare", Side::Both,
     hostRoom({"src/host/content", "src/host/terminal", "src/host/process"})},
    {"HostConfig", "src/host/config", Side::Both,
     hostRoom(
         {"content/contenthost.h", "content/limits.h", "http/access.h", "http/listenaddress.h", "process/logging.h"})},
    {"HostCli", "src/host/cli", Side::Both,
     hostRoom(
         {"src/host/config", "src/host/content", "src/host/doctor", "src/host/exec", "src/host/http",
          "src/host/prepare", "src/host/process", "src/host/remote", "src/host/rpc", "src/host/stdio",
          "src/host/terminal"})},
    {"HostApp", "src/host/app", Side::Both,
     hostRoom({"src/host/cli", "src/host/config", "src/host/content", "src/host/process", "exec/workerthread.h"})}};

QStringList filesOf(const Rule& rule)
{
    QStringList files;
    for (const QString& file : sourcesBelow(QString::fromUtf8(rule.folder))) {
        const bool isOfSide = rule.side == Side::Both || isPublicHeader(file) == (rule.side == Side::Public);
        if (roomOf(file) == QLatin1String(rule.folder) && isOfSide)
            files.append(file);
    }
    return files;
}

class RoomTest : public testing::TestWithParam<Rule>
{
};

TEST_P(RoomTest, IncludesOnlyWhatItMay)
{
    const QStringList files = filesOf(GetParam());
    ASSERT_FALSE(files.isEmpty());
    EXPECT_THAT(violations(files, GetParam().allowed), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Rooms, RoomTest, testing::ValuesIn(rules), [](const auto& test) { return test.param.name; });

TEST(Rooms, EveryFolderOfTheHostHasItsWall)
{
    const QDir host(sourceDir.filePath(QStringLiteral("src/host")));
    for (const QString& folder : host.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const std::string room = "src/host/" + folder.toStdString();
        EXPECT_THAT(rules, testing::Contains(testing::Field(&Rule::folder, testing::StrEq(room))));
    }
    EXPECT_THAT(host.entryList({QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files), testing::IsEmpty());
}

TEST(Rooms, TestsKnowThePrivateHeadersOfOneRoomAtMost)
{
    std::map<std::string, Origins> privateRooms;
    for (const QString& file : sourcesBelow(QStringLiteral("tests"))) {
        for (const Include& include : includesOf(file)) {
            if (isPrivateHeader(include.name))
                privateRooms[QFileInfo(file).path().toStdString()].insert(originOf(include));
        }
    }
    EXPECT_THAT(privateRooms, testing::Each(testing::Pair(testing::_, testing::SizeIs(1))));
}

/// Each of them takes long to compile.
TEST(Rooms, FewSourcesAndNoHeadersIncludeBoost)
{
    Origins users;
    for (const QString& file : sourcesBelow(QStringLiteral("src"))) {
        for (const Include& include : includesOf(file)) {
            if (include.name.startsWith(QLatin1String("boost/")))
                users.insert(file.toStdString());
        }
    }
    EXPECT_THAT(
        users, testing::ElementsAre(
                   "src/host/http/acceptor.cpp", "src/host/http/boost.cpp", "src/host/http/httpconnection.cpp",
                   "src/host/http/iothread.cpp", "src/host/http/websocketclient.cpp", "src/host/remote/httppost.cpp"));
}

TEST(Rooms, OneSourceAloneReadsToml)
{
    Origins readers;
    for (const QString& file : sourcesBelow(QStringLiteral("src"))) {
        for (const Include& include : includesOf(file)) {
            if (include.name.startsWith(QLatin1String("toml++/")))
                readers.insert(file.toStdString());
        }
    }
    EXPECT_THAT(readers, testing::ElementsAre("src/host/config/configurationfile.cpp"));
}

TEST(Rooms, TwoSourcesAloneLoadLibraries)
{
    Origins loaders;
    for (const QString& file : sourcesBelow(QStringLiteral("src"))) {
        for (const Include& include : includesOf(file)) {
            if (include.name == QLatin1String("dlfcn.h"))
                loaders.insert(file.toStdString());
        }
    }
    EXPECT_THAT(loaders, testing::ElementsAre("src/api/tagreader/filetags.cpp", "src/host/content/workermodule.cpp"));
}

} // namespace
