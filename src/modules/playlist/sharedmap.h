#pragma once

#include <QtGlobal>

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

/// A map in the order of its keys, whose copies share what they have in common.
///
/// A copy costs as much as that of one pointer, and may be read while another one is edited in another thread. With n
/// items a search takes O(log n) steps, and an edit copies O(√n) of them.
template<typename Key, typename Value>
class SharedMap
{
public:
    struct Item
    {
        Key key;
        Value value;
    };

    /// A new value for a key; none takes the key away.
    struct Edit
    {
        Key key;
        std::optional<Value> value;
    };

    [[nodiscard]] int size() const { return isEmpty() ? 0 : m_parts->back().end; }
    [[nodiscard]] bool isEmpty() const { return !m_parts; }

    /// `index` from 0 to size() - 1. Valid as long as this map is not edited.
    [[nodiscard]] const Item& at(int index) const
    {
        Q_ASSERT(index >= 0 && index < size());
        const auto part = std::upper_bound(
            m_parts->cbegin(), m_parts->cend(), index, [](int i, const Part& candidate) { return i < candidate.end; });
        return *(part->items->cend() - (part->end - index));
    }

    /// Null: the map does not have the key. Valid as long as this map is not edited.
    [[nodiscard]] const Value* find(const Key& key) const
    {
        const int index = indexOf(key);
        return index < 0 ? nullptr : &at(index).value;
    }

    /// -1: the map does not have the key.
    [[nodiscard]] int indexOf(const Key& key) const
    {
        if (isEmpty())
            return -1;
        const auto behind = std::upper_bound(
            m_parts->cbegin(), m_parts->cend(), key, [](const Key& k, const Part& part) { return k < part.first; });
        if (behind == m_parts->cbegin())
            return -1;
        const Part& part = *std::prev(behind);
        const auto item = std::lower_bound(
            part.items->cbegin(), part.items->cend(), key, [](const Item& i, const Key& k) { return i.key < k; });
        const bool isFound = item != part.items->cend() && item->key == key;
        return isFound ? part.end - static_cast<int>(part.items->cend() - item) : -1;
    }

    /// Calls the function with each item, in order.
    template<typename Function>
    void forEach(const Function& function) const
    {
        if (isEmpty())
            return;
        for (const Part& part : *m_parts)
            std::for_each(part.items->cbegin(), part.items->cend(), function);
    }

    /// Of two edits of one key the later one counts.
    void apply(std::vector<Edit> edits)
    {
        if (edits.empty())
            return;
        const auto isLower = [](const Edit& a, const Edit& b) { return a.key < b.key; };
        if (!std::is_sorted(edits.cbegin(), edits.cend(), isLower))
            std::stable_sort(edits.begin(), edits.end(), isLower);
        const std::shared_ptr<const Parts> old = isEmpty() ? std::make_shared<const Parts>(1) : m_parts;
        Parts parts;
        parts.reserve(old->size() + 1);
        auto begin = edits.begin();
        for (auto part = old->cbegin(); part != old->cend(); ++part) {
            const auto next = std::next(part);
            const auto end =
                next == old->cend()
                    ? edits.end()
                    : std::find_if(begin, edits.end(), [&next](const Edit& edit) { return !(edit.key < next->first); });
            if (begin == end && part->items)
                appendPart(parts, part->items);
            else
                appendItems(parts, edited(part->items, begin, end));
            begin = end;
        }
        m_parts = parts.empty() ? nullptr : std::make_shared<const Parts>(std::move(parts));
    }

private:
    static constexpr std::size_t mostInPart = 256;
    /// Neighbours that have no more than so many together become one.
    static constexpr std::size_t fewInPart = 64;

    using Items = std::vector<Item>;
    /// Never empty.
    struct Part
    {
        /// The index behind its last item.
        int end = 0;
        Key first = {};
        std::shared_ptr<const Items> items;
    };
    using Parts = std::vector<Part>;
    using EditIterator = typename std::vector<Edit>::iterator;

    /// `items` may be null, which stands for none.
    static Items edited(const std::shared_ptr<const Items>& items, EditIterator begin, EditIterator end)
    {
        static const Items none;
        const Items& old = items ? *items : none;
        Items result;
        result.reserve(old.size() + static_cast<std::size_t>(end - begin));
        auto kept = old.cbegin();
        for (auto edit = begin; edit != end; ++edit) {
            const auto from = kept;
            kept = std::lower_bound(kept, old.cend(), edit->key, [](const Item& i, const Key& k) { return i.key < k; });
            result.insert(result.end(), from, kept);
            if (kept != old.cend() && kept->key == edit->key)
                ++kept;
            const bool isLast = std::next(edit) == end || std::next(edit)->key != edit->key;
            if (isLast && edit->value)
                result.push_back({edit->key, *std::move(edit->value)});
        }
        result.insert(result.end(), kept, old.cend());
        return result;
    }

    static void appendPart(Parts& parts, std::shared_ptr<const Items> items)
    {
        if (!parts.empty() && parts.back().items->size() + items->size() <= fewInPart) {
            Items joined = *parts.back().items;
            joined.insert(joined.end(), items->cbegin(), items->cend());
            parts.pop_back();
            items = std::make_shared<const Items>(std::move(joined));
        }
        const int begin = parts.empty() ? 0 : parts.back().end;
        parts.push_back({begin + static_cast<int>(items->size()), items->front().key, std::move(items)});
    }

    /// In parts of equal size, which take more items before they are split.
    static void appendItems(Parts& parts, Items items)
    {
        if (items.empty())
            return;
        if (items.size() <= mostInPart)
            return appendPart(parts, std::make_shared<const Items>(std::move(items)));
        const std::size_t count = (2 * items.size() + mostInPart - 1) / mostInPart;
        for (std::size_t i = 0; i < count; ++i) {
            const auto at = [&](std::size_t part) {
                return std::make_move_iterator(
                    items.begin() + static_cast<std::ptrdiff_t>(part * items.size() / count));
            };
            appendPart(parts, std::make_shared<const Items>(at(i), at(i + 1)));
        }
    }

    /// Null: the map is empty.
    std::shared_ptr<const Parts> m_parts;
};
