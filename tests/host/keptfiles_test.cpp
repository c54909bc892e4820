#include "http/keptfiles.h"

#include "exec/rootpools.h"
#include "http/iothread.h"

#include "support/gate.h"
#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>

namespace {

class KeptFilesTest : public testing::Test
{
protected:
    KeptFilesTest()
    {
        for (const QString& base : {QStringLiteral("1.mp3"), QStringLiteral("2.mp3"), QStringLiteral("3.mp3")})
            tree.addFile(QStringLiteral("root/") + base, "sound");
        host = startHost(settingsFor(tree.absolute(QStringLiteral("root"))));
    }
    // What the I/O thread has not done yet is not done any more.
    ~KeptFilesTest() override { io.stop(); }
    Q_DISABLE_COPY_MOVE(KeptFilesTest)

    void start(const KeptFiles::Settings& settings)
    {
        files = std::make_unique<KeptFiles>(MediaLibrary(*host), io, disk, settings);
    }

    /// Opens the file and has it kept.
    std::weak_ptr<const MediaFile> keep(const QString& base)
    {
        std::optional<MediaFile> opened = MediaLibrary(*host).open(prefix, base);
        EXPECT_TRUE(opened);
        const auto file = std::make_shared<const MediaFile>(*std::move(opened));
        files->keep(prefix, base, file);
        return file;
    }

    [[nodiscard]] KeptFiles::File find(const QString& base)
    {
        KeptFiles::File found;
        Gate isDone;
        io.post([&] {
            found = files->find(prefix, base);
            isDone.open();
        });
        EXPECT_TRUE(isDone.wait());
        return found;
    }

    /// Waits until nobody has the file open any more.
    static void awaitEnd(const std::weak_ptr<const MediaFile>& file)
    {
        while (!file.expired())
            std::this_thread::yield();
    }

    const QString prefix = QStringLiteral("file");
    TemporaryTree tree;
    std::unique_ptr<ContentHost> host;
    IoThread io;
    RootPools disk{1};
    std::unique_ptr<KeptFiles> files;
    static constexpr std::chrono::hours never{1};
};

TEST_F(KeptFilesTest, KeepsWhatWasOpened)
{
    start({16, never});
    const auto file = keep(QStringLiteral("1.mp3"));
    EXPECT_EQ(find(QStringLiteral("1.mp3")), file.lock());
    EXPECT_FALSE(find(QStringLiteral("2.mp3")));
}

TEST_F(KeptFilesTest, ClosesWhatHasChanged)
{
    start({16, never});
    const auto file = keep(QStringLiteral("1.mp3"));
    tree.addFile(QStringLiteral("root/1.mp3"), "longer sound");
    EXPECT_FALSE(find(QStringLiteral("1.mp3")));
    awaitEnd(file);
}

TEST_F(KeptFilesTest, ClosesTheOldestOfTooMany)
{
    start({2, never});
    const auto first = keep(QStringLiteral("1.mp3"));
    static_cast<void>(keep(QStringLiteral("2.mp3")));
    static_cast<void>(keep(QStringLiteral("3.mp3")));
    awaitEnd(first);
    EXPECT_FALSE(find(QStringLiteral("1.mp3")));
    EXPECT_TRUE(find(QStringLiteral("2.mp3")));
    EXPECT_TRUE(find(QStringLiteral("3.mp3")));
}

TEST_F(KeptFilesTest, KeepsTheLatestOfAPath)
{
    start({16, never});
    const auto first = keep(QStringLiteral("1.mp3"));
    const auto second = keep(QStringLiteral("1.mp3"));
    awaitEnd(first);
    EXPECT_EQ(find(QStringLiteral("1.mp3")), second.lock());
}

TEST_F(KeptFilesTest, ClosesWhatIsNotUsed)
{
    start({16, std::chrono::milliseconds(1)});
    awaitEnd(keep(QStringLiteral("1.mp3")));
    EXPECT_FALSE(find(QStringLiteral("1.mp3")));
    awaitEnd(keep(QStringLiteral("1.mp3")));
}

} // namespace
