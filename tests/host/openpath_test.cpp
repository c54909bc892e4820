#include "process/openpath.h"

#include "support/temporarytree.h"

#include <QFile>

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <thread>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace {

class OpenPath : public testing::Test
{
protected:
    OpenPath()
    {
        tree.addFile(QStringLiteral("root/a/b/file"));
        tree.addFile(QStringLiteral("abroad/file"));
        link("a/b", "root/inner");
        link("a/b/file", "root/link");
        link("../abroad", "root/out");
        root = FileDescriptor(open(tree.absolute(QStringLiteral("root")).toUtf8(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }

    void link(const char* target, const char* name) const
    {
        ASSERT_TRUE(QFile::link(QString::fromUtf8(target), tree.absolute(QString::fromUtf8(name))));
    }

    /// Whether a file or directory is found.
    [[nodiscard]] bool finds(const char* path, Links links) const
    {
        const FileDescriptor found = openPath(root.get(), path, links);
        struct stat status = {};
        return found.isOpen() && fstat(found.get(), &status) == 0 && !S_ISLNK(status.st_mode);
    }

    [[nodiscard]] bool isCached(const char* path) const
    {
        return openCachedPath(QFile::encodeName(tree.absolute(QString::fromUtf8(path)))).isOpen();
    }

    TemporaryTree tree;
    FileDescriptor root;
};

TEST_F(OpenPath, FindsFilesAndDirectories)
{
    for (const Links links : {Links::Refused, Links::Below, Links::Followed}) {
        for (const char* path : {".", "a", "a/b", "a/b/file"})
            EXPECT_TRUE(finds(path, links)) << path;
        EXPECT_FALSE(finds("missing", links));
        EXPECT_FALSE(finds("a/b/file/x", links));
    }
}

TEST_F(OpenPath, FollowsLinksAsFarAsItMay)
{
    for (const char* path : {"inner/file", "link"}) {
        EXPECT_FALSE(finds(path, Links::Refused)) << path;
        EXPECT_TRUE(finds(path, Links::Below)) << path;
        EXPECT_TRUE(finds(path, Links::Followed)) << path;
    }
    EXPECT_FALSE(finds("out/file", Links::Below));
    EXPECT_TRUE(finds("out/file", Links::Followed));
    EXPECT_FALSE(finds("../abroad/file", Links::Below));
}

TEST_F(OpenPath, FindsWhatTheKernelHasInMemory)
{
    EXPECT_TRUE(finds("a/b/file", Links::Refused));
    EXPECT_TRUE(isCached("root/a/b/file"));
    EXPECT_FALSE(isCached("root/missing"));
    EXPECT_FALSE(isCached("root/link"));
    EXPECT_FALSE(isCached("root/inner/file"));
}

/// Runs the function in a thread where openat2() fails with the error, as in a sandbox.
template<typename Function>
void runWithoutOpenat2(int error, const Function& function)
{
    std::thread([&] {
        std::array<sock_filter, 4> filter = {
            {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
             BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
             BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned int>(error)),
             BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)}};
        const sock_fprog program = {filter.size(), filter.data()};
        ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
        ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
        function();
    }).join();
}

TEST_F(OpenPath, RefusesAllLinksWhereTheKernelDoesNotCheckThem)
{
    for (const int error : {ENOSYS, EPERM}) {
        runWithoutOpenat2(error, [this] {
            for (const Links links : {Links::Refused, Links::Below, Links::Followed}) {
                for (const char* path : {".", "a", "a/b", "a/b/file"})
                    EXPECT_TRUE(finds(path, links)) << path;
                for (const char* path :
                     {"inner/file", "link", "out/file", "missing", "../abroad/file", "a/../a/b/file"})
                    EXPECT_FALSE(finds(path, links)) << path;
            }
        });
    }
}

TEST_F(OpenPath, FindsNothingWithoutWaitingWhereTheKernelCannotDoIt)
{
    EXPECT_TRUE(finds("a/b/file", Links::Refused));
    for (const int error : {ENOSYS, EPERM, EINVAL})
        runWithoutOpenat2(error, [this] { EXPECT_FALSE(isCached("root/a/b/file")); });
}

} // namespace
