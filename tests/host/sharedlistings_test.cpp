#include "rpc/sharedlistings.h"

#include "content/failures.h"

#include "support/gate.h"

#include "printers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;
using testing::UnorderedElementsAre;

using Range = SharedListings::Range;

constexpr Range head{0, 1};

/// A directory of 100 entries, each of whose rows is its index. The version is the number of the listing; the first one
/// waits at a gate.
class SharedListingsTest : public testing::Test
{
protected:
    ~SharedListingsTest() override { finish(); }

    [[nodiscard]] Result<Content::Page> list(const Range& range)
    {
        {
            const std::lock_guard lock(mutex);
            listed.push_back(std::to_string(range.first) + "-" + std::to_string(range.last));
        }
        const int number = ++listings;
        if (number == 1) {
            begun.open();
            EXPECT_TRUE(mayEnd.wait());
        }
        Content::Page page;
        page.count = 100;
        page.version = number;
        for (qint64 row = range.first; row <= std::min(range.last, qint64{99}); ++row)
            page.rows.append(row);
        return page;
    }

    /// The version, and the rows.
    [[nodiscard]] static Result<QByteArray> write(const Content::Page& page)
    {
        QByteArray text = QByteArray::number(page.version.value_or(0)) + ':';
        for (const QVariant& row : page.rows)
            text += ' ' + row.toByteArray();
        return text;
    }

    [[nodiscard]] SharedListings::Request request(const QByteArray& key, const Range& range = head)
    {
        return {key, range, mostRows, entriesPerRow, [this](const Range& wider) { return list(wider); }, write};
    }

    [[nodiscard]] SharedListings::Receive receiver()
    {
        return [this](const Result<QByteArray>& answer) {
            const std::lock_guard lock(mutex);
            answers.push_back(answer ? answer.value() : "failed");
        };
    }

    void run(const QByteArray& key, const Range& range = head) { requests.run(request(key, range), receiver()); }

    /// Begins the first listing in a thread of its own.
    void begin(const QByteArray& key, const Range& range = head)
    {
        threads.emplace_back([this, key, range] { run(key, range); });
        EXPECT_TRUE(begun.wait());
    }

    void finish()
    {
        mayEnd.open();
        for (std::thread& thread : threads)
            thread.join();
        threads.clear();
    }

    SharedListings requests;
    qint64 mostRows = 50;
    int entriesPerRow = 10;
    Gate begun;
    Gate mayEnd;
    std::atomic<int> listings = 0;
    std::mutex mutex;
    std::vector<std::string> listed;
    std::vector<QByteArray> answers;
    std::vector<std::thread> threads;
};

TEST_F(SharedListingsTest, ThoseThatArriveDuringAListingShareTheNext)
{
    begin("key");
    for (int i = 0; i < 3; ++i)
        run("key");
    EXPECT_EQ(listings, 1) << "joining does not list, and does not wait";
    finish();
    EXPECT_EQ(listings, 2);
    EXPECT_EQ(requests.listings(), 2);
    EXPECT_THAT(answers, ElementsAre("1: 0 1", "2: 0 1", "2: 0 1", "2: 0 1"));
}

TEST_F(SharedListingsTest, ManyClientsCostFewListings)
{
    begin("key");
    std::vector<std::thread> clients;
    for (int i = 1; i < 64; ++i)
        clients.emplace_back([this, i] { run("key", {i, i + 9}); });
    for (std::thread& client : clients)
        client.join();
    finish();
    EXPECT_EQ(answers.size(), 64U);
    EXPECT_LE(listings, 3);
}

TEST_F(SharedListingsTest, EachGetsItsPageOfASharedListing)
{
    begin("key");
    run("key", {8, 9});
    run("key", {2, 4});
    run("key", {4, 5});
    run("key", {3, 2});
    finish();
    EXPECT_THAT(listed, ElementsAre("0-1", "2-9"));
    EXPECT_THAT(answers, UnorderedElementsAre("1: 0 1", "2: 8 9", "2: 2 3 4", "2: 4 5", "2:"));
}

TEST_F(SharedListingsTest, PagesBehindTheLastEntryAreShort)
{
    begin("key");
    run("key", {98, 105});
    run("key", {100, 120});
    run("key", {104, 106});
    run("key", {99, 99});
    finish();
    EXPECT_EQ(listings, 2);
    EXPECT_THAT(answers, UnorderedElementsAre("1: 0 1", "2: 98 99", "2:", "2:", "2: 99"));
}

TEST_F(SharedListingsTest, PagesFarApartAreListedOneByOne)
{
    begin("key");
    run("key", {31, 32});
    run("key", {0, 1});
    run("key", {12, 13});
    run("key", {25, 26});
    finish();
    EXPECT_THAT(listed, ElementsAre("0-1", "0-13", "25-32"))
        << "of 100 entries, 10 of which take as long as a row, 10 rows that nobody wants are worth a listing";
}

TEST_F(SharedListingsTest, NoListingHasMoreRowsThanARequestMay)
{
    begin("key");
    run("key", {0, 29});
    run("key", {20, 49});
    run("key", {21, 50});
    finish();
    EXPECT_THAT(listed, ElementsAre("0-1", "0-49", "21-50"));
}

TEST_F(SharedListingsTest, EmptyPagesNeedAListingToo)
{
    begin("key", {0, -1});
    run("key", {0, -1});
    run("key", {90, -1});
    finish();
    EXPECT_EQ(listings, 2);
    EXPECT_THAT(answers, ElementsAre("1:", "2:", "2:"));
}

TEST_F(SharedListingsTest, OnlyARequestThatIsBeingComputedCanBeJoined)
{
    EXPECT_FALSE(requests.isComputing("key"));
    EXPECT_FALSE(requests.join(request("key"), receiver()));
    begin("key");
    EXPECT_TRUE(requests.isComputing("key"));
    EXPECT_FALSE(requests.isComputing("other"));
    EXPECT_TRUE(requests.join(request("key", {7, 7}), receiver()));
    finish();
    EXPECT_THAT(answers, ElementsAre("1: 0 1", "2: 7"));
    EXPECT_FALSE(requests.join(request("key"), receiver()));
}

TEST_F(SharedListingsTest, DifferentKeysDoNotWaitForEachOther)
{
    begin("one");
    run("two");
    EXPECT_THAT(answers, ElementsAre("2: 0 1"));
    finish();
    EXPECT_THAT(answers, ElementsAre("2: 0 1", "1: 0 1"));
}

TEST_F(SharedListingsTest, NoneGetsAnAnswerFromBeforeItsQuestion)
{
    mayEnd.open();
    for (int i = 0; i < 3; ++i)
        run("key");
    EXPECT_THAT(answers, ElementsAre("1: 0 1", "2: 0 1", "3: 0 1"));
}

TEST_F(SharedListingsTest, FailuresAreSharedToo)
{
    SharedListings::Request failing = request("key");
    failing.list = [&](const Range&) -> Result<Content::Page> {
        if (++listings == 1)
            run("key", {1, 1});
        return Failures::busy();
    };
    requests.run(failing, receiver());
    EXPECT_EQ(listings, 2);
    EXPECT_THAT(answers, ElementsAre("failed", "failed"));
}

TEST_F(SharedListingsTest, APageThatCannotBeWrittenFailsAlone)
{
    SharedListings::Request writing = request("key");
    writing.write = [](const Content::Page& page) -> Result<QByteArray> {
        if (page.rows.size() > 2)
            throw std::bad_alloc();
        return write(page);
    };
    mayEnd.open();
    writing.list = [&](const Range& range) {
        if (listings == 0) {
            run("key", {0, 2});
            run("key", {1, 1});
        }
        return list(range);
    };
    requests.run(writing, receiver());
    EXPECT_THAT(answers, ElementsAre("1: 0 1", "failed", "2: 1"));
}

TEST_F(SharedListingsTest, EndsWhenItsListingThrows)
{
    SharedListings::Request throwing = request("key");
    throwing.list = [&](const Range&) -> Result<Content::Page> {
        if (++listings == 1)
            run("key");
        throw std::bad_alloc();
    };
    requests.run(throwing, receiver());
    EXPECT_THAT(answers, AllOf(SizeIs(2), Each("failed")));
    EXPECT_FALSE(requests.isComputing("key"));
}

TEST_F(SharedListingsTest, AnswersTheOthersWhenAReceiverThrows)
{
    begin("key");
    requests.run(request("key"), [](const Result<QByteArray>&) { throw std::bad_alloc(); });
    run("key");
    finish();
    EXPECT_THAT(answers, ElementsAre("1: 0 1", "2: 0 1"));
    EXPECT_FALSE(requests.isComputing("key"));
}

TEST_F(SharedListingsTest, OneThatArrivesDuringASharedAnswerWaitsForTheOneAfterIt)
{
    begin("key");
    requests.run(request("key"), [this](const Result<QByteArray>&) { run("key"); });
    finish();
    EXPECT_EQ(listings, 3);
    EXPECT_THAT(answers, ElementsAre("1: 0 1", "3: 0 1"));
}

TEST_F(SharedListingsTest, AReceiverEndsWithItsAnswer)
{
    begin("key");
    const auto slot = std::make_shared<int>();
    std::weak_ptr<int> weak = slot;
    requests.run(request("key", {0, 0}), [slot](const Result<QByteArray>&) {});
    bool isHeld = true;
    requests.run(request("key", {40, 40}), [&](const Result<QByteArray>&) { isHeld = weak.use_count() > 1; });
    finish();
    EXPECT_FALSE(isHeld) << "others wait for their part of the same batch";
}

} // namespace
