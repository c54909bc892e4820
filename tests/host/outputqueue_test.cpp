#include "stdio/outputqueue.h"

#include "support/gate.h"
#include "support/pipe.h"

#include "printers.h"

#include <QList>
#include <QTemporaryFile>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <future>
#include <memory>

#include <sys/ioctl.h>

namespace {

/// More than a pipe takes, so that the writer is stuck until somebody reads.
const QByteArray blocker(1024 * 1024, 'x');
/// More than the queue takes before it is full.
const QByteArray tooMuch(5 * 1024 * 1024, 'x');

class OutputQueueTest : public testing::Test
{
protected:
    OutputQueueTest() { std::signal(SIGPIPE, SIG_IGN); }
    ~OutputQueueTest() override { m_pipe.closeReadingEnd(); }

    [[nodiscard]] int bytesInThePipe() const
    {
        int bytes = -1;
        ioctl(m_pipe.readingEnd(), FIONREAD, &bytes);
        return bytes;
    }

    Pipe& m_pipe = Pipe::lasting();
    std::promise<int> m_failure;
    OutputQueue m_queue{m_pipe.writingEnd(), [this](int errorNumber) { m_failure.set_value(errorNumber); }};
};

TEST_F(OutputQueueTest, LinesAreWrittenInTheirOrder)
{
    m_queue.send({"one"});
    m_queue.sendLatest(QStringLiteral("key"), "two");
    m_queue.send({"three"});
    EXPECT_EQ(m_pipe.readLines(3), (QList<QByteArray>{"one", "two", "three"}));
    EXPECT_TRUE(m_queue.drain());
}

TEST_F(OutputQueueTest, WhatAPipeTakesIsThereWhenSendReturns)
{
    m_queue.send({"one"});
    m_queue.sendLatest(QStringLiteral("key"), "two");
    EXPECT_EQ(bytesInThePipe(), 8);
}

TEST_F(OutputQueueTest, LinesStayWholeHoweverLittleIsRead)
{
    QList<QByteArray> lines;
    for (const int size : {1, 4095, 4096, 65535, 65536, 1, 200'000, 3}) {
        lines.append(QByteArray(size, static_cast<char>('a' + lines.size())));
        m_queue.send({lines.last()});
    }
    EXPECT_EQ(m_pipe.readLines(lines.size()), lines);
    EXPECT_TRUE(m_queue.drain());
}

TEST(FileOutputQueue, LinesAreWrittenInTheirOrder)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    OutputQueue queue(file.handle(), {});
    queue.send({"one"});
    queue.send({"two"});
    EXPECT_TRUE(queue.drain());
    ASSERT_TRUE(file.seek(0));
    EXPECT_EQ(file.readAll(), "one\ntwo\n");
}

TEST_F(OutputQueueTest, PendingLineIsReplacedWhereItStands)
{
    m_queue.send({blocker});
    m_queue.sendLatest(QStringLiteral("a"), "a1");
    m_queue.sendLatest(QStringLiteral("b"), "b1");
    m_queue.send({"between"});
    m_queue.sendLatest(QStringLiteral("a"), "a2");
    EXPECT_EQ(m_pipe.readLines(4), (QList<QByteArray>{blocker, "a2", "b1", "between"}));
}

TEST_F(OutputQueueTest, LineBeforeTheEndOfReplacingStays)
{
    m_queue.send({blocker});
    m_queue.sendLatest(QStringLiteral("a"), "a1");
    m_queue.endReplacing();
    m_queue.sendLatest(QStringLiteral("a"), "a2");
    m_queue.sendLatest(QStringLiteral("a"), "a3");
    EXPECT_EQ(m_pipe.readLines(3), (QList<QByteArray>{blocker, "a1", "a3"}));
}

TEST_F(OutputQueueTest, LineOfTheWritingThreadIsNotReplacedOnceItIsWritten)
{
    m_queue.send({blocker});
    m_queue.sendLatest(QStringLiteral("a"), "a1");
    EXPECT_EQ(m_pipe.readLines(2), (QList<QByteArray>{blocker, "a1"}));
    EXPECT_TRUE(m_queue.drain());
    m_queue.sendLatest(QStringLiteral("a"), "a2");
    EXPECT_EQ(m_pipe.readLines(1), QList<QByteArray>{"a2"});
}

TEST_F(OutputQueueTest, LineThatIsWrittenInPartIsNotReplaced)
{
    m_queue.sendLatest(QStringLiteral("a"), blocker);
    m_queue.sendLatest(QStringLiteral("a"), "a2");
    EXPECT_EQ(m_pipe.readLines(2), (QList<QByteArray>{blocker, "a2"}));
}

TEST_F(OutputQueueTest, SendingToAPipeThatOthersHaveFilledNeverWaits)
{
    m_pipe.fill();
    m_queue.send({"late"});
    EXPECT_FALSE(m_queue.drain(1));
}

TEST_F(OutputQueueTest, WrittenLineIsNotReplaced)
{
    for (const char* line : {"a1", "a2"}) {
        m_queue.sendLatest(QStringLiteral("a"), line);
        EXPECT_EQ(m_pipe.readLines(1), QList<QByteArray>{line});
    }
}

TEST_F(OutputQueueTest, AnnouncesRoomWhenTheReaderHasRead)
{
    Gate room;
    m_queue.setRoomHandler([&room] { room.open(); });
    EXPECT_FALSE(m_queue.isFull());
    m_queue.send({tooMuch});
    EXPECT_TRUE(m_queue.isFull());
    EXPECT_FALSE(room.isOpen());
    EXPECT_EQ(m_pipe.readLines(1), QList<QByteArray>{tooMuch});
    EXPECT_TRUE(room.wait());
    EXPECT_FALSE(m_queue.isFull());
    m_queue.close();
}

TEST_F(OutputQueueTest, RoomIsAnnouncedOnlyAfterItWasFull)
{
    int announced = 0;
    m_queue.setRoomHandler([&announced] { ++announced; });
    for (int i = 0; i < 3; ++i) {
        m_queue.send({QByteArray(200'000, 'x')});
        EXPECT_EQ(m_pipe.readLines(1).size(), 1);
        EXPECT_TRUE(m_queue.drain());
    }
    m_queue.close();
    EXPECT_EQ(announced, 0);
}

TEST_F(OutputQueueTest, SendingToAFullQueueLosesNothing)
{
    QList<QByteArray> lines;
    for (int i = 0; i < 10; ++i) {
        lines.append(tooMuch + static_cast<char>('0' + i));
        m_queue.send({lines.last()});
    }
    EXPECT_TRUE(m_queue.isFull()) << "nobody has read";
    EXPECT_EQ(m_pipe.readLines(lines.size()), lines);
}

TEST_F(OutputQueueTest, DrainingGivesUpAfterItsTime)
{
    m_queue.send({blocker});
    EXPECT_FALSE(m_queue.drain(1));
}

TEST_F(OutputQueueTest, CloseEndsDraining)
{
    m_queue.send({tooMuch});
    auto drained = std::async(std::launch::async, [this] { return m_queue.drain(); });
    m_queue.close();
    EXPECT_FALSE(drained.get());
    EXPECT_FALSE(m_queue.isFull()) << "what was pending is dropped";
}

TEST_F(OutputQueueTest, ClosedQueueTakesNothingMore)
{
    m_queue.close();
    m_queue.send({"lost"});
    EXPECT_EQ(bytesInThePipe(), 0);
}

TEST_F(OutputQueueTest, ReaderThatGoesIsToldOfOnce)
{
    m_pipe.closeReadingEnd();
    m_queue.send({"lost"});
    EXPECT_EQ(m_failure.get_future().get(), EPIPE);
    m_queue.send({"lost too"});
    EXPECT_FALSE(m_queue.drain());
}

TEST_F(OutputQueueTest, DestructionDoesNotWaitForTheReader)
{
    auto stuck = std::make_unique<OutputQueue>(m_pipe.writingEnd(), nullptr);
    stuck->send({blocker});
    stuck->send({blocker});
    auto destroyed = std::async(std::launch::async, [&stuck] { stuck.reset(); });
    EXPECT_EQ(destroyed.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    // Releases a destructor that waits.
    m_pipe.closeReadingEnd();
}

} // namespace
