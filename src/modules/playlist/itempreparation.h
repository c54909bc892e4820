#pragma once

#include "playlistengine.h"

#include <QElapsedTimer>
#include <QVariantHash>

#include <deque>
#include <vector>

/// Gives entries the titles and media records that the worker of their items makes from the tags.
///
/// The entries that are ready wait for others, so that few versions of the queue come out. For one thread; the engine
/// must outlive it.
class ItemPreparation
{
public:
    explicit ItemPreparation(PlaylistEngine& engine);

    /// Whether the item has its tags.
    [[nodiscard]] static bool isPrepared(const QueueItem& item);

    /// Their items are all of the same worker.
    void add(const std::vector<EntryId>& ids);
    [[nodiscard]] bool isIdle() const { return m_waiting.empty() && m_ready.empty(); }
    /// Prepares some entries, and publishes those that are ready if it is time.
    void proceed();

private:
    /// Entries that are prepared by one request.
    [[nodiscard]] std::vector<QueueEntry> takeBatch(const Playlist& playlist);
    void prepare(std::vector<QueueEntry> batch);
    [[nodiscard]] bool isDue() const;
    void publish();

    PlaylistEngine& m_engine;
    std::deque<EntryId> m_waiting;
    std::vector<QueueEntry> m_ready;
    QElapsedTimer m_sincePublished;
    qint64 m_pause;
};
