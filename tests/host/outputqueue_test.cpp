#include "stdio/outputqueue.h"

#include "support/pipe.h"

#include "printers.h"

#include <QList>
#include <QTemporaryFile>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <future>

#include <sys/ioctl.h>

namespace {

/// More than a pipe takes, so that the writer is stuck until somebody reads.
const QByteArray blocker(1024 * 1024, 'x');
/// More than the queue lets be pending without making its users wait.
const QByteArray tooMuch(5 * 1024 * 1024, 'x');

class OutputQueueTest : public testing::Test
{
protected:
    OutputQueueTest() { std::signal(SIGPIPE, SIG_IGN); }

    Pipe m_pipe;
    std::promise<int> m_failure;
    OutputQueue m_queue{m_pipe.writingEnd(), [this](int errorNumber) { m_failure.set_value(errorNumber); }};
};

TEST_F(OutputQueueTest, LinesAreWrittenInTheirOrder)
{
    m_queue.push("one");
    m_queue.pushLatest(QStringLiteral("key"), "two");
    m_queue.push("three");
    EXPECT_EQ(m_pipe.readLines(3), (QList<QByteArray>{"one", "two", "three"}));
    EXPECT_TRUE(m_queue.drain());
}

TEST_F(OutputQueueTest, WhatAPipeTakesIsThereWhenPushReturns)
{
    m_queue.push("one");
    m_queue.pushLatest(QStringLiteral("key"), "two");
    int bytes = 0;
    ASSERT_EQ(ioctl(m_pipe.readingEnd(), FIONREAD, &bytes), 0);
    EXPECT_EQ(bytes, 8);
}

TEST_F(OutputQueueTest, LinesStayWholeHoweverLittleIsRead)
{
    QList<QByteArray> lines;
    for (const int size : {1, 4095, 4096, 65535, 65536, 1, 200'000, 3}) {
        lines.append(QByteArray(size, static_cast<char>('a' + lines.size())));
        m_queue.push(lines.last());
    }
    EXPECT_EQ(m_pipe.readLines(lines.size()), lines);
    EXPECT_TRUE(m_queue.drain());
}

TEST(FileOutputQueue, LinesAreWrittenInTheirOrder)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    OutputQueue queue(file.handle(), {});
    queue.push("one");
    queue.push("two");
    EXPECT_TRUE(queue.drain());
    ASSERT_TRUE(file.seek(0));
    EXPECT_EQ(file.readAll(), "one\ntwo\n");
}

TEST_F(OutputQueueTest, PendingLineIsReplacedWhereItStands)
{
    m_queue.push(blocker);
    m_queue.pushLatest(QStringLiteral("a"), "a1");
    m_queue.pushLatest(QStringLiteral("b"), "b1");
    m_queue.push("between");
    m_queue.pushLatest(QStringLiteral("a"), "a2");
    EXPECT_EQ(m_pipe.readLines(4), (QList<QByteArray>{blocker, "a2", "b1", "between"}));
}

TEST_F(OutputQueueTest, LineBeforeTheEndOfReplacingStays)
{
    m_queue.push(blocker);
    m_queue.pushLatest(QStringLiteral("a"), "a1");
    m_queue.endLatest();
    m_queue.pushLatest(QStringLiteral("a"), "a2");
    m_queue.pushLatest(QStringLiteral("a"), "a3");
    EXPECT_EQ(m_pipe.readLines(3), (QList<QByteArray>{blocker, "a1", "a3"}));
}

TEST_F(OutputQueueTest, LineOfTheWritingThreadIsNotReplacedOnceItIsWritten)
{
    m_queue.push(blocker);
    m_queue.pushLatest(QStringLiteral("a"), "a1");
    EXPECT_EQ(m_pipe.readLines(2), (QList<QByteArray>{blocker, "a1"}));
    EXPECT_TRUE(m_queue.drain());
    m_queue.pushLatest(QStringLiteral("a"), "a2");
    EXPECT_EQ(m_pipe.readLines(1), QList<QByteArray>{"a2"});
}

TEST_F(OutputQueueTest, LineThatIsWrittenInPartIsNotReplaced)
{
    m_queue.pushLatest(QStringLiteral("a"), blocker);
    m_queue.pushLatest(QStringLiteral("a"), "a2");
    EXPECT_EQ(m_pipe.readLines(2), (QList<QByteArray>{blocker, "a2"}));
}

TEST_F(OutputQueueTest, PushingToAPipeThatOthersHaveFilledNeverWaits)
{
    m_pipe.fill();
    m_queue.push("late");
    EXPECT_FALSE(m_queue.drain(1));
}

TEST_F(OutputQueueTest, WrittenLineIsNotReplaced)
{
    for (const char* line : {"a1", "a2"}) {
        m_queue.pushLatest(QStringLiteral("a"), line);
        EXPECT_EQ(m_pipe.readLines(1), QList<QByteArray>{line});
    }
}

TEST_F(OutputQueueTest, WhoAsksForRoomWaitsUntilTheReaderHasRead)
{
    EXPECT_TRUE(m_queue.hasRoom());
    m_queue.push(tooMuch);
    EXPECT_FALSE(m_queue.hasRoom());
    auto waiting = std::async(std::launch::async, [this] { m_queue.waitForRoom(); });
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(m_pipe.readLines(1), QList<QByteArray>{tooMuch});
    waiting.get();
}

TEST_F(OutputQueueTest, PushingNeverWaits)
{
    for (int i = 0; i < 10; ++i)
        m_queue.push(tooMuch);
    SUCCEED() << "nobody has read";
}

TEST_F(OutputQueueTest, DrainingGivesUpAfterItsTime)
{
    m_queue.push(blocker);
    EXPECT_FALSE(m_queue.drain(1));
}

TEST_F(OutputQueueTest, NobodyWaitsForRoomAfterLetGo)
{
    m_queue.push(tooMuch);
    auto waiting = std::async(std::launch::async, [this] { m_queue.waitForRoom(); });
    m_queue.letGo();
    waiting.get();
    m_queue.waitForRoom();
    EXPECT_EQ(m_pipe.readLines(1), QList<QByteArray>{tooMuch}) << "what is pending stays";
}

TEST_F(OutputQueueTest, CloseLetsGoWhoWaits)
{
    m_queue.push(tooMuch);
    auto room = std::async(std::launch::async, [this] { m_queue.waitForRoom(); });
    auto drained = std::async(std::launch::async, [this] { return m_queue.drain(); });
    m_queue.close();
    room.get();
    EXPECT_FALSE(drained.get());
}

TEST_F(OutputQueueTest, ReaderThatGoesIsToldOfOnce)
{
    m_pipe.closeReadingEnd();
    m_queue.push("lost");
    EXPECT_EQ(m_failure.get_future().get(), EPIPE);
    m_queue.push("lost too");
    EXPECT_FALSE(m_queue.drain());
}

TEST_F(OutputQueueTest, DestructionDoesNotWaitForTheReader)
{
    OutputQueue stuck(m_pipe.writingEnd(), {});
    stuck.push(blocker);
    stuck.push(blocker);
    SUCCEED() << "nobody has read";
}

} // namespace
