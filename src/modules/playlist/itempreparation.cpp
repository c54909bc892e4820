#include "itempreparation.h"

#include "itemcollector.h"
#include "model/cmroot.h"
#include "storedjson.h"
#include "tavo/tavokeys.h"
#include "tavo/tavomedia.h"
#include "tavo/tavoroles.h"

#include <QHash>

#include <algorithm>

namespace {

/// Items of a request: more would let a new addition wait for too long.
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

} // namespace

ItemPreparation::ItemPreparation(PlaylistEngine& engine) : m_engine(engine), m_pause(shortestPause) {}

bool ItemPreparation::isPrepared(const QueueItem& item)
{
    const TavoMediaData media(StoredJson::toValue(item.mediaJson).toHash());
    return media.metaData().fields().contains(TavoRoles::Title());
}

void ItemPreparation::add(const std::vector<EntryId>& ids)
{
    if (isIdle()) {
        m_pause = shortestPause;
        m_sincePublished.start();
    }
    m_waiting.insert(m_waiting.end(), ids.begin(), ids.end());
}

void ItemPreparation::proceed()
{
    if (!m_waiting.empty())
        prepare(takeBatch(*m_engine.playlist()));
    if (m_waiting.empty() || isDue())
        publish();
}

std::vector<QueueEntry> ItemPreparation::takeBatch(const Playlist& playlist)
{
    std::vector<QueueEntry> batch;
    for (; !m_waiting.empty() && batch.size() < batchSize; m_waiting.pop_front()) {
        const QueueEntry* const entry = playlist.queue().find(m_waiting.front());
        if (!entry || isPrepared(entry->item))
            continue;
        if (ItemCollector::isInside(CMPath::fromEncoded(entry->item.source)))
            batch.push_back(*entry);
    }
    return batch;
}

void ItemPreparation::prepare(std::vector<QueueEntry> batch)
{
    if (batch.empty())
        return;
    const QString prefix = CMPath::fromEncoded(batch.front().item.source).prefix();
    const QHash<QString, QVariantHash> items = prepared(prefix, batch);
    for (QueueEntry& entry : batch) {
        const auto item = items.constFind(entry.item.source);
        if (item == items.cend())
            continue;
        entry.item.title = item->value(TavoRoles::Title()).toString();
        entry.item.mediaJson = StoredJson::fromValue(item->value(TavoRoles::MediaData()));
        m_ready.push_back(std::move(entry));
    }
}

bool ItemPreparation::isDue() const
{
    return m_sincePublished.hasExpired(m_pause);
}

void ItemPreparation::publish()
{
    if (!m_ready.empty()) {
        m_engine.post(
            {}, [entries = std::move(m_ready)](Playlist& playlist, qint64) { return playlist.describe(entries); }, {});
        m_ready.clear();
    }
    m_pause = std::min(2 * m_pause, longestPause);
    m_sincePublished.restart();
}
