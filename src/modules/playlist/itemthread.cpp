#include "itemthread.h"

#include "itemcollector.h"
#include "itempreparation.h"
#include "log/dbglog.h"
#include "model/cmrequestcontext.h"
#include "refusal.h"

#include <QHash>

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <utility>

namespace {

constexpr char sourceFile[] = "src/modules/playlist/itemthread";

const log4cplus::Logger& logger()
{
    static const log4cplus::Logger instance = log4cplus::Logger::getInstance("CB_Playlist");
    return instance;
}

/// A walk that takes longer may wait for a dead mount.
constexpr std::chrono::seconds patience{5};

/// The ids of the entries that an addition made, by its answer.
std::vector<EntryId> newIds(const QVariantHash& answer)
{
    const qint64 first = answer.value(QStringLiteral("first")).toLongLong();
    const qint64 added = answer.value(QStringLiteral("added")).toLongLong();
    std::vector<EntryId> ids;
    for (EntryId id = first; id < first + added; ++id)
        ids.push_back(id);
    return ids;
}

std::vector<EntryId> unpreparedIds(const Queue& queue)
{
    std::vector<EntryId> ids;
    for (int i = 0; i < queue.size(); ++i) {
        if (!ItemPreparation::isPrepared(queue.at(i).item))
            ids.push_back(queue.at(i).id);
    }
    return ids;
}

} // namespace

class ItemThread::State : public std::enable_shared_from_this<State>
{
public:
    struct Job
    {
        PlaylistEngine::Guard guard;
        PlaylistCommands::Addition addition;
        PlaylistEngine::Completion completion;
    };

    State(PlaylistEngine& engine, QString ownPrefix) : m_engine(engine), m_ownPrefix(std::move(ownPrefix)) {}

    /// In a thread for walks.
    void walk(const Job& job)
    {
        const CMRequestContext::Scope scope(m_context);
        try {
            collect(job);
        } catch (const std::exception& exception) {
            job.completion({{}, Refusal::failed(QString::fromLocal8Bit(exception.what()))});
        }
    }

    /// False if the operation is under way: the completion is called with that one's outcome.
    [[nodiscard]] bool begin(const QString& operation, PlaylistEngine::Completion completion)
    {
        const std::lock_guard lock(m_mutex);
        std::vector<PlaylistEngine::Completion>& waiting = m_underWay[operation];
        waiting.push_back(std::move(completion));
        return waiting.size() == 1;
    }

    void complete(const QString& operation, const Outcome& outcome)
    {
        std::unique_lock lock(m_mutex);
        const std::vector<PlaylistEngine::Completion> waiting = m_underWay.take(operation);
        lock.unlock();
        for (const PlaylistEngine::Completion& completion : waiting)
            completion(outcome);
    }

    void prepare(const std::vector<EntryId>& ids)
    {
        const std::lock_guard lock(m_mutex);
        m_unprepared.insert(m_unprepared.end(), ids.begin(), ids.end());
        m_changed.notify_one();
    }

    void end()
    {
        m_context.cancel();
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
        m_changed.notify_one();
    }

    /// In the thread that prepares.
    void run()
    {
        const CMRequestContext::Scope scope(m_context);
        ItemPreparation preparation(m_engine);
        prepare(unpreparedIds(m_engine.playlist()->queue()));
        while (waitForWork(preparation))
            proceed(preparation);
    }

private:
    /// False at the end. Passes on what is to be prepared.
    [[nodiscard]] bool waitForWork(ItemPreparation& preparation)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_isEnding || !m_unprepared.empty() || !preparation.isIdle(); });
        if (!m_unprepared.empty())
            preparation.add(m_unprepared);
        m_unprepared.clear();
        return !m_isEnding;
    }

    /// What cannot be prepared now stays as it is.
    static void proceed(ItemPreparation& preparation)
    {
        try {
            preparation.proceed();
        } catch (const std::exception& exception) {
            DBGLOG(
                logger(), log4cplus::WARN_LOG_LEVEL, (DbgLogSite{sourceFile, __LINE__, __func__}),
                "entries were not prepared: " << exception.what());
        }
    }

    void collect(const Job& job)
    {
        ItemCollector collector(m_ownPrefix);
        if (const CMError error = collector.collect(job.addition.paths); !error.isEmpty())
            return job.completion({{}, error});
        const auto command = [items = collector.takeItems(), missing = collector.missing(),
                              add = job.addition.add](Playlist& playlist, qint64 now) {
            Outcome outcome = (playlist.*add)(items, now);
            if (outcome && !missing.isEmpty())
                outcome.answer.insert(QStringLiteral("missing"), QVariant(missing).toList());
            return outcome;
        };
        m_engine.post(
            job.guard, command, [self = shared_from_this(), completion = job.completion](const Outcome& outcome) {
                completion(outcome);
                if (outcome)
                    self->prepare(newIds(outcome.answer));
            });
    }

    PlaylistEngine& m_engine;
    const QString m_ownPrefix;
    CMRequestContext m_context;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<EntryId> m_unprepared;
    bool m_isEnding = false;
    /// Who waits for the operations that are walking, by their texts.
    QHash<QString, std::vector<PlaylistEngine::Completion>> m_underWay;
};

ItemThread::ItemThread(PlaylistEngine& engine, const QString& ownPrefix)
    : m_engine(engine), m_state(std::make_shared<State>(engine, ownPrefix)), m_walks(patience),
      m_thread([state = m_state] { state->run(); })
{
}

ItemThread::~ItemThread()
{
    m_state->end();
    m_thread.join();
}

void ItemThread::add(
    const PlaylistEngine::Guard& guard, const PlaylistCommands::Addition& addition,
    PlaylistEngine::Completion completion)
{
    if (const std::optional<QVariantHash> answer = m_engine.answerTo(guard.operation))
        return completion({*answer, CMError()});
    if (!guard.operation.isEmpty()) {
        if (!m_state->begin(guard.operation, std::move(completion)))
            return;
        completion = [state = m_state, operation = guard.operation](const Outcome& outcome) {
            state->complete(operation, outcome);
        };
    }
    m_walks.start([state = m_state, job = State::Job{guard, addition, std::move(completion)}] { state->walk(job); });
}

void ItemThread::restore(
    const PlaylistEngine::Guard& guard, PlaylistCommands::Restoration restoration,
    PlaylistEngine::Completion completion)
{
    const auto unprepared = std::make_shared<std::vector<EntryId>>();
    const auto command = [restore = std::move(restoration.command), unprepared](Playlist& playlist, qint64 now) {
        Outcome outcome = restore(playlist, now);
        for (const QueuePlace& place : playlist.change().added) {
            if (!ItemPreparation::isPrepared(place.entry->item))
                unprepared->push_back(place.entry->id);
        }
        return outcome;
    };
    const auto complete = [state = m_state, unprepared, completion = std::move(completion)](const Outcome& outcome) {
        completion(outcome);
        if (outcome)
            state->prepare(*unprepared);
    };
    m_engine.post(guard, command, complete);
}
