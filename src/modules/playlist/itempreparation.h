#pragma once

#include "model/cmrequestcontext.h"
#include "playlistengine.h"

#include <QElapsedTimer>
#include <QtGlobal>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

/// Gives the entries of one worker the titles and media records that the worker makes from the tags, in threads of its
/// own, which may wait for the worker.
///
/// The entries that are ready wait for others, so that few versions of the queue come out.
class ItemPreparation
{
public:
    /// The engine must outlive it. Throws std::system_error if the system has no thread left.
    explicit ItemPreparation(PlaylistEngine& engine);
    /// Cancels the requests that are under way and waits for them.
    ~ItemPreparation();
    Q_DISABLE_COPY_MOVE(ItemPreparation)

    /// Whether the item has its tags.
    [[nodiscard]] static bool isPrepared(const QueueItem& item);

    /// Any thread.
    void add(const std::vector<EntryId>& ids);

private:
    void run();
    void prepare(const std::vector<EntryId>& batch);
    void publishLocked();

    PlaylistEngine& m_engine;
    CMRequestContext m_context;

    /// Guards the members below, except for the threads.
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isEnding = false;
    std::deque<EntryId> m_waiting;
    std::vector<QueueEntry> m_ready;
    QElapsedTimer m_sincePublished;
    /// Milliseconds.
    qint64 m_pause;

    std::vector<std::thread> m_threads;
};
