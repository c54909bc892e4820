#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    // Death tests start the program anew, so that the threads of the parent do no harm.
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    testing::InitGoogleTest(&argc, argv);
    // File names are UTF-8, in whatever environment the tests run; listings are in the order of the C locale.
    qputenv("LC_ALL", "C.UTF-8");
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
