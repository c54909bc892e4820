#include "cost.h"

#include <QFile>

#include <gtest/gtest.h>

#include <ctime>

#include <malloc.h>

namespace {

/// A line of the process's status, in kB.
long statusLine(const char* name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    EXPECT_TRUE(status.open(QIODevice::ReadOnly));
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(name))
            return line.mid(static_cast<int>(qstrlen(name))).simplified().split(' ').first().toLong();
    }
    ADD_FAILURE() << name;
    return 0;
}

void forgetPeak()
{
    malloc_trim(0);
    QFile references(QStringLiteral("/proc/self/clear_refs"));
    ASSERT_TRUE(references.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    ASSERT_EQ(references.write("5"), 1);
}

} // namespace

Cost costOf(const std::function<void()>& work)
{
    forgetPeak();
    const long before = statusLine("VmRSS:");
    const std::clock_t start = std::clock();
    work();
    return {static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, (statusLine("VmHWM:") - before) / 1024};
}
