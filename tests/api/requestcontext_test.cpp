#include "model/cmrequestcontext.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

/// Runs `work` on another thread and waits for it.
template<typename Work>
void onAnotherThread(Work work)
{
    std::thread(work).join();
}

template<typename Work>
void onThreads(int count, Work work)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
}

TEST(RequestContext, MayContinueAtFirst)
{
    const CMRequestContext context;
    EXPECT_FALSE(context.isCancelled());
    EXPECT_FALSE(context.isExhausted());
    EXPECT_TRUE(context.mayContinue());
}

TEST(RequestContext, CancelEndsIt)
{
    CMRequestContext context;
    context.cancel();
    EXPECT_TRUE(context.isCancelled());
    EXPECT_FALSE(context.isExhausted());
    EXPECT_FALSE(context.mayContinue());
}

TEST(RequestContext, CancelFromAnotherThreadEndsIt)
{
    CMRequestContext context;
    onAnotherThread([&context] { context.cancel(); });
    EXPECT_TRUE(context.isCancelled());
}

TEST(RequestContext, CancelTwiceIsAsOnce)
{
    CMRequestContext context;
    context.cancel();
    context.cancel();
    EXPECT_TRUE(context.isCancelled());
}

TEST(RequestContext, AllBytesCanBeTaken)
{
    CMRequestContext context(10);
    EXPECT_TRUE(context.take(4));
    EXPECT_TRUE(context.take(6));
    EXPECT_TRUE(context.mayContinue());
}

TEST(RequestContext, OneByteTooManyExhaustsIt)
{
    CMRequestContext context(10);
    EXPECT_FALSE(context.take(11));
    EXPECT_TRUE(context.isExhausted());
    EXPECT_FALSE(context.isCancelled());
    EXPECT_FALSE(context.mayContinue());
}

TEST(RequestContext, NothingIsLeftOnceExhausted)
{
    CMRequestContext context(10);
    EXPECT_FALSE(context.take(11));
    EXPECT_FALSE(context.take(1));
    EXPECT_FALSE(context.take(0));
}

TEST(RequestContext, NoBytesCanBeTakenFromNone)
{
    CMRequestContext context(0);
    EXPECT_TRUE(context.take(0));
    EXPECT_FALSE(context.isExhausted());
    EXPECT_FALSE(context.take(1));
    EXPECT_TRUE(context.isExhausted());
}

TEST(RequestContext, UnlimitedTakesTheLargestNumber)
{
    CMRequestContext context;
    EXPECT_TRUE(context.take(CMRequestContext::unlimited));
}

TEST(RequestContext, ThreadsTakeEachByteOnce)
{
    constexpr int bytes = 10'000;
    CMRequestContext context(bytes);
    std::atomic<int> taken{0};
    onThreads(4, [&] {
        while (context.take(1))
            ++taken;
    });
    EXPECT_EQ(taken, bytes);
    EXPECT_TRUE(context.isExhausted());
}

TEST(RequestContextDeath, NegativeBytesCannotBeTaken)
{
    CMRequestContext context;
    EXPECT_DEATH(static_cast<void>(context.take(-1)), "bytes >= 0");
}

TEST(RequestContextScope, NoneIsCurrentAtFirst)
{
    EXPECT_EQ(CMRequestContext::current(), nullptr);
}

TEST(RequestContextScope, MakesItsContextCurrent)
{
    CMRequestContext context;
    {
        const CMRequestContext::Scope scope(context);
        EXPECT_EQ(CMRequestContext::current(), &context);
    }
    EXPECT_EQ(CMRequestContext::current(), nullptr);
}

TEST(RequestContextScope, EndRestoresTheOuterContext)
{
    CMRequestContext outer;
    CMRequestContext inner;
    const CMRequestContext::Scope outerScope(outer);
    {
        const CMRequestContext::Scope innerScope(inner);
        EXPECT_EQ(CMRequestContext::current(), &inner);
    }
    EXPECT_EQ(CMRequestContext::current(), &outer);
}

TEST(RequestContextScope, IsItsThreadsAlone)
{
    CMRequestContext context;
    const CMRequestContext::Scope scope(context);
    onAnotherThread([] { EXPECT_EQ(CMRequestContext::current(), nullptr); });
}

TEST(RequestContextScope, ThreadsShareAContext)
{
    CMRequestContext context;
    const CMRequestContext::Scope scope(context);
    onThreads(2, [&context] {
        const CMRequestContext::Scope ofThread(context);
        CMRequestContext::current()->cancel();
    });
    EXPECT_TRUE(CMRequestContext::current()->isCancelled());
}

} // namespace
