#include "http/wrongtokens.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::chrono_literals;

const IpAddress here = *IpAddress::fromText("192.168.1.5");
const IpAddress there = *IpAddress::fromText("192.168.1.6");

class WrongTokensTest : public testing::Test
{
protected:
    void countTimes(int times, const IpAddress& address)
    {
        for (int i = 0; i < times; ++i)
            EXPECT_TRUE(tokens.count(address, now)) << i;
    }

    WrongTokens tokens;
    WrongTokens::Time now{1000s};
};

TEST_F(WrongTokensTest, FiveAMinuteAreNotTooMany)
{
    countTimes(5, here);
    EXPECT_FALSE(tokens.count(here, now));
    EXPECT_FALSE(tokens.count(here, now + 59s));
}

TEST_F(WrongTokensTest, AddressesAreCountedEachForItself)
{
    countTimes(5, here);
    countTimes(5, there);
    EXPECT_FALSE(tokens.count(here, now));
}

TEST_F(WrongTokensTest, EachIsForgottenAfterAMinute)
{
    countTimes(3, here);
    now += 30s;
    countTimes(2, here);
    now += 30s;
    countTimes(3, here);
    EXPECT_FALSE(tokens.count(here, now));
}

TEST_F(WrongTokensTest, RefusedOnesDoNotCount)
{
    countTimes(5, here);
    EXPECT_FALSE(tokens.count(here, now + 59s));
    now += 60s;
    countTimes(5, here);
}

TEST_F(WrongTokensTest, ManyAddressesPushTheOldestOut)
{
    countTimes(5, here);
    for (int i = 0; i < 10'000; ++i)
        countTimes(1, *IpAddress::fromText("10.0." + std::to_string(i / 250) + '.' + std::to_string(i % 250)));
    countTimes(5, here);
}

} // namespace
