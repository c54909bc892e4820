#include "queue.h"

#include "refusal.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace {

constexpr std::size_t mostInChunk = 256;
constexpr std::size_t fewInChunk = 64;
constexpr std::size_t fewIds = 8;

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

/// `ids` are sorted.
bool isOneOf(const std::vector<EntryId>& ids, EntryId id)
{
    // Most edits name few ids, so that most entries are outside their range.
    return !ids.empty() && id >= ids.front() && id <= ids.back() && std::binary_search(ids.cbegin(), ids.cend(), id);
}

bool hasLowerId(const QueueEntryPointer& a, const QueueEntryPointer& b)
{
    return a->id < b->id;
}

/// `entries` have the same ids, and these rise.
std::vector<QueueEntryPointer> inOrder(const std::vector<EntryId>& ids, const std::vector<QueueEntryPointer>& entries)
{
    std::vector<QueueEntryPointer> ordered;
    ordered.reserve(ids.size());
    for (const EntryId id : ids) {
        const auto hasLower = [](const QueueEntryPointer& entry, EntryId other) { return entry->id < other; };
        ordered.push_back(*std::lower_bound(entries.cbegin(), entries.cend(), id, hasLower));
    }
    return ordered;
}

/// Gives the entry the item's title, type and media record. False if it has them already.
bool describe(QueuePlace& place, const QueueItem& item)
{
    QueueEntry entry = *place.entry;
    entry.item = {entry.item.source, item.title, item.type, item.mediaData};
    if (entry.item == place.entry->item)
        return false;
    place.entry = std::make_shared<const QueueEntry>(std::move(entry));
    return true;
}

QueueEdit refused(const CMError& error)
{
    return {QueueChange(), error};
}

} // namespace

struct Queue::Chunk
{
    /// `contained` is not empty.
    explicit Chunk(Places contained) : places(std::move(contained))
    {
        ids.reserve(places.size());
        std::transform(places.cbegin(), places.cend(), std::back_inserter(ids), [](const QueuePlace& place) {
            return place.entry->id;
        });
        const auto [low, high] = std::minmax_element(ids.cbegin(), ids.cend());
        lowest = *low;
        highest = *high;
    }

    /// The index of the entry; -1: it is in another chunk.
    [[nodiscard]] int indexOf(EntryId id) const
    {
        if (id < lowest || id > highest)
            return -1;
        const auto found = std::find(ids.cbegin(), ids.cend(), id);
        return found == ids.cend() ? -1 : static_cast<int>(found - ids.cbegin());
    }

    /// `wanted` are sorted.
    [[nodiscard]] bool hasOneOf(const std::vector<EntryId>& wanted) const
    {
        // It takes much longer to look at each id of the chunk than to search it for a few others.
        if (wanted.size() <= fewIds)
            return std::any_of(wanted.cbegin(), wanted.cend(), [this](EntryId id) { return indexOf(id) >= 0; });
        return wanted.front() <= highest && wanted.back() >= lowest &&
               std::any_of(ids.cbegin(), ids.cend(), [&wanted](EntryId id) { return isOneOf(wanted, id); });
    }

    Places places;
    /// The same entries' ids: a search reads only them, and only those of chunks that can have the id.
    std::vector<EntryId> ids;
    EntryId lowest;
    EntryId highest;
};

bool QueueChange::isEmpty() const
{
    return removed.empty() && added.empty() && moved.empty() && described.empty() && !isReordered;
}

Queue::Queue(std::vector<QueuePlace> places, EntryId lastId) : m_lastId(lastId)
{
    appendParts(std::move(places));
}

const QueueEntry& Queue::at(int index) const
{
    return *placeAt(index).entry;
}

int Queue::indexOf(EntryId id) const
{
    int begin = 0;
    for (const Part& part : m_parts) {
        if (const int index = part.chunk->indexOf(id); index >= 0)
            return begin + index;
        begin = part.end;
    }
    return -1;
}

const QueueEntry* Queue::find(EntryId id) const
{
    const int index = indexOf(id);
    return index < 0 ? nullptr : &at(index);
}

std::vector<EntryId> Queue::ids() const
{
    std::vector<EntryId> all;
    all.reserve(static_cast<std::size_t>(size()));
    for (const Part& part : m_parts)
        all.insert(all.end(), part.chunk->ids.cbegin(), part.chunk->ids.cend());
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
    QueueEdit edit;
    edit.change.removed = sorted(ids);
    Queue edited = *this;
    if (!edited.take(edit.change.removed))
        return refused(missingOf(ids));
    *this = std::move(edited);
    return edit;
}

QueueEdit Queue::move(const std::vector<EntryId>& ids, const Anchor& after)
{
    const std::vector<EntryId> wanted = withoutRepeats(ids);
    const std::vector<EntryId> taken = sorted(ids);
    Queue edited = *this;
    const auto entries = edited.take(taken);
    if (!entries)
        return refused(missingOf(ids));
    const std::optional<int> behind = indexBehind(after);
    if (!behind)
        return refused(Refusal::noSuchEntry(*after));
    const bool isAnchorMoved = after && std::binary_search(taken.cbegin(), taken.cend(), *after);
    if (isAnchorMoved || isAt(*behind, wanted))
        return {};

    QueueEdit edit;
    edit.change.isReordered = true;
    edited.put(*edited.indexBehind(after), inOrder(wanted, *entries), edit.change.moved, edit.change.moved);
    *this = std::move(edited);
    return edit;
}

QueueEdit Queue::clear()
{
    QueueEdit edit;
    edit.change.removed = ids();
    m_parts.clear();
    return edit;
}

QueueEdit Queue::shuffle(std::mt19937_64& random)
{
    Places shuffled = placesBetween(0, size());
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    QueueEdit edit;
    for (int i = 0; i < size(); ++i) {
        QueuePlace& place = shuffled[static_cast<std::size_t>(i)];
        const QueuePlace& present = placeAt(i);
        place.rank = present.rank;
        if (place.entry != present.entry)
            edit.change.moved.push_back(place);
    }
    edit.change.isReordered = !edit.change.moved.empty();
    m_parts.clear();
    appendParts(std::move(shuffled));
    return edit;
}

QueueEdit Queue::restore(const Queue& earlier, const std::vector<EntryId>& ids)
{
    const std::vector<EntryId> wanted = sorted(ids);
    const std::vector<EntryId> present = sorted(this->ids());
    Queue edited = *this;
    QueueEdit edit;
    Anchor anchor;
    std::vector<QueueEntryPointer> run;
    const auto putRun = [&] {
        if (!run.empty())
            edited.put(*edited.indexBehind(anchor), run, edit.change.added, edit.change.moved);
        run.clear();
    };
    for (int i = 0; i < earlier.size(); ++i) {
        const QueueEntryPointer& entry = earlier.placeAt(i).entry;
        if (std::binary_search(present.cbegin(), present.cend(), entry->id)) {
            putRun();
            anchor = entry->id;
        } else if (std::binary_search(wanted.cbegin(), wanted.cend(), entry->id)) {
            run.push_back(entry);
        }
    }
    putRun();
    if (edited.size() > mostEntries)
        return refused(Refusal::queueFull());
    *this = std::move(edited);
    return edit;
}

QueueEdit Queue::describe(const std::vector<QueueEntry>& entries)
{
    std::unordered_map<EntryId, const QueueItem*> items;
    for (const QueueEntry& entry : entries)
        items[entry.id] = &entry.item;
    QueueEdit edit;
    for (Part& part : m_parts) {
        const std::vector<EntryId>& ids = part.chunk->ids;
        if (std::none_of(ids.cbegin(), ids.cend(), [&items](EntryId id) { return items.count(id) > 0; }))
            continue;
        Places places = part.chunk->places;
        for (QueuePlace& place : places) {
            const auto item = items.find(place.entry->id);
            if (item != items.cend() && ::describe(place, *item->second))
                edit.change.described.push_back(place.entry);
        }
        part.chunk = std::make_shared<const Chunk>(std::move(places));
    }
    return edit;
}

const QueuePlace& Queue::placeAt(int index) const
{
    const auto part = std::upper_bound(
        m_parts.cbegin(), m_parts.cend(), index, [](int i, const Part& candidate) { return i < candidate.end; });
    Q_ASSERT(index >= 0 && part != m_parts.cend());
    const Places& places = part->chunk->places;
    return places[places.size() - static_cast<std::size_t>(part->end - index)];
}

Queue::Places Queue::placesBetween(int begin, int end) const
{
    Places found;
    found.reserve(static_cast<std::size_t>(end - begin));
    for (int i = begin; i < end; ++i)
        found.push_back(placeAt(i));
    return found;
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
    return std::all_of(ids.cbegin(), ids.cend(), [&](EntryId id) { return at(index++).id == id; });
}

CMError Queue::missingOf(const std::vector<EntryId>& ids) const
{
    const auto missing = std::find_if(ids.cbegin(), ids.cend(), [this](EntryId id) { return !contains(id); });
    Q_ASSERT(missing != ids.cend());
    return Refusal::noSuchEntry(*missing);
}

std::vector<QueueEntryPointer> Queue::makeEntries(std::vector<QueueItem> items)
{
    std::vector<QueueEntryPointer> entries;
    entries.reserve(items.size());
    for (QueueItem& item : items)
        entries.push_back(std::make_shared<const QueueEntry>(QueueEntry{++m_lastId, std::move(item)}));
    return entries;
}

void Queue::appendPart(std::shared_ptr<const Chunk> chunk)
{
    const Places& places = chunk->places;
    if (!m_parts.empty() && m_parts.back().chunk->places.size() + places.size() <= fewInChunk) {
        Places joined = m_parts.back().chunk->places;
        joined.insert(joined.end(), places.cbegin(), places.cend());
        m_parts.pop_back();
        chunk = std::make_shared<const Chunk>(std::move(joined));
    }
    const int end = size() + static_cast<int>(chunk->places.size());
    m_parts.push_back({end, std::move(chunk)});
}

void Queue::appendParts(Places places)
{
    if (places.empty())
        return;
    // Parts of equal size, that take more entries before they are split.
    const std::size_t count = places.size() <= mostInChunk ? 1 : (2 * places.size() + mostInChunk - 1) / mostInChunk;
    auto begin = std::make_move_iterator(places.begin());
    for (std::size_t i = 1; i <= count; ++i) {
        const auto end =
            std::make_move_iterator(places.begin()) + static_cast<std::ptrdiff_t>(i * places.size() / count);
        appendPart(std::make_shared<const Chunk>(Places(begin, end)));
        begin = end;
    }
}

void Queue::replaceRange(int begin, int end, const Places& places)
{
    const std::vector<Part> old = std::exchange(m_parts, {});
    const auto endsBefore = [](const Part& part, int index) { return part.end < index; };
    const auto first = std::lower_bound(old.cbegin(), old.cend(), begin, endsBefore);
    const auto last = std::lower_bound(first, old.cend(), end, endsBefore);
    m_parts.assign(old.cbegin(), first);
    if (first == old.cend()) {
        appendParts(places);
        return;
    }
    const Places& head = first->chunk->places;
    const Places& tail = last->chunk->places;
    Places region;
    region.reserve(head.size() + places.size() + tail.size());
    region.assign(head.cbegin(), head.cbegin() + (begin - size()));
    region.insert(region.end(), places.cbegin(), places.cend());
    region.insert(region.end(), tail.cend() - (last->end - end), tail.cend());
    appendParts(std::move(region));
    std::for_each(std::next(last), old.cend(), [this](const Part& part) { appendPart(part.chunk); });
}

std::optional<std::vector<QueueEntryPointer>> Queue::take(const std::vector<EntryId>& ids)
{
    std::vector<QueueEntryPointer> taken;
    for (const Part& part : std::exchange(m_parts, {})) {
        if (taken.size() == ids.size() || !part.chunk->hasOneOf(ids)) {
            appendPart(part.chunk);
            continue;
        }
        Places kept;
        kept.reserve(part.chunk->places.size());
        for (const QueuePlace& place : part.chunk->places) {
            if (isOneOf(ids, place.entry->id))
                taken.push_back(place.entry);
            else
                kept.push_back(place);
        }
        appendParts(std::move(kept));
    }
    if (taken.size() != ids.size())
        return std::nullopt;
    std::sort(taken.begin(), taken.end(), hasLowerId);
    return taken;
}

void Queue::put(int index, const std::vector<QueueEntryPointer>& entries, Places& placed, Places& moved)
{
    if (entries.empty())
        return;
    int begin = index;
    int end = index;
    std::vector<qint64> ranks = ranksFor(begin, end, entries.size(), 1);
    for (int width = 32; ranks.empty(); width *= 2) {
        begin = std::max(index - width, 0);
        end = std::min(index + width, size());
        ranks = ranksFor(begin, end, entries.size() + static_cast<std::size_t>(end - begin), leastSpread);
    }

    Places places;
    const auto add = [&](const QueueEntryPointer& entry) { places.push_back({ranks[places.size()], entry}); };
    const auto addAgain = [&](const QueuePlace& place) {
        add(place.entry);
        if (places.back().rank != place.rank)
            moved.push_back(places.back());
    };
    for (int i = begin; i < index; ++i)
        addAgain(placeAt(i));
    std::for_each(entries.cbegin(), entries.cend(), add);
    placed.insert(placed.end(), places.cend() - static_cast<std::ptrdiff_t>(entries.size()), places.cend());
    for (int i = index; i < end; ++i)
        addAgain(placeAt(i));
    replaceRange(begin, end, places);
}

std::vector<qint64> Queue::ranksFor(int begin, int end, std::size_t count, qint64 leastStep) const
{
    const qint64 intervals = static_cast<qint64>(count) + 1;
    const qint64 room = intervals * rankGap;
    const bool isAtHead = begin == 0;
    const bool isAtEnd = end == size();
    qint64 low = isAtHead ? 0 : placeAt(begin - 1).rank;
    qint64 high = isAtEnd ? low + room : placeAt(end).rank;
    if (isAtHead && !isAtEnd)
        low = high - room;
    const qint64 step = (high - low) / intervals;
    if (low < -farthestRank || high > farthestRank || step < leastStep)
        return {};
    std::vector<qint64> ranks(count);
    std::generate(ranks.begin(), ranks.end(), [&low, step] { return low += step; });
    return ranks;
}
