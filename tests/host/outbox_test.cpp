#include "http/outbox.h"

#include <gtest/gtest.h>

namespace {

class OutboxTest : public testing::Test
{
protected:
    PendingBudget budget{qint64{1} << 30};
    int wakes = 0;
    Outbox outbox{budget, [this] { ++wakes; }};
    /// The next message, all of its parts.
    [[nodiscard]] std::optional<QByteArray> nextText()
    {
        const std::optional<Message> message = outbox.next();
        return message ? std::optional(message->text()) : std::nullopt;
    }

    const QString key = QStringLiteral("/file/a");
    const QByteArray large = QByteArray((1 << 20) + 1, 'x');
};

TEST_F(OutboxTest, GivesMessagesInTheirOrder)
{
    outbox.send({"1"});
    outbox.send({"2"});
    EXPECT_EQ(nextText(), QByteArray("1"));
    EXPECT_EQ(nextText(), QByteArray("2"));
    EXPECT_EQ(nextText(), std::nullopt);
}

TEST_F(OutboxTest, WakesItsWriterOnceUntilAllIsTaken)
{
    outbox.send({"1"});
    outbox.send({"2"});
    EXPECT_EQ(wakes, 1);
    while (outbox.next()) {
    }
    outbox.send({"3"});
    EXPECT_EQ(wakes, 2);
}

TEST_F(OutboxTest, ReplacesAPendingMessageOfTheSameKey)
{
    outbox.sendLatest(key, "old");
    outbox.send({"between"});
    outbox.sendLatest(key, "new");
    EXPECT_EQ(nextText(), QByteArray("new"));
    EXPECT_EQ(nextText(), QByteArray("between"));
    EXPECT_EQ(nextText(), std::nullopt);
}

TEST_F(OutboxTest, DoesNotReplaceAMessageThatIsBeingWritten)
{
    outbox.sendLatest(key, "old");
    EXPECT_EQ(nextText(), QByteArray("old"));
    outbox.sendLatest(key, "new");
    EXPECT_EQ(nextText(), QByteArray("new"));
}

TEST_F(OutboxTest, ReplacesNothingFromBeforeTheEndOfReplacing)
{
    outbox.sendLatest(key, "old");
    outbox.endReplacing();
    outbox.sendLatest(key, "new");
    EXPECT_EQ(nextText(), QByteArray("old"));
    EXPECT_EQ(nextText(), QByteArray("new"));
}

TEST_F(OutboxTest, IsFullUntilALargeMessageIsWritten)
{
    int rooms = 0;
    outbox.setRoomHandler([&rooms] { ++rooms; });
    outbox.send({large});
    EXPECT_TRUE(outbox.isFull());
    EXPECT_EQ(nextText(), large);
    EXPECT_TRUE(outbox.isFull());
    EXPECT_EQ(rooms, 0);
    EXPECT_EQ(nextText(), std::nullopt);
    EXPECT_FALSE(outbox.isFull());
    EXPECT_EQ(rooms, 1);
}

TEST_F(OutboxTest, WakesItsWriterWhenItBecomesOverfull)
{
    outbox.send({large});
    while (!outbox.isOverfull()) {
        EXPECT_EQ(wakes, 1);
        outbox.send({large});
    }
    EXPECT_EQ(wakes, 2);
    outbox.send({large});
    EXPECT_EQ(wakes, 2);
}

TEST_F(OutboxTest, IsOverfullWhenNobodyReads)
{
    for (int i = 0; i < 80; ++i)
        outbox.send({large});
    EXPECT_TRUE(outbox.isOverfull());
}

TEST(OutboxBudget, ClientAboveItsPartIsOverfullWhenAllHaveTooMuch)
{
    constexpr int size = 1000;
    PendingBudget budget(4 * size);
    const QByteArray message(size, 'x');
    int wakes = 0;
    Outbox greedy(budget, [&wakes] { ++wakes; });
    Outbox modest(budget, [] {});
    for (int i = 0; i < 4; ++i)
        greedy.send({message});
    EXPECT_FALSE(greedy.isOverfull());
    modest.send({message});
    EXPECT_FALSE(modest.isOverfull());
    EXPECT_EQ(wakes, 1);
    greedy.send({message});
    EXPECT_TRUE(greedy.isOverfull());
    EXPECT_EQ(wakes, 2);
}

TEST(OutboxBudget, WhatIsWrittenOrDroppedCountsNoMore)
{
    constexpr int size = 1000;
    PendingBudget budget(size);
    Outbox outbox(budget, [] {});
    for (int i = 0; i < 3; ++i) {
        outbox.send({QByteArray(size, 'x')});
        EXPECT_TRUE(outbox.next());
        EXPECT_FALSE(outbox.next());
        Outbox other(budget, [] {});
        other.send({QByteArray(size / 2, 'x')});
        EXPECT_FALSE(other.isOverfull());
    }
    {
        Outbox closed(budget, [] {});
        closed.send({QByteArray(size, 'x')});
        closed.close();
    }
    outbox.send({QByteArray(size, 'x')});
    EXPECT_FALSE(outbox.isOverfull());
}

TEST_F(OutboxTest, DropsEverythingWhenItIsClosed)
{
    outbox.send({large});
    outbox.close();
    outbox.send({"2"});
    EXPECT_FALSE(outbox.isFull());
    EXPECT_EQ(nextText(), std::nullopt);
    EXPECT_EQ(wakes, 1);
}

} // namespace
