#include "rpc/sharedlistings.h"

#include "content/failures.h"
#include "process/freememory.h"
#include "process/guardedcall.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <type_traits>
#include <utility>

namespace {

/// Entries of a listing whose memory is worth returning to the system.
constexpr int largeListing = 100'000;

using Range = SharedListings::Range;
using Request = SharedListings::Request;

bool operator==(const Range& a, const Range& b)
{
    return a.first == b.first && a.last == b.last;
}

bool isEmpty(const Range& range)
{
    return range.last < range.first;
}

/// The request must end even when memory is short: a failure that needs none.
template<typename Compute>
std::invoke_result_t<Compute> guarded(const Compute& compute)
{
    try {
        return Failures::guarded(compute);
    } catch (...) {
        logException();
        return Failures::busy();
    }
}

/// Whether one listing of both, with the rows between them, costs less than two. The other range begins no earlier.
bool isWorthSharing(const Request& request, const Range& range, const Range& other, int entries)
{
    if (isEmpty(range) || isEmpty(other))
        return true;
    const qint64 between = std::max(qint64{0}, other.first - range.last - 1);
    return between <= entries / request.entriesPerRow &&
           std::max(range.last, other.last) - range.first < request.mostRows;
}

void extend(Range& range, const Range& other)
{
    if (isEmpty(range))
        range = other;
    else if (!isEmpty(other))
        range.last = std::max(range.last, other.last);
}

Content::Page part(const Content::Page& page, const Range& listed, const Range& range)
{
    if (listed == range)
        return page;
    Content::Page part = page;
    const qint64 offset = std::min(range.first - listed.first, qint64{page.rows.size()});
    part.rows = isEmpty(range)
                    ? QVariantList()
                    : page.rows.mid(static_cast<int>(offset), static_cast<int>(range.last - range.first + 1));
    return part;
}

} // namespace

void SharedListings::run(const Request& request, Receive receive)
{
    Queue queue(1);
    if (!begin(request, receive))
        return;
    // Throws nothing from here on, which would leave the request in the table.
    queue.front() = {request.range, std::move(receive)};
    int entries = 0;
    for (; !queue.empty(); queue = takeJoined(request.key)) {
        entries = answer(request, queue, entries);
        // The allocator would keep the memory of names and rows, which may be more than a small device can spare.
        if (entries >= largeListing)
            returnFreeMemory();
    }
}

int SharedListings::answer(const Request& request, Queue& queue, int entries)
{
    std::sort(queue.begin(), queue.end(), [](const Waiting& a, const Waiting& b) {
        return std::tie(a.range.first, a.range.last) < std::tie(b.range.first, b.range.last);
    });
    for (auto next = queue.begin(); next != queue.end();) {
        const auto begin = next;
        Range range = begin->range;
        while (++next != queue.end() && isWorthSharing(request, range, next->range, entries))
            extend(range, next->range);
        ++m_listings;
        const Result<Content::Page> page = guarded([&] { return request.list(range); });
        if (page)
            entries = page.value().count;
        send(request, page, range, begin, next);
    }
    return entries;
}

void SharedListings::send(
    const Request& request, const Result<Content::Page>& page, const Range& listed, Queue::iterator begin,
    Queue::iterator end)
{
    const auto textFor = [&](const Range& range) {
        return page ? request.write(part(page.value(), listed, range)) : Result<QByteArray>(page.failure());
    };
    Result<QByteArray> text = Failures::busy();
    for (auto waiting = begin; waiting != end; ++waiting) {
        if (waiting == begin || !(waiting->range == std::prev(waiting)->range))
            text = guarded([&] { return textFor(waiting->range); });
        callGuarded([&] { waiting->receive(text); });
        // It may hold what its client needs for the next request.
        waiting->receive = nullptr;
    }
}

bool SharedListings::begin(const Request& request, Receive& receive)
{
    const std::lock_guard lock(m_mutex);
    if (joinLocked(request, receive))
        return false;
    m_joined.insert(request.key, {});
    return true;
}

bool SharedListings::join(const Request& request, Receive receive)
{
    const std::lock_guard lock(m_mutex);
    return joinLocked(request, receive);
}

bool SharedListings::joinLocked(const Request& request, Receive& receive)
{
    const auto joined = m_joined.find(request.key);
    if (joined == m_joined.end())
        return false;
    joined->push_back({request.range, std::move(receive)});
    return true;
}

bool SharedListings::isComputing(const QByteArray& key)
{
    const std::lock_guard lock(m_mutex);
    return m_joined.contains(key);
}

SharedListings::Queue SharedListings::takeJoined(const QByteArray& key)
{
    const std::lock_guard lock(m_mutex);
    Queue joined = std::exchange(m_joined[key], {});
    if (joined.empty())
        m_joined.remove(key);
    return joined;
}
