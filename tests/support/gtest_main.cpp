#include <QCoreApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

/// The folder for all temporary files of the program. Its death tests are new processes that share it and remove
/// nothing.
std::unique_ptr<QTemporaryDir> makeTemporaryFolder()
{
    constexpr const char* made = "TAVO_TESTS_HAVE_FOLDER";
    if (qEnvironmentVariableIsSet(made))
        return nullptr;
    auto folder = std::make_unique<QTemporaryDir>();
    qputenv("TMPDIR", folder->path().toLocal8Bit());
    qputenv(made, "1");
    return folder;
}

} // namespace

int main(int argc, char** argv)
{
    // Death tests start a new process, so the threads of the parent do no harm.
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    testing::InitGoogleTest(&argc, argv);
    // File names are UTF-8, in whatever environment the tests run; listings are in the order of the C locale.
    qputenv("LC_ALL", "C.UTF-8");
    const QCoreApplication application(argc, argv);
    const auto folder = makeTemporaryFolder();
    return RUN_ALL_TESTS();
}
