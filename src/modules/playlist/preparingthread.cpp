#include "preparingthread.h"

#include "itempreparation.h"
#include "log/dbglog.h"

#include <exception>
#include <utility>

namespace {

/// What cannot be prepared now stays as it is.
void proceed(ItemPreparation& preparation)
{
    static const log4cplus::Logger logger = log4cplus::Logger::getInstance("CB_Playlist");
    try {
        preparation.proceed();
    } catch (const std::exception& exception) {
        DBGLOG(
            logger, log4cplus::WARN_LOG_LEVEL, (DbgLogSite{"src/modules/playlist/preparingthread", __LINE__, __func__}),
            "entries were not prepared: " << exception.what());
    }
}

} // namespace

PreparingThread::PreparingThread(PlaylistEngine& engine) : m_engine(engine), m_thread([this] { run(); }) {}

PreparingThread::~PreparingThread()
{
    m_context.cancel();
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void PreparingThread::add(const std::vector<EntryId>& ids)
{
    {
        const std::lock_guard lock(m_mutex);
        m_added.insert(m_added.end(), ids.begin(), ids.end());
    }
    m_changed.notify_one();
}

void PreparingThread::run()
{
    const CMRequestContext::Scope scope(m_context);
    ItemPreparation preparation(m_engine);
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [&] { return m_isEnding || !m_added.empty() || !preparation.isIdle(); });
        if (m_isEnding)
            return;
        const std::vector<EntryId> added = std::exchange(m_added, {});
        lock.unlock();
        if (!added.empty())
            preparation.add(added);
        proceed(preparation);
        lock.lock();
    }
}
