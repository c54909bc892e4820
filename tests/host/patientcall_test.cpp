#include "exec/patientcall.h"

#include "support/gate.h"

#include "eventloop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

namespace {

constexpr std::chrono::seconds longTime{20};
constexpr std::chrono::milliseconds shortTime{1};

TEST(PatientCall, RunsFunctionsInThreadsOfTheirOwn)
{
    PatientCall<std::thread::id> call;
    const auto ranIn = call.call([] { return std::this_thread::get_id(); }, longTime);
    ASSERT_TRUE(ranIn);
    EXPECT_NE(*ranIn, std::this_thread::get_id());
}

TEST(PatientCall, PassesExceptionsOn)
{
    PatientCall<int> call;
    EXPECT_THROW(static_cast<void>(call.call([]() -> int { throw std::bad_alloc(); }, longTime)), std::bad_alloc);
    EXPECT_EQ(call.call([] { return 1; }, longTime), 1);
}

TEST(PatientCall, WaitsForNoFunctionThatHangs)
{
    const auto gate = std::make_shared<Gate>();
    PatientCall<int> call;
    EXPECT_EQ(call.call([gate] { return gate->wait() ? 1 : 0; }, shortTime), std::nullopt);
    // Does not even begin.
    EXPECT_EQ(call.call([] { return 2; }, longTime), std::nullopt);
    gate->open();
    EXPECT_TRUE(processEventsUntil([&call] { return call.call([] { return 3; }, longTime) == 3; }));
}

TEST(PatientCall, EndsWhileAFunctionHangs)
{
    const auto gate = std::make_shared<Gate>();
    const auto ended = std::make_shared<std::atomic<bool>>(false);
    {
        PatientCall<int> call;
        EXPECT_EQ(call.call([gate, ended] { return *ended = gate->wait(); }, shortTime), std::nullopt);
    }
    EXPECT_FALSE(*ended);
    gate->open();
    EXPECT_TRUE(processEventsUntil([&ended] { return ended->load(); }));
}

} // namespace
