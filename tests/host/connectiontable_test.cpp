#include "http/connectiontable.h"
#include "http/metrics.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class ConnectionTableTest : public testing::Test
{
protected:
    /// How many of `count` more connections from the address are admitted.
    int admitted(const char* address, int count)
    {
        int number = 0;
        for (int i = 0; i < count; ++i) {
            if (ConnectionTable::Place place = table.admit(*IpAddress::fromText(address))) {
                places.push_back(std::move(place));
                ++number;
            }
        }
        return number;
    }

    Metrics metrics;
    ConnectionTable table{metrics};
    std::vector<ConnectionTable::Place> places;
};

/// Notes what is asked of it.
class NotingConnection : public ServedConnection
{
public:
    NotingConnection(ConnectionTable& table, std::vector<std::string>& notes) : ServedConnection(table), m_notes(notes)
    {
    }

    void finish() override { m_notes.emplace_back("finish"); }
    void abort() override { m_notes.emplace_back("abort"); }
    void checkAccess() override { m_notes.emplace_back("check"); }

private:
    std::vector<std::string>& m_notes;
};

TEST_F(ConnectionTableTest, HasRoomForManyOfThisMachine)
{
    EXPECT_EQ(admitted("127.0.0.1", 2000), 1024);
}

TEST_F(ConnectionTableTest, HasRoomForFewOfOneSite)
{
    EXPECT_EQ(admitted("192.168.1.2", 100), 64);
    EXPECT_EQ(admitted("192.168.1.3", 100), 64);
    EXPECT_EQ(admitted("2001:db8::1", 100), 64);
    EXPECT_EQ(admitted("2001:db8::2", 100), 0);
}

TEST_F(ConnectionTableTest, GivesPlacesAgain)
{
    EXPECT_EQ(admitted("192.168.1.2", 64), 64);
    places.pop_back();
    EXPECT_EQ(admitted("192.168.1.2", 2), 1);
}

TEST_F(ConnectionTableTest, ReachesItsConnections)
{
    std::vector<std::string> notes;
    const auto connection = std::make_shared<NotingConnection>(table, notes);
    table.checkAccess();
    table.finishAll([] {});
    table.abortAll();
    EXPECT_EQ(notes, (std::vector<std::string>{"check", "finish", "abort"}));
}

TEST_F(ConnectionTableTest, SaysWhenTheLastConnectionHasEnded)
{
    std::vector<std::string> notes;
    int emptied = 0;
    auto connection = std::make_shared<NotingConnection>(table, notes);
    table.finishAll([&emptied] { ++emptied; });
    EXPECT_EQ(emptied, 0);
    connection.reset();
    EXPECT_EQ(emptied, 1);
}

} // namespace
