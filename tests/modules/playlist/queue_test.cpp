#include "queue.h"
#include "support/queueitems.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <vector>

namespace {

using Ids = std::vector<EntryId>;
using testing::ElementsAre;

std::string errorOf(const QueueEdit& edit)
{
    return edit.error.name().toStdString();
}

Ids idsOf(const std::vector<QueuePlace>& places)
{
    Ids ids;
    for (const QueuePlace& place : places)
        ids.push_back(place.entry->id);
    return ids;
}

TEST(Queue, NewEntriesGetRisingIds)
{
    Queue queue;
    const QueueEdit first = queue.append(makeItems(2));
    EXPECT_THAT(idsOf(first.change.added), ElementsAre(1, 2));
    const QueueEdit second = queue.insert(Anchor(), makeItems(1));
    EXPECT_THAT(idsOf(second.change.added), ElementsAre(3));
    EXPECT_EQ(queue.lastId(), 3);
    EXPECT_EQ(queue.at(1).item, makeItem(1));
}

TEST(Queue, IdsAreNotUsedAgain)
{
    Queue queue = makeQueue(3);
    ASSERT_TRUE(queue.clear());
    ASSERT_TRUE(queue.append(makeItems(1)));
    EXPECT_THAT(queue.ids(), ElementsAre(4));
}

TEST(Queue, InsertsAtTheHeadBehindAnEntryAndAtTheEnd)
{
    Queue queue = makeQueue(2);
    ASSERT_TRUE(queue.insert(Anchor(), makeItems(1)));
    ASSERT_TRUE(queue.insert(1, makeItems(2)));
    ASSERT_TRUE(queue.append(makeItems(1)));
    EXPECT_THAT(queue.ids(), ElementsAre(3, 1, 4, 5, 2, 6));
}

TEST(Queue, InsertingBehindAMissingEntryIsRefused)
{
    Queue queue = makeQueue(2);
    EXPECT_EQ(errorOf(queue.insert(3, makeItems(1))), "noSuchItem");
    EXPECT_THAT(queue.ids(), ElementsAre(1, 2));
    EXPECT_EQ(queue.lastId(), 2);
}

TEST(Queue, InsertingNothingChangesNothing)
{
    Queue queue = makeQueue(2);
    EXPECT_TRUE(queue.append({}).change.isEmpty());
}

TEST(Queue, FindsEntriesByIndexAndId)
{
    Queue queue = makeQueue(1000);
    ASSERT_TRUE(queue.move({7}, 900));
    EXPECT_EQ(queue.indexOf(7), 899);
    EXPECT_EQ(queue.at(899).id, 7);
    ASSERT_NE(queue.find(7), nullptr);
    EXPECT_EQ(queue.find(7)->item, makeItem(7));
    EXPECT_EQ(queue.indexOf(1001), -1);
    EXPECT_EQ(queue.find(0), nullptr);
}

TEST(Queue, RemovesAllOrNothing)
{
    Queue queue = makeQueue(4);
    EXPECT_EQ(errorOf(queue.remove({1, 9})), "noSuchItem");
    EXPECT_THAT(queue.ids(), ElementsAre(1, 2, 3, 4));
    const QueueEdit edit = queue.remove({4, 2, 4});
    EXPECT_THAT(edit.change.removed, ElementsAre(2, 4));
    EXPECT_THAT(queue.ids(), ElementsAre(1, 3));
}

TEST(Queue, RemovingNothingChangesNothing)
{
    Queue queue = makeQueue(2);
    EXPECT_TRUE(queue.remove({}).change.isEmpty());
}

TEST(Queue, MovedEntriesKeepTheGivenOrder)
{
    Queue queue = makeQueue(5);
    ASSERT_TRUE(queue.move({4, 1}, 5));
    EXPECT_THAT(queue.ids(), ElementsAre(2, 3, 5, 4, 1));
    ASSERT_TRUE(queue.move({5, 1}, Anchor()));
    EXPECT_THAT(queue.ids(), ElementsAre(5, 1, 2, 3, 4));
}

TEST(Queue, AnIdThatIsMovedTwiceCountsOnce)
{
    Queue queue = makeQueue(4);
    ASSERT_TRUE(queue.move({2, 1, 2}, 3));
    EXPECT_THAT(queue.ids(), ElementsAre(3, 2, 1, 4));
}

TEST(Queue, AMoveWithoutEffectChangesNothing)
{
    Queue queue = makeQueue(4);
    EXPECT_TRUE(queue.move({2, 3}, 2).change.isEmpty()) << "anchor among the ids";
    EXPECT_TRUE(queue.move({2, 3}, 1).change.isEmpty()) << "already there";
    EXPECT_TRUE(queue.move({1, 2, 3, 4}, Anchor()).change.isEmpty()) << "all, as they are";
    EXPECT_TRUE(queue.move({}, 1).change.isEmpty());
    EXPECT_THAT(queue.ids(), ElementsAre(1, 2, 3, 4));
}

TEST(Queue, MovingMissingEntriesIsRefused)
{
    Queue queue = makeQueue(3);
    EXPECT_EQ(errorOf(queue.move({1, 7}, 2)), "noSuchItem");
    EXPECT_EQ(errorOf(queue.move({1}, 7)), "noSuchItem");
    EXPECT_THAT(queue.ids(), ElementsAre(1, 2, 3));
}

TEST(Queue, ReplacesAllEntries)
{
    Queue queue = makeQueue(2);
    const QueueEdit edit = queue.replace(makeItems(2));
    EXPECT_THAT(edit.change.removed, ElementsAre(1, 2));
    EXPECT_THAT(idsOf(edit.change.added), ElementsAre(3, 4));
    EXPECT_THAT(queue.ids(), ElementsAre(3, 4));
}

TEST(Queue, ClearingAnEmptyQueueChangesNothing)
{
    Queue queue;
    EXPECT_TRUE(queue.clear().change.isEmpty());
}

TEST(Queue, ShuffleKeepsEveryEntryOnce)
{
    Queue queue = makeQueue(1000);
    const Ids before = queue.ids();
    std::mt19937_64 random(1);
    const QueueEdit edit = queue.shuffle(random);
    EXPECT_TRUE(edit.change.isReordered);
    EXPECT_NE(queue.ids(), before);
    EXPECT_THAT(queue.ids(), testing::UnorderedElementsAreArray(before));
}

TEST(Queue, ShufflingOneEntryChangesNothing)
{
    Queue queue = makeQueue(1);
    std::mt19937_64 random(1);
    EXPECT_TRUE(queue.shuffle(random).change.isEmpty());
}

TEST(Queue, RestoresEntriesWhereTheyWere)
{
    const Queue earlier = makeQueue(6);
    Queue queue = earlier;
    const Ids removed = {1, 3, 4, 6};
    ASSERT_TRUE(queue.remove(removed));
    ASSERT_TRUE(queue.append(makeItems(1)));
    ASSERT_TRUE(queue.move({5}, Anchor()));
    ASSERT_TRUE(queue.restore(earlier, removed));
    EXPECT_THAT(queue.ids(), ElementsAre(1, 5, 6, 2, 3, 4, 7));
    EXPECT_EQ(queue.find(3)->item, makeItem(3));
}

TEST(Queue, RestoresOnlyWhatIsMissing)
{
    const Queue earlier = makeQueue(3);
    Queue queue = earlier;
    ASSERT_TRUE(queue.remove({2}));
    ASSERT_TRUE(queue.restore(earlier, {2}));
    EXPECT_TRUE(queue.restore(earlier, {2}).change.isEmpty());
    EXPECT_THAT(queue.ids(), ElementsAre(1, 2, 3));
}

TEST(Queue, TakesNoMoreThanItHolds)
{
    Queue queue = makeQueue(Queue::mostEntries);
    const Queue full = queue;
    EXPECT_EQ(errorOf(queue.append(makeItems(1))), "queueFull");
    EXPECT_EQ(errorOf(queue.replace(makeItems(Queue::mostEntries + 1))), "queueFull");
    EXPECT_EQ(queue.size(), Queue::mostEntries);
    ASSERT_TRUE(queue.remove({5}));
    ASSERT_TRUE(queue.append(makeItems(1)));
    EXPECT_EQ(errorOf(queue.restore(full, {5})), "queueFull");
    EXPECT_FALSE(queue.contains(5));
}

TEST(Queue, DescribesEntriesThatItHas)
{
    Queue queue = makeQueue(3);
    QueueItem item = makeItem(9);
    const QueueEdit edit = queue.describe({{2, item}, {8, item}, {3, makeItem(3)}});
    ASSERT_EQ(edit.change.described.size(), 1U);
    EXPECT_EQ(edit.change.described.front()->id, 2);
    item.source = makeItem(2).source;
    EXPECT_EQ(queue.find(2)->item, item);
}

TEST(Queue, CopiesAreIndependent)
{
    Queue queue = makeQueue(1000);
    const Queue copy = queue;
    ASSERT_TRUE(queue.remove({500}));
    ASSERT_TRUE(queue.describe({{1, makeItem(9)}}));
    EXPECT_EQ(copy.indexOf(500), 499);
    EXPECT_EQ(copy.find(1)->item, makeItem(1));
}

TEST(Queue, FewRanksChangeWhenEntriesAreInsertedAtOnePlace)
{
    Queue queue = makeQueue(10'000);
    std::size_t moved = 0;
    for (int i = 0; i < 1000; ++i)
        moved += queue.insert(5000, makeItems(1)).change.moved.size();
    EXPECT_LT(moved, 10'000U);
}

/// Edits a queue at random, and a plain list of ids in the same way.
class RandomEdits : public testing::TestWithParam<unsigned>
{
protected:
    int number(int below) { return std::uniform_int_distribution<int>(0, below - 1)(m_random); }
    Ids::iterator anyPlace() { return m_model.begin() + number(static_cast<int>(m_model.size())); }

    /// Sometimes the head.
    Anchor anyAnchor() { return m_model.empty() || number(8) == 0 ? Anchor() : Anchor(*anyPlace()); }

    Ids someIds()
    {
        Ids ids;
        for (int i = m_model.empty() ? 0 : number(number(10) == 0 ? 800 : 4); i > 0; --i)
            ids.push_back(*anyPlace());
        return ids;
    }

    Ids::iterator behind(const Anchor& anchor)
    {
        return anchor ? std::next(std::find(m_model.begin(), m_model.end(), *anchor)) : m_model.begin();
    }

    void insert()
    {
        const Anchor after = anyAnchor();
        const int count = number(number(10) == 0 ? 300 : 4);
        Ids ids(static_cast<std::size_t>(count));
        std::generate(ids.begin(), ids.end(), [this] { return ++m_lastId; });
        m_model.insert(behind(after), ids.begin(), ids.end());
        note(m_queue.insert(after, makeItems(count)));
    }

    void remove()
    {
        const Ids ids = someIds();
        m_earlier = m_queue;
        m_removed = ids;
        eraseFromModel(ids);
        note(m_queue.remove(ids));
    }

    void eraseFromModel(const Ids& ids)
    {
        const std::set<EntryId> gone(ids.begin(), ids.end());
        m_model.erase(
            std::remove_if(m_model.begin(), m_model.end(), [&](EntryId id) { return gone.count(id) > 0; }),
            m_model.end());
    }

    void move()
    {
        const Ids ids = someIds();
        const Anchor after = anyAnchor();
        const Ids before = m_model;
        if (!after || std::find(ids.begin(), ids.end(), *after) == ids.end()) {
            eraseFromModel(ids);
            std::set<EntryId> seen;
            Ids unique;
            std::copy_if(
                ids.begin(), ids.end(), std::back_inserter(unique), [&](EntryId id) { return seen.insert(id).second; });
            m_model.insert(behind(after), unique.begin(), unique.end());
        }
        const QueueEdit edit = m_queue.move(ids, after);
        EXPECT_EQ(edit.change.isEmpty(), before == m_model);
        note(edit);
    }

    void restore()
    {
        const std::set<EntryId> removed(m_removed.begin(), m_removed.end());
        std::set<EntryId> present(m_model.begin(), m_model.end());
        Anchor after;
        for (const EntryId id : m_earlier.ids()) {
            const bool isRestored = removed.count(id) > 0 && present.insert(id).second;
            if (isRestored)
                m_model.insert(behind(after), id);
            if (present.count(id) > 0)
                after = id;
        }
        note(m_queue.restore(m_earlier, m_removed));
    }

    void shuffle()
    {
        note(m_queue.shuffle(m_shuffle));
        EXPECT_THAT(m_queue.ids(), testing::UnorderedElementsAreArray(m_model));
        m_model = m_queue.ids();
    }

    void editOnce()
    {
        const int kind = number(200);
        if (kind < 80)
            insert();
        else if (kind < 120)
            remove();
        else if (kind < 185)
            move();
        else if (kind < 199)
            restore();
        else
            shuffle();
    }

    /// Keeps the ranks as a store would.
    void note(const QueueEdit& edit)
    {
        ASSERT_TRUE(edit);
        for (const EntryId id : edit.change.removed)
            m_ranks.erase(id);
        for (const std::vector<QueuePlace>* places : {&edit.change.added, &edit.change.moved}) {
            for (const QueuePlace& place : *places)
                m_ranks[place.entry->id] = place.rank;
        }
    }

    /// The ids in the order of their ranks.
    [[nodiscard]] Ids idsByRank() const
    {
        std::map<qint64, EntryId> byRank;
        for (const auto& [id, rank] : m_ranks)
            byRank[rank] = id;
        Ids ids;
        for (const auto& [rank, id] : byRank)
            ids.push_back(id);
        return ids;
    }

    std::mt19937 m_random{GetParam()};
    std::mt19937_64 m_shuffle{GetParam()};
    Queue m_queue;
    Ids m_model;
    EntryId m_lastId = 0;
    Queue m_earlier;
    Ids m_removed;
    std::map<EntryId, qint64> m_ranks;
};

TEST_P(RandomEdits, EqualThoseOfAPlainList)
{
    for (int i = 0; i < 600; ++i) {
        editOnce();
        ASSERT_EQ(m_queue.ids(), m_model) << "edit " << i;
        ASSERT_TRUE(i % 20 != 0 || idsByRank() == m_model) << "edit " << i;
        for (int index = 0; index < m_queue.size(); index += 97)
            ASSERT_EQ(m_queue.indexOf(m_queue.at(index).id), index);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomEdits, testing::Range(1U, 5U));

} // namespace
