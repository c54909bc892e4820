#include "queue.h"

#include "refusal.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace {

/// Between the ranks of entries that are appended.
constexpr qint64 rankGap = qint64{1} << 32;
constexpr qint64 farthestRank = qint64{1} << 62;
/// Ranks are spread over so many entries that they get at least this far apart, so that it seldom happens.
constexpr qint64 leastSpread = qint64{1} << 16;

std::vector<EntryId> sorted(std::vector<EntryId> ids)
{
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ids;
}

std::vector<EntryId> withoutRepeats(const std::vector<EntryId>& ids)
{
    std::vector<EntryId> firsts;
    std::unordered_set<EntryId> seen;
    std::copy_if(
        ids.cbegin(), ids.cend(), std::back_inserter(firsts), [&seen](EntryId id) { return seen.insert(id).second; });
    return firsts;
}

/// The entry with the item's title, type and media record. Null if it has them already.
QueueEntryPointer described(const QueueEntry& entry, const QueueItem& item)
{
    QueueEntry other{entry.id, {entry.item.source, item.title, item.type, item.mediaJson}};
    return other.item == entry.item ? nullptr : std::make_shared<const QueueEntry>(std::move(other));
}

QueueEdit refused(const CMError& error)
{
    return {QueueChange(), error};
}

} // namespace

bool QueueChange::isEmpty() const
{
    return removed.empty() && added.empty() && moved.empty() && described.empty() && !isReordered;
}

Queue::Queue(std::vector<QueuePlace> places, EntryId lastId) : m_lastId(lastId)
{
    std::vector<Order::Edit> order;
    std::vector<Ranks::Edit> ranks;
    std::vector<Entries::Edit> entries;
    for (QueuePlace& place : places) {
        const EntryId id = place.entry->id;
        order.push_back({place.rank, id});
        ranks.push_back({id, place.rank});
        entries.push_back({id, std::move(place.entry)});
    }
    m_order.apply(std::move(order));
    m_ranks.apply(std::move(ranks));
    m_entries.apply(std::move(entries));
}

const QueueEntry& Queue::at(int index) const
{
    return *entryAt(index);
}

int Queue::indexOf(EntryId id) const
{
    const qint64* const rank = m_ranks.find(id);
    return rank ? m_order.indexOf(*rank) : -1;
}

const QueueEntry* Queue::find(EntryId id) const
{
    const QueueEntryPointer* const entry = m_entries.find(id);
    return entry ? entry->get() : nullptr;
}

std::vector<EntryId> Queue::ids() const
{
    std::vector<EntryId> all;
    all.reserve(static_cast<std::size_t>(size()));
    m_order.forEach([&all](const Order::Item& item) { all.push_back(item.value); });
    return all;
}

QueueEdit Queue::insert(const Anchor& after, std::vector<QueueItem> items)
{
    const std::optional<int> index = indexBehind(after);
    if (!index)
        return refused(Refusal::noSuchEntry(*after));
    if (items.size() + static_cast<std::size_t>(size()) > mostEntries)
        return refused(Refusal::queueFull());
    QueueEdit edit;
    put(*index, makeEntries(std::move(items)), edit.change.added, edit.change.moved);
    return edit;
}

QueueEdit Queue::append(std::vector<QueueItem> items)
{
    return insert(isEmpty() ? Anchor() : Anchor(at(size() - 1).id), std::move(items));
}

QueueEdit Queue::replace(std::vector<QueueItem> items)
{
    if (items.size() > mostEntries)
        return refused(Refusal::queueFull());
    QueueEdit edit = clear();
    put(0, makeEntries(std::move(items)), edit.change.added, edit.change.moved);
    return edit;
}

QueueEdit Queue::remove(const std::vector<EntryId>& ids)
{
    if (const CMError error = missingOf(ids); !error.isEmpty())
        return refused(error);
    QueueEdit edit;
    edit.change.removed = sorted(ids);
    take(edit.change.removed);
    std::vector<Ranks::Edit> ranks;
    std::vector<Entries::Edit> entries;
    for (const EntryId id : edit.change.removed) {
        ranks.push_back({id, std::nullopt});
        entries.push_back({id, std::nullopt});
    }
    m_ranks.apply(std::move(ranks));
    m_entries.apply(std::move(entries));
    return edit;
}

QueueEdit Queue::move(const std::vector<EntryId>& ids, const Anchor& after)
{
    if (const CMError error = missingOf(ids); !error.isEmpty())
        return refused(error);
    const std::optional<int> behind = indexBehind(after);
    if (!behind)
        return refused(Refusal::noSuchEntry(*after));
    const std::vector<EntryId> wanted = withoutRepeats(ids);
    const bool isAnchorMoved = after && std::find(wanted.cbegin(), wanted.cend(), *after) != wanted.cend();
    if (isAnchorMoved || isAt(*behind, wanted))
        return {};

    QueueEdit edit;
    edit.change.isReordered = true;
    take(wanted);
    put(*indexBehind(after), wanted, edit.change.moved, edit.change.moved);
    return edit;
}

QueueEdit Queue::clear()
{
    QueueEdit edit;
    edit.change.removed = ids();
    m_order = {};
    m_ranks = {};
    m_entries = {};
    return edit;
}

QueueEdit Queue::shuffle(std::mt19937_64& random)
{
    std::vector<EntryId> shuffled = ids();
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    QueueEdit edit;
    std::vector<Order::Edit> order;
    std::vector<Ranks::Edit> ranks;
    auto id = shuffled.cbegin();
    m_order.forEach([&](const Order::Item& item) {
        if (*id != item.value) {
            edit.change.moved.push_back({item.key, *m_entries.find(*id)});
            order.push_back({item.key, *id});
            ranks.push_back({*id, item.key});
        }
        ++id;
    });
    edit.change.isReordered = !edit.change.moved.empty();
    m_order.apply(std::move(order));
    m_ranks.apply(std::move(ranks));
    return edit;
}

QueueEdit Queue::restore(const Queue& earlier, const std::vector<EntryId>& ids)
{
    const std::vector<int> indices = earlier.indicesMissingIn(*this, ids);
    if (indices.size() + static_cast<std::size_t>(size()) > mostEntries)
        return refused(Refusal::queueFull());
    QueueEdit edit;
    Anchor anchor;
    std::vector<EntryId> run;
    const auto putRun = [&] {
        if (!run.empty())
            put(*indexBehind(anchor), std::exchange(run, {}), edit.change.added, edit.change.moved);
    };
    std::vector<Entries::Edit> entries;
    for (const int index : indices) {
        const QueueEntryPointer& entry = earlier.entryAt(index);
        entries.push_back({entry->id, entry});
    }
    m_entries.apply(std::move(entries));
    int last = -1;
    for (const int index : indices) {
        // Entries have a rank when they have their place.
        int before = index - 1;
        while (before > last && !m_ranks.find(earlier.m_order.at(before).value))
            --before;
        if (before > last) {
            putRun();
            anchor = earlier.m_order.at(before).value;
        }
        run.push_back(earlier.m_order.at(index).value);
        last = index;
    }
    putRun();
    return edit;
}

QueueEdit Queue::describe(const std::vector<QueueEntry>& entries)
{
    QueueEdit edit;
    std::vector<Entries::Edit> edits;
    for (const QueueEntry& entry : entries) {
        const QueueEntry* const present = find(entry.id);
        if (QueueEntryPointer changed = present ? described(*present, entry.item) : nullptr) {
            edit.change.described.push_back(changed);
            edits.push_back({entry.id, std::move(changed)});
        }
    }
    m_entries.apply(std::move(edits));
    return edit;
}

const QueueEntryPointer& Queue::entryAt(int index) const
{
    return *m_entries.find(m_order.at(index).value);
}

std::optional<int> Queue::indexBehind(const Anchor& anchor) const
{
    if (!anchor)
        return 0;
    const int index = indexOf(*anchor);
    return index < 0 ? std::nullopt : std::optional<int>(index + 1);
}

bool Queue::isAt(int index, const std::vector<EntryId>& ids) const
{
    if (static_cast<std::size_t>(size() - index) < ids.size())
        return false;
    return std::all_of(ids.cbegin(), ids.cend(), [&](EntryId id) { return m_order.at(index++).value == id; });
}

CMError Queue::missingOf(const std::vector<EntryId>& ids) const
{
    const auto missing = std::find_if(ids.cbegin(), ids.cend(), [this](EntryId id) { return !contains(id); });
    return missing == ids.cend() ? CMError() : Refusal::noSuchEntry(*missing);
}

std::vector<EntryId> Queue::makeEntries(std::vector<QueueItem> items)
{
    std::vector<EntryId> ids;
    std::vector<Entries::Edit> entries;
    ids.reserve(items.size());
    entries.reserve(items.size());
    for (QueueItem& item : items) {
        ids.push_back(++m_lastId);
        entries.push_back({m_lastId, std::make_shared<const QueueEntry>(QueueEntry{m_lastId, std::move(item)})});
    }
    m_entries.apply(std::move(entries));
    return ids;
}

std::vector<int> Queue::indicesMissingIn(const Queue& other, const std::vector<EntryId>& ids) const
{
    std::vector<int> indices;
    for (const EntryId id : sorted(ids)) {
        const int index = other.contains(id) ? -1 : indexOf(id);
        if (index >= 0)
            indices.push_back(index);
    }
    std::sort(indices.begin(), indices.end());
    return indices;
}

void Queue::take(const std::vector<EntryId>& ids)
{
    std::vector<Order::Edit> order;
    order.reserve(ids.size());
    for (const EntryId id : ids)
        order.push_back({*m_ranks.find(id), std::nullopt});
    m_order.apply(std::move(order));
}

void Queue::put(int index, const std::vector<EntryId>& ids, Places& placed, Places& moved)
{
    if (ids.empty())
        return;
    int begin = index;
    int end = index;
    std::vector<qint64> ranks = ranksFor(begin, end, ids.size(), 1);
    for (int width = 32; ranks.empty(); width *= 2) {
        begin = std::max(index - width, 0);
        end = std::min(index + width, size());
        ranks = ranksFor(begin, end, ids.size() + static_cast<std::size_t>(end - begin), leastSpread);
    }

    std::vector<Order::Edit> order;
    std::vector<Ranks::Edit> given;
    const auto place = [&](EntryId id, Places& changed) {
        const qint64 rank = ranks[given.size()];
        given.push_back({id, rank});
        order.push_back({rank, id});
        changed.push_back({rank, *m_entries.find(id)});
    };
    for (int i = begin; i < end; ++i)
        order.push_back({m_order.at(i).key, std::nullopt});
    for (int i = begin; i < index; ++i)
        place(m_order.at(i).value, moved);
    std::for_each(ids.cbegin(), ids.cend(), [&](EntryId id) { place(id, placed); });
    for (int i = index; i < end; ++i)
        place(m_order.at(i).value, moved);
    m_order.apply(std::move(order));
    m_ranks.apply(std::move(given));
}

std::vector<qint64> Queue::ranksFor(int begin, int end, std::size_t count, qint64 leastStep) const
{
    const qint64 intervals = static_cast<qint64>(count) + 1;
    const qint64 room = intervals * rankGap;
    const bool isAtHead = begin == 0;
    const bool isAtEnd = end == size();
    qint64 low = isAtHead ? 0 : m_order.at(begin - 1).key;
    qint64 high = isAtEnd ? low + room : m_order.at(end).key;
    if (isAtHead && !isAtEnd)
        low = high - room;
    const qint64 step = (high - low) / intervals;
    if (low < -farthestRank || high > farthestRank || step < leastStep)
        return {};
    std::vector<qint64> ranks(count);
    std::generate(ranks.begin(), ranks.end(), [&low, step] { return low += step; });
    return ranks;
}
