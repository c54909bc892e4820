#pragma once

#include "model/cmrequestcontext.h"
#include "playlistengine.h"

#include <QtGlobal>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

/// Prepares the entries of one worker in a thread of its own, which may wait for it.
class PreparingThread
{
public:
    /// The engine must outlive it.
    explicit PreparingThread(PlaylistEngine& engine);
    /// Cancels the request that is under way and waits for it.
    ~PreparingThread();
    Q_DISABLE_COPY_MOVE(PreparingThread)

    /// Any thread.
    void add(const std::vector<EntryId>& ids);

private:
    void run();

    PlaylistEngine& m_engine;
    CMRequestContext m_context;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<EntryId> m_added;
    bool m_isEnding = false;
    std::thread m_thread;
};
