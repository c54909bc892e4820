// Covers of files and directories as network clients get them.

#include "media/coverstore.h"

#include "content/contenthost.h"
#include "exec/workerthread.h"

#include "support/gate.h"
#include "support/pictures.h"
#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <limits>
#include <vector>

#include <sys/stat.h>

namespace {

using namespace std::chrono_literals;

class CoverStoreTest : public testing::Test
{
protected:
    CoverStoreTest()
    {
        tree.addDirectory(QStringLiteral("root"));
        host = startHost(settingsFor(root));
        start(state);
    }

    void start(const QString& directory)
    {
        store.reset();
        CoverStore::Settings settings;
        settings.directory = directory;
        store = std::make_unique<CoverStore>(*host, settings);
    }

    void add(const char* name, const QByteArray& content)
    {
        tree.addFile(QStringLiteral("root/") + QString::fromUtf8(name), content);
    }

    [[nodiscard]] std::future<std::optional<Cover>> ask(const QString& base, int width = 800) const
    {
        auto answer = std::make_shared<std::promise<std::optional<Cover>>>();
        store->find({QStringLiteral("file"), base, width}, [answer](const auto& cover) { answer->set_value(cover); });
        return answer->get_future();
    }

    [[nodiscard]] std::optional<Cover> cover(const char* base, int width = 800) const
    {
        return ask(QString::fromUtf8(base), width).get();
    }

    /// Pixels; invalid if there is no cover.
    [[nodiscard]] QSize sizeOfCover(const char* base, int width = 800) const
    {
        const std::optional<Cover> found = cover(base, width);
        return found ? sizeOf(*found) : QSize();
    }

    [[nodiscard]] static QSize sizeOf(const Cover& cover)
    {
        QBuffer bytes;
        bytes.setData(cover.data);
        return QImageReader(&bytes).size();
    }

    TemporaryTree tree;
    const QString root = tree.absolute(QStringLiteral("root"));
    const QString state = tree.absolute(QStringLiteral("state/covers"));
    std::unique_ptr<ContentHost> host;
    std::unique_ptr<CoverStore> store;
};

TEST_F(CoverStoreTest, CoverOfAFileIsInItsTags)
{
    add("a/song.mp3", songWithCover(pictureFile({30, 20}, "png")));
    add("a/cover.jpg", pictureFile({50, 50}));
    const std::optional<Cover> found = cover("a/song.mp3");
    ASSERT_TRUE(found);
    EXPECT_EQ(sizeOf(*found), QSize(30, 20));
    EXPECT_EQ(found->mimeType, "image/png");
}

TEST_F(CoverStoreTest, FileWithoutCoverHasThatOfItsDirectory)
{
    add("a/song.mp3", "sound");
    add("top.mp3", "sound");
    EXPECT_FALSE(cover("a/song.mp3"));
    add("a/cover.jpg", pictureFile({50, 50}));
    add("folder.png", pictureFile({60, 60}, "png"));
    EXPECT_EQ(sizeOfCover("a/song.mp3"), QSize(50, 50));
    EXPECT_EQ(sizeOfCover("top.mp3"), QSize(60, 60));
    EXPECT_EQ(cover("a/song.mp3")->mimeType, "image/jpeg");
}

TEST_F(CoverStoreTest, FileWithoutCoverHasNotThatOfAnotherFile)
{
    add("a/1.mp3", songWithCover(pictureFile({10, 10})));
    add("a/2.mp3", "sound");
    EXPECT_TRUE(cover("a"));
    EXPECT_FALSE(cover("a/2.mp3"));
}

TEST_F(CoverStoreTest, DirectoryHasThePictureOfTheBestName)
{
    int width = 10;
    for (const char* name :
         {"front.PNG", "Front.jpeg", "FRONT.jpg", "folder.png", "Folder.JPEG", "FOLDER.JPG", "cover.png", "cover.jpeg",
          "cover.jpg", "COVER.jpg"}) {
        add((std::string("a/") + name).c_str(), pictureFile({++width, 10}));
        EXPECT_EQ(sizeOfCover("a"), QSize(width, 10)) << name;
    }
    for (const char* name : {"cover.gif", "mycover.jpg", "cover.jpg.png", "Cover.JPG"})
        add((std::string("a/") + name).c_str(), pictureFile({5, 5}));
    EXPECT_EQ(sizeOfCover("a"), QSize(width, 10));
}

TEST_F(CoverStoreTest, DirectoryWithoutPictureHasTheCoverOfItsFirstFile)
{
    add("a/2.mp3", songWithCover(pictureFile({20, 20})));
    EXPECT_EQ(sizeOfCover("a"), QSize(20, 20));
    add("a/1.mp3", songWithCover(pictureFile({10, 10})));
    add("a/0.txt", songWithCover(pictureFile({30, 30})));
    add("a/.0.mp3", songWithCover(pictureFile({40, 40})));
    EXPECT_EQ(sizeOfCover("a"), QSize(10, 10));
    EXPECT_FALSE(cover(""));
    add("top.mp3", songWithCover(pictureFile({50, 50})));
    EXPECT_EQ(sizeOfCover(""), QSize(50, 50));
}

TEST_F(CoverStoreTest, WidthIsTheNextStepAndNeverScalesUp)
{
    add("large/cover.jpg", pictureFile({1600, 800}));
    const std::vector<std::pair<int, int>> widths = {
        {std::numeric_limits<int>::min(), 100},
        {-1, 100},
        {0, 100},
        {1, 100},
        {100, 100},
        {101, 200},
        {400, 400},
        {401, 800},
        {801, 800},
        {1'000'000'000, 800}};
    for (const auto& [asked, given] : widths)
        EXPECT_EQ(sizeOfCover("large", asked), QSize(given, given / 2)) << asked;
    add("small/cover.jpg", pictureFile({40, 40}));
    EXPECT_EQ(sizeOfCover("small", 800), QSize(40, 40));
}

TEST_F(CoverStoreTest, ThousandWidthsAreKeptInFourFiles)
{
    add("a/cover.jpg", pictureFile({1000, 1000}));
    std::vector<std::future<std::optional<Cover>>> answers;
    for (int width = 1; width <= 1000; ++width)
        answers.push_back(ask(QStringLiteral("a"), width));
    for (auto& answer : answers)
        EXPECT_TRUE(answer.get());
    EXPECT_EQ(QDir(state).entryList(QDir::Files).size(), 4);
    EXPECT_EQ(store->decoded(), 4);
}

TEST_F(CoverStoreTest, ThousandEqualRequestsDecodeOnce)
{
    add("a/cover.jpg", pictureFile({2000, 2000}));
    add("a/song.mp3", "sound");
    std::vector<std::future<std::optional<Cover>>> answers;
    for (int i = 0; i < 1000; ++i)
        answers.push_back(ask(i % 2 == 0 ? QStringLiteral("a") : QStringLiteral("a/song.mp3")));
    const QByteArray etag = answers.front().get()->etag;
    for (size_t i = 1; i < answers.size(); ++i)
        EXPECT_EQ(answers[i].get()->etag, etag);
    // The picture and, once, the song without one.
    EXPECT_EQ(store->decoded(), 2);
}

TEST_F(CoverStoreTest, EqualRequestsShareAnAnswerThatIsNotKept)
{
    constexpr int requests = 200;
    start(QString());
    add("a/cover.jpg", pictureFile({1500, 1500}));
    std::vector<std::future<std::optional<Cover>>> answers;
    for (int i = 0; i < requests; ++i)
        answers.push_back(ask(QStringLiteral("a")));
    for (auto& answer : answers)
        EXPECT_TRUE(answer.get());
    // Its answer comes after everything that the others left to do.
    EXPECT_TRUE(cover("a", 100));
    // More than two only where the machine lets this thread wait.
    EXPECT_LT(store->decoded(), requests / 10);
}

TEST_F(CoverStoreTest, KeptCoverIsNotDecodedAgain)
{
    add("a/cover.jpg", pictureFile({500, 500}));
    const std::optional<Cover> first = cover("a", 200);
    ASSERT_TRUE(first);
    start(state);
    const std::optional<Cover> again = cover("a", 200);
    ASSERT_TRUE(again);
    EXPECT_EQ(store->decoded(), 0);
    EXPECT_EQ(again->data, first->data);
    EXPECT_EQ(again->etag, first->etag);
    EXPECT_EQ(again->mimeType, first->mimeType);
}

TEST_F(CoverStoreTest, DamagedKeptCoverIsMadeAgain)
{
    add("a/cover.jpg", pictureFile({500, 500}));
    const std::optional<Cover> first = cover("a", 200);
    ASSERT_TRUE(first);
    for (const QString& name : QDir(state).entryList(QDir::Files))
        ASSERT_TRUE(QFile::resize(state + u'/' + name, 10));
    EXPECT_EQ(cover("a", 200)->data, first->data);
    EXPECT_EQ(store->decoded(), 2);
}

TEST_F(CoverStoreTest, WithoutAStateDirectoryNothingIsKept)
{
    start(QString());
    add("a/cover.jpg", pictureFile({500, 500}));
    EXPECT_EQ(sizeOfCover("a", 200), QSize(200, 200));
    EXPECT_EQ(sizeOfCover("a", 200), QSize(200, 200));
    EXPECT_EQ(store->decoded(), 2);
    EXPECT_TRUE(QDir(state).isEmpty());
}

TEST_F(CoverStoreTest, FileWithoutCoverIsReadOnce)
{
    add("a/song.mp3", "sound");
    for (const int width : {100, 100, 200, 800})
        EXPECT_FALSE(cover("a/song.mp3", width));
    EXPECT_EQ(store->decoded(), 1);
}

TEST_F(CoverStoreTest, ChangedFileHasItsNewCover)
{
    add("a/song.mp3", "sound");
    EXPECT_FALSE(cover("a/song.mp3"));
    add("a/song.mp3", songWithCover(pictureFile({10, 10})));
    const std::optional<Cover> first = cover("a/song.mp3");
    ASSERT_TRUE(first);
    EXPECT_EQ(sizeOf(*first), QSize(10, 10));
    add("a/song.mp3", songWithCover(pictureFile({20, 20})));
    const std::optional<Cover> second = cover("a/song.mp3");
    ASSERT_TRUE(second);
    EXPECT_EQ(sizeOf(*second), QSize(20, 20));
    EXPECT_NE(second->etag, first->etag);
}

TEST_F(CoverStoreTest, ChangedDirectoryHasItsNewCover)
{
    add("a/cover.jpg", pictureFile({10, 10}));
    tree.setModified(QStringLiteral("root/a"), 784111777);
    EXPECT_EQ(sizeOfCover("a"), QSize(10, 10));
    tree.remove(QStringLiteral("root/a/cover.jpg"));
    EXPECT_FALSE(cover("a"));
    add("a/front.png", pictureFile({20, 20}, "png"));
    EXPECT_EQ(sizeOfCover("a"), QSize(20, 20));
}

TEST_F(CoverStoreTest, WhatIsNoPictureIsNoCover)
{
    const QByteArray svg = R"(<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"><script>1</script></svg>)";
    const QByteArray html = "<html><script>1</script></html>";
    const QByteArray jpeg = pictureFile({300, 300});
    const QByteArray png = pictureFile({300, 300}, "png");
    const QByteArrayList contents = {
        svg,
        "<?xml version=\"1.0\"?>" + svg,
        html,
        "",
        "GIF89a" + html,
        "\x89PNG\r\n\x1a\n" + html,
        "\xff\xd8\xff" + html,
        jpeg.left(jpeg.size() / 2),
        jpeg.left(jpeg.size() - 2),
        png.left(png.size() / 2)};
    for (int i = 0; i < contents.size(); ++i) {
        add("a/cover.jpg", contents.at(i));
        add("a/folder.png", contents.at(i));
        add("b/song.mp3", songWithCover(contents.at(i)));
        for (const char* base : {"a", "b", "b/song.mp3"})
            EXPECT_FALSE(cover(base)) << base << ' ' << i;
    }
}

TEST_F(CoverStoreTest, NextNameIsTakenWhereTheBestIsNoPicture)
{
    add("a/cover.jpg", "no picture");
    add("a/folder.jpg", pictureFile({20, 20}));
    EXPECT_EQ(sizeOfCover("a"), QSize(20, 20));
}

TEST_F(CoverStoreTest, PictureOfAnotherFormatIsMadeOne)
{
    add("a/cover.jpg", pictureFile({20, 20}, "bmp"));
    const std::optional<Cover> found = cover("a");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->mimeType, "image/jpeg");
    EXPECT_TRUE(found->data.startsWith("\xff\xd8\xff"));
}

TEST_F(CoverStoreTest, PictureOfTooManyPixelsIsRefused)
{
    add("a/cover.png", monochromePng({6000, 6000}));
    EXPECT_FALSE(cover("a"));
}

TEST_F(CoverStoreTest, NothingOutsideAndNothingHiddenIsLookedAt)
{
    const QByteArray picture = pictureFile({20, 20});
    tree.addFile(QStringLiteral("abroad/cover.jpg"), picture);
    tree.addFile(QStringLiteral("abroad/song.mp3"), songWithCover(picture));
    add(".hidden/cover.jpg", picture);
    add(".hidden/song.mp3", songWithCover(picture));
    add("a/song.mp3", "sound");
    for (const auto& [target, name] :
         {std::pair("../../abroad/cover.jpg", "a/cover.jpg"), std::pair("../.hidden/cover.jpg", "a/folder.jpg"),
          std::pair("../abroad", "out"), std::pair("../abroad/song.mp3", "out.mp3"), std::pair(".hidden", "shown"),
          std::pair("/proc/self/exe", "a/front.jpg")})
        ASSERT_TRUE(QFile::link(QString::fromUtf8(target), root + u'/' + QString::fromUtf8(name)));
    for (const char* base :
         {"a", "a/song.mp3", "out", "out/song.mp3", "out.mp3", "shown", ".hidden", ".hidden/song.mp3", "../abroad",
          "a/../../abroad", "..", ".", "a/.", "a/", "/", "//", "missing", "a/cover.jpg", "shown/song.mp3"})
        EXPECT_FALSE(cover(base)) << base;
    EXPECT_FALSE(ask(tree.absolute(QStringLiteral("abroad"))).get());
    EXPECT_FALSE(ask(QStringLiteral("a") + QChar(QChar::Null)).get());
}

TEST_F(CoverStoreTest, PipeUnderAPicturesNameIsPassedOver)
{
    add("a/folder.jpg", pictureFile({20, 20}));
    ASSERT_EQ(mkfifo((root + QStringLiteral("/a/cover.jpg")).toUtf8(), 0600), 0);
    EXPECT_EQ(sizeOfCover("a"), QSize(20, 20));
}

TEST_F(CoverStoreTest, LinkedPictureInTheTreeIsTaken)
{
    add("pictures/x.jpg", pictureFile({20, 20}));
    tree.addDirectory(QStringLiteral("root/a"));
    ASSERT_TRUE(QFile::link(QStringLiteral("../pictures/x.jpg"), root + QStringLiteral("/a/cover.jpg")));
    EXPECT_EQ(sizeOfCover("a"), QSize(20, 20));
}

TEST_F(CoverStoreTest, MissingRootHasNoCover)
{
    auto answer = std::make_shared<std::promise<bool>>();
    store->find({QStringLiteral("other"), QString(), 100}, [answer](const auto& found) { answer->set_value(!!found); });
    EXPECT_FALSE(answer->get_future().get());
}

/// Beside root/ there is a root "drive", whose requests hang until the gate is open.
class CoverStoreBesideADeadRoot : public CoverStoreTest
{
protected:
    CoverStoreBesideADeadRoot()
    {
        store.reset();
        host.reset();
        HostSettings settings = settingsFor(root);
        settings.roots.push_back(rootFor(QStringLiteral("drive"), tree.absolute(QStringLiteral("missing"))));
        host = startHost(settings);
        start(state);
        // To find a missing root takes the worker thread.
        host->workerThread().post([this] { EXPECT_TRUE(mayGoOn.wait()); });
    }

    void TearDown() override
    {
        mayGoOn.open();
        host->workerThread().run([] {});
    }

    void askThere(const QString& base, const CoverStore::Receive& receive)
    {
        store->find({QStringLiteral("drive"), base, 100}, receive);
    }

    Gate mayGoOn;
};

TEST_F(CoverStoreBesideADeadRoot, OthersAreServed)
{
    add("cover.jpg", pictureFile({50, 50}));
    for (int i = 0; i < 10; ++i)
        askThere(QString::number(i), [](const auto& /*cover*/) {});
    EXPECT_EQ(sizeOfCover(""), QSize(50, 50));
}

TEST_F(CoverStoreBesideADeadRoot, OnlySoManyRequestsWait)
{
    std::atomic<int> answers{0};
    const auto count = [&answers](const auto& /*cover*/) { ++answers; };
    for (int i = 0; i < 5000; ++i)
        askThere(QString::number(i % 2500), count);
    EXPECT_EQ(answers, 3000);
    mayGoOn.open();
    store.reset();
    EXPECT_EQ(answers, 5000);
}

TEST_F(CoverStoreTest, StoppedStoreAnswersEveryRequest)
{
    const QByteArray picture = pictureFile({1200, 1200});
    std::vector<std::future<std::optional<Cover>>> answers;
    for (int i = 0; i < 50; ++i) {
        const QString directory = QString::number(i);
        tree.addFile(QStringLiteral("root/%1/cover.jpg").arg(directory), picture);
        answers.push_back(ask(directory));
    }
    EXPECT_TRUE(store->stop(20s));
    answers.push_back(ask(QStringLiteral("0")));
    EXPECT_FALSE(answers.back().get());
    for (auto& answer : answers)
        EXPECT_TRUE(!answer.valid() || answer.wait_for(0s) == std::future_status::ready);
}

} // namespace
