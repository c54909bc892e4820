#include "process/queuedlog.h"

#include "support/gate.h"

#include "keptlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

constexpr std::chrono::minutes patience(1);

class QueuedLogTest : public testing::Test
{
protected:
    void write(int line) { log.logger().log(log4cplus::INFO_LOG_LEVEL, std::to_string(line)); }

    [[nodiscard]] std::vector<std::string> messages() const
    {
        std::vector<std::string> texts;
        for (const KeptLog::Line& line : log.lines())
            texts.push_back(line.message);
        return texts;
    }

    KeptLog log{"queuedlog_test", log4cplus::INFO_LOG_LEVEL};
};

TEST_F(QueuedLogTest, WritesAllLinesInTheirOrder)
{
    std::optional<QueuedLog> queued(std::in_place);
    write(1);
    write(2);
    EXPECT_TRUE(queued->isWrittenWithin(patience));
    EXPECT_THAT(messages(), testing::ElementsAre("1", "2"));
    write(3);
    queued.reset();
    EXPECT_THAT(messages(), testing::ElementsAre("1", "2", "3"));
    write(4);
    EXPECT_EQ(messages().back(), "4");
}

TEST_F(QueuedLogTest, DropsAndCountsLinesThatALogDoesNotTake)
{
    Gate hangs;
    Gate mayGoOn;
    log.setObserver([&](const KeptLog::Line&) {
        hangs.open();
        EXPECT_TRUE(mayGoOn.wait());
    });
    QueuedLog queued;
    write(0);
    ASSERT_TRUE(hangs.wait());
    constexpr int waiting = 1000;
    constexpr int dropped = 7;
    for (int line = 1; line <= waiting + dropped; ++line)
        write(line);
    EXPECT_FALSE(queued.isWrittenWithin(std::chrono::milliseconds(1)));
    mayGoOn.open();
    ASSERT_TRUE(queued.isWrittenWithin(patience));
    EXPECT_EQ(messages().size(), 1 + waiting);
    write(-1);
    ASSERT_TRUE(queued.isWrittenWithin(patience));
    ASSERT_EQ(messages().size(), 1 + waiting + 2);
    EXPECT_EQ(messages().at(1 + waiting), "lines dropped because the log took no more: 7");
    EXPECT_EQ(messages().back(), "-1");
}

} // namespace
