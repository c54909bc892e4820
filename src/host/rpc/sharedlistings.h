#pragma once

#include "content/content.h"
#include "content/result.h"

#include <QByteArray>
#include <QHash>

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

/// Lets requests for rows of the same directory share its listing: those that arrive while one of them is computed wait
/// for it and share the next listing. Equal ones share the text of the answer, too. No request gets an answer that was
/// begun before the request came. Thread-safe.
class SharedListings
{
public:
    /// Rows from the first to the last one, inclusive; empty if the last one comes before the first.
    struct Range
    {
        qint64 first;
        qint64 last;
    };

    struct Request
    {
        /// Requests with equal keys differ in nothing but the range.
        QByteArray key;
        Range range;
        /// The most rows of one listing.
        qint64 mostRows;
        /// How many entries are listed in the time in which a row is built, roughly.
        int entriesPerRow;
        /// The page with the rows of a range.
        std::function<Result<Content::Page>(const Range&)> list;
        std::function<Result<QByteArray>(const Content::Page&)> write;
    };

    using Receive = std::function<void(const Result<QByteArray>&)>;

    /// Computes the answer in the calling thread, also for those that join meanwhile; or returns at once if a request
    /// with this key is being computed, and has this one answered by that thread.
    void run(const Request& request, Receive receive);
    /// As run(), but false, without any effect, if no request with this key is being computed.
    [[nodiscard]] bool join(const Request& request, Receive receive);
    [[nodiscard]] bool isComputing(const QByteArray& key);

    /// How many listings there have been so far.
    [[nodiscard]] qint64 listings() const { return m_listings; }

private:
    struct Waiting
    {
        Range range;
        Receive receive;
    };
    using Queue = std::vector<Waiting>;

    /// False if the receiver joins the request that is being computed.
    [[nodiscard]] bool begin(const Request& request, Receive& receive);
    [[nodiscard]] bool joinLocked(const Request& request, Receive& receive);
    /// Those that have joined; empty if there are none, and then the request has ended.
    [[nodiscard]] Queue takeJoined(const QByteArray& key);
    /// With as few listings as are worth it. `entries`: of the directory, as known so far; returns what is known then.
    int answer(const Request& request, Queue& queue, int entries);
    /// Each gets its part of the page that was listed.
    static void send(
        const Request& request, const Result<Content::Page>& page, const Range& listed, Queue::iterator begin,
        Queue::iterator end);

    std::atomic<qint64> m_listings = 0;
    std::mutex m_mutex;
    /// Of the requests that are being computed: who waits for the next listing.
    QHash<QByteArray, Queue> m_joined;
};
