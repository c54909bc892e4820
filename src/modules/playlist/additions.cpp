#include "additions.h"

#include "itemcollector.h"
#include "itempreparation.h"
#include "model/cmrequestcontext.h"
#include "refusal.h"

#include <QHash>

#include <chrono>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

namespace {

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

/// The worker that has the item, as its path names it.
QStringRef workerOf(const QueueItem& item)
{
    return item.source.leftRef(item.source.indexOf(u'/', 1));
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

class Additions::State : public std::enable_shared_from_this<State>
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

    /// Each worker has threads of its own, since those that wait for a dead mount may hang.
    void prepare(const std::vector<EntryId>& ids)
    {
        std::map<QString, std::vector<EntryId>> idsOfWorkers;
        const std::shared_ptr<const Playlist> playlist = m_engine.playlist();
        for (const EntryId id : ids) {
            if (const QueueEntry* const entry = playlist->queue().find(id))
                idsOfWorkers[workerOf(entry->item).toString()].push_back(id);
        }
        const std::lock_guard lock(m_mutex);
        if (m_isEnding)
            return;
        for (const auto& [worker, itsIds] : idsOfWorkers) {
            if (ItemPreparation* const preparation = preparationOfLocked(worker))
                preparation->add(itsIds);
        }
    }

    void prepareAll() { prepare(unpreparedIds(m_engine.playlist()->queue())); }

    void end()
    {
        m_context.cancel();
        std::map<QString, std::unique_ptr<ItemPreparation>> preparing;
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
        preparing.swap(m_preparing);
    }

private:
    /// Null if the system has no thread left now: the entries stay as they are.
    [[nodiscard]] ItemPreparation* preparationOfLocked(const QString& worker)
    {
        try {
            std::unique_ptr<ItemPreparation>& preparation = m_preparing[worker];
            if (!preparation)
                preparation = std::make_unique<ItemPreparation>(m_engine);
            return preparation.get();
        } catch (const std::system_error&) {
            return nullptr;
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
    bool m_isEnding = false;
    std::map<QString, std::unique_ptr<ItemPreparation>> m_preparing;
    /// Who waits for the operations that are walking, by their texts.
    QHash<QString, std::vector<PlaylistEngine::Completion>> m_underWay;
};

Additions::Additions(PlaylistEngine& engine, const QString& ownPrefix)
    : m_engine(engine), m_state(std::make_shared<State>(engine, ownPrefix)), m_walks(patience)
{
    m_walks.start([state = m_state] { state->prepareAll(); });
}

Additions::~Additions()
{
    m_state->end();
}

void Additions::add(
    const PlaylistEngine::Guard& guard, const PlaylistCommands::Addition& addition,
    PlaylistEngine::Completion completion)
{
    if (!guard.operation.isEmpty()) {
        if (!m_state->begin(guard.operation, std::move(completion)))
            return;
        completion = [state = m_state, operation = guard.operation](const Outcome& outcome) {
            state->complete(operation, outcome);
        };
    }
    // The one before may have ended just now.
    if (const std::optional<QVariantHash> answer = m_engine.answerTo(guard.operation))
        return completion({*answer, CMError()});
    m_walks.start([state = m_state, job = State::Job{guard, addition, std::move(completion)}] { state->walk(job); });
}

void Additions::restore(
    const PlaylistEngine::Guard& guard, PlaylistCommands::Restoration restoration,
    PlaylistEngine::Completion completion)
{
    const auto restored = std::make_shared<std::vector<EntryId>>();
    const auto command = [restore = std::move(restoration.command), restored](Playlist& playlist, qint64 now) {
        Outcome outcome = restore(playlist, now);
        for (const QueuePlace& place : playlist.change().added)
            restored->push_back(place.entry->id);
        return outcome;
    };
    const auto complete = [state = m_state, restored, completion = std::move(completion)](const Outcome& outcome) {
        completion(outcome);
        if (outcome)
            state->prepare(*restored);
    };
    m_engine.post(guard, command, complete);
}
