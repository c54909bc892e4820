#pragma once

#include "model/cmerror.h"
#include "queueentry.h"
#include "sharedmap.h"

#include <QtGlobal>

#include <memory>
#include <optional>
#include <random>
#include <vector>

/// Where entries are put: behind the entry with this id; without one at the head.
using Anchor = std::optional<EntryId>;

/// The place of an entry in the order of the queue.
struct QueuePlace
{
    /// Rises from entry to entry, with gaps, so that an edit changes few ranks.
    qint64 rank;
    QueueEntryPointer entry;
};

/// What an edit has done to a queue.
struct QueueChange
{
    std::vector<EntryId> removed = {};
    /// In the order of the queue.
    std::vector<QueuePlace> added = {};
    /// Other entries whose rank has changed.
    std::vector<QueuePlace> moved = {};
    /// Entries that got a new title, type or media record.
    std::vector<QueueEntryPointer> described = {};
    /// True if other entries than those removed and added have another order now.
    bool isReordered = false;

    /// True if the queue is as it was.
    [[nodiscard]] bool isEmpty() const;
};

/// The result of an edit: the change, or the error in which it ended. After an error the queue is as it was.
struct [[nodiscard]] QueueEdit
{
    QueueChange change = {};
    CMError error = {};

    [[nodiscard]] explicit operator bool() const { return error.isEmpty(); }
};

/// Entries in their order.
///
/// A value: copies cost next to nothing and share the entries, and a copy may be read while another one is edited in
/// another thread. Finding an entry and editing at one place cost some microseconds, however long the queue is.
class Queue
{
public:
    static constexpr int mostEntries = 50'000;

    Queue() = default;
    /// A stored queue, in the order of the ranks, which differ. `lastId` is the last id that was ever used.
    Queue(std::vector<QueuePlace> places, EntryId lastId);

    [[nodiscard]] int size() const { return m_order.size(); }
    [[nodiscard]] bool isEmpty() const { return m_order.isEmpty(); }
    /// `index` from 0 to size() - 1. Valid as long as this queue is not edited.
    [[nodiscard]] const QueueEntry& at(int index) const;
    /// -1: no entry has the id.
    [[nodiscard]] int indexOf(EntryId id) const;
    [[nodiscard]] bool contains(EntryId id) const { return m_ranks.find(id); }
    /// Null: no entry has the id.
    [[nodiscard]] const QueueEntry* find(EntryId id) const;
    /// All ids in their order.
    [[nodiscard]] std::vector<EntryId> ids() const;
    /// The last id that was ever used; 0: none.
    [[nodiscard]] EntryId lastId() const { return m_lastId; }

    /// Gives the items new ids and puts them behind the anchor. Errors: noSuchItem (the anchor), queueFull.
    QueueEdit insert(const Anchor& after, std::vector<QueueItem> items);
    QueueEdit append(std::vector<QueueItem> items);
    /// Removes all entries and puts the items in their place. Errors: queueFull.
    QueueEdit replace(std::vector<QueueItem> items);
    /// Errors: noSuchItem, if one of the ids is none. An id that is given twice counts once.
    QueueEdit remove(const std::vector<EntryId>& ids);
    /// Puts the entries behind the anchor in the order of `ids`; does nothing if the anchor is one of them. An id that
    /// is given twice counts once. Errors: noSuchItem.
    QueueEdit move(const std::vector<EntryId>& ids, const Anchor& after);
    QueueEdit clear();
    /// Puts all entries in a random order.
    QueueEdit shuffle(std::mt19937_64& random);
    /// Puts those entries of an earlier state of this queue that have these ids, and that are missing, where they
    /// were: behind the entry that is closest before them in both. Errors: queueFull.
    QueueEdit restore(const Queue& earlier, const std::vector<EntryId>& ids);
    /// Gives entries new titles, types and media records. Ids that are not in the queue are skipped.
    QueueEdit describe(const std::vector<QueueEntry>& entries);

private:
    using Places = std::vector<QueuePlace>;

    using Order = SharedMap<qint64, EntryId>;
    using Ranks = SharedMap<EntryId, qint64>;
    using Entries = SharedMap<EntryId, QueueEntryPointer>;

    [[nodiscard]] const QueueEntryPointer& entryAt(int index) const;
    /// The index behind the anchor; none if no entry has the id.
    [[nodiscard]] std::optional<int> indexBehind(const Anchor& anchor) const;
    [[nodiscard]] bool isAt(int index, const std::vector<EntryId>& ids) const;
    /// Empty if the queue has all these ids.
    [[nodiscard]] CMError missingOf(const std::vector<EntryId>& ids) const;
    /// The entries get the next ids, and no place yet.
    [[nodiscard]] std::vector<EntryId> makeEntries(std::vector<QueueItem> items);
    /// The indices in this queue of those of these ids that it has and the other one lacks; they rise.
    [[nodiscard]] std::vector<int> indicesMissingIn(const Queue& other, const std::vector<EntryId>& ids) const;

    /// Takes the entries out of the order. The queue has these ids.
    void take(const std::vector<EntryId>& ids);
    /// Puts the entries before the index. `placed` gets them with their ranks; `moved` entries that have new ranks.
    void put(int index, const std::vector<EntryId>& ids, Places& placed, Places& moved);
    /// Ranks for `count` entries in place of those from `begin` to `end`; empty if they would be too close.
    [[nodiscard]] std::vector<qint64> ranksFor(int begin, int end, std::size_t count, qint64 leastStep) const;

    /// By their ranks.
    Order m_order;
    Ranks m_ranks;
    Entries m_entries;
    EntryId m_lastId = 0;
};
