// The package as somebody else's project sees it: installed, moved, found, built against, run.

#include "process.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

/// The install tree, at another place than it was installed to, and beside it a folder of music.
class Package : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_folder.isValid());
        run(QStringLiteral(TAVO_CMAKE),
            {QStringLiteral("--install"), QStringLiteral(TAVO_BUILD_DIR), QStringLiteral("--prefix"), at("first")});
        ASSERT_TRUE(QDir(m_folder.path()).rename(QStringLiteral("first"), QStringLiteral("moved")));
        ASSERT_TRUE(QDir(m_folder.path()).mkdir(QStringLiteral("music")));
        ASSERT_TRUE(QFile(at("music/song.mp3")).open(QIODevice::WriteOnly));
    }

    [[nodiscard]] QString at(const char* name) const { return m_folder.filePath(QString::fromUtf8(name)); }

    /// What the program prints; it must succeed.
    static std::string run(const QString& program, const QStringList& arguments)
    {
        const Outcome outcome = runToEnd(program, arguments);
        EXPECT_EQ(outcome.exitStatus, 0) << program.toStdString() << '\n' << outcome.output.toStdString();
        return outcome.output.toStdString();
    }

    void buildConsumer() const
    {
        // The second of the paths is for a cross build, which finds nothing outside its roots.
        const QStringList arguments = {
            QStringLiteral("-S"),
            QStringLiteral(TAVO_CONSUMER_DIR),
            QStringLiteral("-B"),
            at("build"),
            QStringLiteral("-DCMAKE_PREFIX_PATH=") + at("moved"),
            QStringLiteral("-DCMAKE_FIND_ROOT_PATH=") + at("moved")};
        run(QStringLiteral(TAVO_CMAKE), arguments + QStringLiteral(TAVO_CONSUMER_OPTIONS).split(QLatin1Char('|')));
        run(QStringLiteral(TAVO_CMAKE), {QStringLiteral("--build"), at("build")});
    }

private:
    QTemporaryDir m_folder;
};

std::set<std::string> headersBelow(const QString& folder)
{
    std::set<std::string> names;
    QDirIterator walk(folder, {QStringLiteral("*.h")}, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext())
        names.insert(QDir(folder).relativeFilePath(walk.next()).toStdString());
    return names;
}

/// The SDK's headers that others may include, by the names under which they do.
std::set<std::string> publicHeaders()
{
    const QString api = QStringLiteral(TAVO_SOURCE_DIR "/src/api");
    std::set<std::string> names;
    for (std::string name : headersBelow(api)) {
        const std::string core = "core/";
        if (name.compare(0, core.size(), core) == 0)
            name.erase(0, core.size());
        if (!testing::Value(name, EndsWith("_p.h")))
            names.insert(name);
    }
    return names;
}

TEST_F(Package, HasEveryPublicHeaderAndNoPrivateOne)
{
    EXPECT_EQ(headersBelow(at("moved/include/tavo")), publicHeaders());
}

TEST_F(Package, HostFindsItsLibrariesAndModuleWhereverTheTreeLies)
{
    const std::string output =
        run(at("moved/bin/tavo"), {QStringLiteral("--root"), at("music"), QStringLiteral("browse")});
    EXPECT_THAT(output, HasSubstr("song.mp3"));
}

TEST_F(Package, HostFindsWhatReadsTagsAndMakesCoversWhereverTheTreeLies)
{
    const std::string output =
        run(at("moved/bin/tavo"),
            {QStringLiteral("--root"), QStringLiteral(TAVO_SOURCE_DIR "/demo"), QStringLiteral("prepare"),
             QStringLiteral("library"), QStringLiteral("."), QStringLiteral("--json")});
    EXPECT_THAT(output, HasSubstr("\"artist\""));
    EXPECT_THAT(output, HasSubstr("\"albumArt\""));
}

TEST_F(Package, WithoutWhatReadsTagsItemsAreMadeOfTheirNames)
{
    const QString library = at("moved/lib/tavo/0/libtavo_tags.so");
    ASSERT_TRUE(QFile::rename(library, library + QStringLiteral(".away")));
    QProcess host;
    host.start(
        at("moved/bin/tavo"),
        {QStringLiteral("--root"), QStringLiteral(TAVO_SOURCE_DIR "/demo"), QStringLiteral("prepare"),
         QStringLiteral("playlist"), QStringLiteral("."), QStringLiteral("--json")});
    EXPECT_TRUE(host.waitForFinished());
    EXPECT_TRUE(QFile::rename(library + QStringLiteral(".away"), library));
    EXPECT_EQ(host.exitCode(), 0);
    const std::string items = host.readAllStandardOutput().toStdString();
    EXPECT_THAT(items, HasSubstr(R"("title":"Door chime.wav")"));
    EXPECT_THAT(items, Not(HasSubstr("\"artist\"")));
    EXPECT_EQ(host.readAllStandardError().count("No tags can be read"), 1);
}

TEST_F(Package, OutsideHostRunsAnOutsideWorkerAndTheInstalledOne)
{
    buildConsumer();
    EXPECT_EQ(
        run(at("build/consumer_host"), {at("build/libgreeting.so"), at("music"), QStringLiteral("world")}),
        "Hello, world\n");
    EXPECT_EQ(
        run(at("build/consumer_host"), {QStringLiteral("libtavo_cb_file.so"), at("music"), QString()}), "song.mp3\n");
}

} // namespace
