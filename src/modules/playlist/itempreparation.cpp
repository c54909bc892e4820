#include "itempreparation.h"

#include "itemcollector.h"
#include "log/dbglog.h"
#include "model/cmroot.h"
#include "storedjson.h"
#include "tavo/tavokeys.h"
#include "tavo/tavomedia.h"
#include "tavo/tavoroles.h"

#include <QHash>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

namespace {

/// While one waits for the disk, the other one parses.
constexpr std::size_t threadCount = 2;

/// Items of a request: more would let the first tags wait for too long.
constexpr std::size_t batchSize = 32;

/// Milliseconds between versions: the first tags are in view soon, and thousands of others make few versions.
constexpr qint64 shortestPause = 250;
constexpr qint64 longestPause = 4000;

/// The items that the worker makes, by their paths.
QHash<QString, QVariantHash> prepared(const QString& prefix, const std::vector<QueueEntry>& entries)
{
    QVariantList paths;
    for (const QueueEntry& entry : entries)
        paths.append(entry.item.source);
    const CMSetDataRequest request(CMPath(prefix, TavoPlayListPrepareItems()), paths);
    CMRoot()->request(request);
    QHash<QString, QVariantHash> items;
    // A worker answers before it returns, or has no such service.
    for (const QVariant& item : request.reply().value().toList()) {
        const auto fields = item.value<QVariantHash>();
        items.insert(fields.value(TavoRoles::Path()).toString(), fields);
    }
    return items;
}

/// Those of the entries that the queue has and that lack their tags.
std::vector<QueueEntry> unprepared(const Queue& queue, const std::vector<EntryId>& ids)
{
    std::vector<QueueEntry> entries;
    for (const EntryId id : ids) {
        const QueueEntry* const entry = queue.find(id);
        if (entry && !ItemPreparation::isPrepared(entry->item) &&
            ItemCollector::mayShow(CMPath::fromEncoded(entry->item.source)))
            entries.push_back(*entry);
    }
    return entries;
}

/// The entries as their worker describes them; without those that it does not know.
std::vector<QueueEntry> described(const std::vector<QueueEntry>& entries)
{
    if (entries.empty())
        return {};
    const QHash<QString, QVariantHash> items =
        prepared(CMPath::fromEncoded(entries.front().item.source).prefix(), entries);
    std::vector<QueueEntry> described;
    for (QueueEntry entry : entries) {
        const auto item = items.constFind(entry.item.source);
        if (item == items.cend())
            continue;
        entry.item.title = item->value(TavoRoles::Title()).toString();
        entry.item.mediaJson = StoredJson::fromValue(item->value(TavoRoles::MediaData()));
        described.push_back(std::move(entry));
    }
    return described;
}

void warn(const char* reason)
{
    static const log4cplus::Logger logger = log4cplus::Logger::getInstance("CB_Playlist");
    DBGLOG(
        logger, log4cplus::WARN_LOG_LEVEL, (DbgLogSite{"src/modules/playlist/itempreparation", __LINE__, __func__}),
        "entries were not prepared: " << reason);
}

} // namespace

ItemPreparation::ItemPreparation(PlaylistEngine& engine) : m_engine(engine), m_pause(shortestPause)
{
    try {
        while (m_threads.size() < threadCount)
            m_threads.emplace_back([this] { run(); });
    } catch (const std::exception&) {
        // One thread is enough.
        if (m_threads.empty())
            throw;
    }
}

ItemPreparation::~ItemPreparation()
{
    m_context.cancel();
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
}

bool ItemPreparation::isPrepared(const QueueItem& item)
{
    const TavoMediaData media(StoredJson::toValue(item.mediaJson).toHash());
    return media.metaData().fields().contains(TavoRoles::Title());
}

void ItemPreparation::add(const std::vector<EntryId>& ids)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_waiting.empty() && m_ready.empty()) {
            m_pause = shortestPause;
            m_sincePublished.start();
        }
        m_waiting.insert(m_waiting.end(), ids.begin(), ids.end());
    }
    m_changed.notify_all();
}

void ItemPreparation::run()
{
    const CMRequestContext::Scope scope(m_context);
    std::vector<EntryId> batch;
    batch.reserve(batchSize);
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isEnding || !m_waiting.empty(); });
        if (m_isEnding)
            return;
        batch.clear();
        for (; !m_waiting.empty() && batch.size() < batchSize; m_waiting.pop_front())
            batch.push_back(m_waiting.front());
        lock.unlock();
        prepare(batch);
        lock.lock();
    }
}

void ItemPreparation::prepare(const std::vector<EntryId>& batch)
{
    // Entries that cannot be prepared now stay as they are.
    try {
        std::vector<QueueEntry> ready = described(unprepared(m_engine.playlist()->queue(), batch));
        const std::lock_guard lock(m_mutex);
        std::move(ready.begin(), ready.end(), std::back_inserter(m_ready));
        if (m_waiting.empty() || m_sincePublished.hasExpired(m_pause))
            publishLocked();
    } catch (const std::exception& exception) {
        warn(exception.what());
    }
}

void ItemPreparation::publishLocked()
{
    if (!m_ready.empty()) {
        m_engine.post(
            {},
            [entries = std::exchange(m_ready, {})](Playlist& playlist, qint64) { return playlist.describe(entries); },
            {});
    }
    m_pause = std::min(2 * m_pause, longestPause);
    m_sincePublished.restart();
}
