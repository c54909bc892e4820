// Changes that the kernel does not report reach clients all the same.

#include "support/follower.h"
#include "support/temporarytree.h"

#include <QFile>

#include <gtest/gtest.h>

#include <csignal>
#include <utility>

#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

/// The value of a kernel setting; empty if the kernel does not have it.
QByteArray setting(const QByteArray& name)
{
    QFile file(QStringLiteral("/proc/sys/") + QString::fromLatin1(name).replace(QLatin1Char('.'), QLatin1Char('/')));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

/// The lower of the two limits on a user's watches, as in "name = 5".
QByteArray lowestKernelLimit()
{
    const QByteArray system = "fs.inotify.max_user_watches";
    const QByteArray inNamespace = "user.max_inotify_watches";
    const bool isNamespaceLower = setting(inNamespace).toInt() < setting(system).toInt();
    const QByteArray& lower = isNamespaceLower ? inNamespace : system;
    return lower + " = " + setting(lower);
}

/// The event queue of a watched directory. Nobody reads it, so it fills up like that of a stopped program.
class UnreadEvents
{
public:
    explicit UnreadEvents(const QString& directory) : m_inotify(inotify_init1(IN_CLOEXEC))
    {
        const int watch = inotify_add_watch(m_inotify, QFile::encodeName(directory).constData(), IN_MOVE);
        Q_ASSERT(watch >= 0);
    }
    ~UnreadEvents() { close(m_inotify); }
    Q_DISABLE_COPY_MOVE(UnreadEvents)

    /// False if the kernel has kept no event since the last call.
    [[nodiscard]] bool haveBecomeMore()
    {
        int bytes = 0;
        ioctl(m_inotify, FIONREAD, &bytes);
        return std::exchange(m_bytes, bytes) != bytes;
    }

private:
    int m_inotify;
    int m_bytes = 0;
};

class Healing : public testing::Test
{
protected:
    void start(const QStringList& options = {})
    {
        client.start(
            QStringList{QStringLiteral("--root"), tree.root(), QStringLiteral("--sweep"), QStringLiteral("1")} +
            options);
    }

    TemporaryTree tree;
    Follower client;
};

TEST_F(Healing, ADirectoryThatAnotherReplacesIsReadAgain)
{
    tree.addFile(QStringLiteral("a/old.mp3"));
    tree.addFile(QStringLiteral("other/new.mp3"));
    start();
    ASSERT_TRUE(client.open(QStringLiteral("a")));
    tree.rename(QStringLiteral("a"), QStringLiteral("moved"));
    tree.rename(QStringLiteral("other"), QStringLiteral("a"));
    EXPECT_TRUE(client.comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3")}));
}

TEST_F(Healing, AReplacedDirectoryIsWatchedInItsPlace)
{
    tree.addFile(QStringLiteral("a/old.mp3"));
    start({QStringLiteral("--sweep"), QStringLiteral("0")});
    ASSERT_TRUE(client.open(QStringLiteral("a")));
    tree.rename(QStringLiteral("a"), QStringLiteral("moved"));
    tree.addFile(QStringLiteral("a/new.mp3"));
    ASSERT_TRUE(client.comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3")}));
    tree.addFile(QStringLiteral("a/newer.mp3"));
    EXPECT_TRUE(client.comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3"), QStringLiteral("newer.mp3")}));
}

TEST_F(Healing, DirectoriesBelowAReplacedOneAreReadAgainToo)
{
    tree.addFile(QStringLiteral("a/b/c/old.mp3"));
    tree.addFile(QStringLiteral("other/b/c/new.mp3"));
    start();
    ASSERT_TRUE(client.open(QStringLiteral("a/b/c")));
    tree.rename(QStringLiteral("a"), QStringLiteral("moved"));
    tree.rename(QStringLiteral("other"), QStringLiteral("a"));
    EXPECT_TRUE(client.comesToHold(QStringLiteral("a/b/c"), {QStringLiteral("new.mp3")}));
}

TEST_F(Healing, ADirectoryRemovedAndMadeAnewAtOnceIsWatchedAgain)
{
    tree.addFile(QStringLiteral("a/old.mp3"));
    start();
    ASSERT_TRUE(client.open(QStringLiteral("a")));
    tree.remove(QStringLiteral("a"));
    tree.addFile(QStringLiteral("a/new.mp3"));
    ASSERT_TRUE(client.comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3")}));
    tree.addFile(QStringLiteral("a/newer.mp3"));
    EXPECT_TRUE(client.comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3"), QStringLiteral("newer.mp3")}));
}

TEST_F(Healing, WithoutAnyEventsEveryChangeIsReported)
{
    tree.addFile(QStringLiteral("a/one.mp3"));
    client.program().setWatchLimit(0);
    start();
    ASSERT_TRUE(client.open(QStringLiteral("a")));
    EXPECT_EQ(client.program().watches(), 0);
    tree.addFile(QStringLiteral("a/two.mp3"));
    EXPECT_TRUE(client.comesToHold(QStringLiteral("a"), {QStringLiteral("one.mp3"), QStringLiteral("two.mp3")}));
    tree.rename(QStringLiteral("a/two.mp3"), QStringLiteral("a/three.mp3"));
    EXPECT_TRUE(client.comesToHold(QStringLiteral("a"), {QStringLiteral("one.mp3"), QStringLiteral("three.mp3")}));
}

TEST_F(Healing, WithoutAnInotifyInstanceEveryChangeIsReported)
{
    tree.addFile(QStringLiteral("a/one.mp3"));
    client.program().setInotifyInstanceLimit(0);
    start();
    ASSERT_TRUE(client.open(QStringLiteral("a")));
    EXPECT_EQ(client.program().watches(), 0);
    tree.addFile(QStringLiteral("a/two.mp3"));
    EXPECT_TRUE(client.comesToHold(QStringLiteral("a"), {QStringLiteral("one.mp3"), QStringLiteral("two.mp3")}));
    tree.remove(QStringLiteral("a"));
    EXPECT_TRUE(client.isClosed(QStringLiteral("a")));
}

TEST_F(Healing, BeyondTheWatchLimitChangesAreReportedAndTheLimitIsNamedOnce)
{
    QStringList directories;
    for (int i = 0; i < 6; ++i) {
        directories.append(QStringLiteral("d%1").arg(i));
        tree.addDirectory(directories.last());
    }
    constexpr int limit = 5;
    client.program().setWatchLimit(limit);
    start();
    for (const QString& directory : qAsConst(directories))
        ASSERT_TRUE(client.open(directory));
    EXPECT_EQ(client.program().watches(), limit);
    for (const QString& directory : qAsConst(directories)) {
        tree.addFile(directory + QStringLiteral("/new.mp3"));
        EXPECT_TRUE(client.comesToHold(directory, {QStringLiteral("new.mp3")})) << directory.toStdString();
    }
    const Outcome outcome = client.program().finish();
    const QByteArray warning = "the limit of watched directories is reached, " + lowestKernelLimit();
    EXPECT_EQ(outcome.errors.count(warning), 1) << outcome.errors.toStdString() << warning.toStdString();
}

TEST_F(Healing, AChangeThatAFullEventQueueLosesIsReported)
{
    tree.addFile(QStringLiteral("noise/0"));
    tree.addFile(QStringLiteral("a/old.mp3"));
    start();
    ASSERT_TRUE(client.open(QStringLiteral("noise")));
    ASSERT_TRUE(client.open(QStringLiteral("a")));
    client.program().stop();
    UnreadEvents events(tree.absolute(QStringLiteral("noise")));
    do {
        for (int i = 0; i < 1000; ++i)
            tree.rename(QStringLiteral("noise/%1").arg(i), QStringLiteral("noise/%1").arg(i + 1));
        tree.rename(QStringLiteral("noise/1000"), QStringLiteral("noise/0"));
    } while (events.haveBecomeMore());
    tree.rename(QStringLiteral("a/old.mp3"), QStringLiteral("a/new.mp3"));
    client.program().signal(SIGCONT);
    EXPECT_TRUE(client.comesToHold(QStringLiteral("a"), {QStringLiteral("new.mp3")}));
}

} // namespace
