#include "playlistengine.h"

#include "log/dbglog.h"
#include "queuestore.h"
#include "refusal.h"

#include <QDateTime>

#include <log4cplus/logger.h>

#include <algorithm>
#include <utility>

namespace {

qint64 timeOf(const std::function<qint64()>& clock)
{
    return clock ? clock() : QDateTime::currentMSecsSinceEpoch();
}

void warn(const QString& text)
{
    static const log4cplus::Logger logger = log4cplus::Logger::getInstance("tavo.playlist");
    DBGLOG(
        logger, log4cplus::WARN_LOG_LEVEL, (DbgLogSite{"src/modules/playlist/playlistengine", __LINE__, __func__}),
        text);
}

} // namespace

/// Runs single commands. Belongs to the engine's thread.
class PlaylistEngine::Runner
{
public:
    Runner(const Settings& settings, OperationAnswers& answers);

    [[nodiscard]] const std::shared_ptr<const Playlist>& playlist() const { return m_playlist; }
    Outcome run(const Guard& guard, const Command& command);
    /// To be called when the command is answered.
    void settle() { m_store.checkpoint(); }

private:
    void warnOnce(const QString& failure);

    const std::function<qint64()> m_clock;
    QueueStore m_store;
    std::shared_ptr<const Playlist> m_playlist;
    OperationAnswers& m_answers;
    bool m_hasWarned = false;
};

PlaylistEngine::Runner::Runner(const Settings& settings, OperationAnswers& answers)
    : m_clock(settings.clock), m_store(settings.directory), m_answers(answers)
{
    QueueStore::Content content = m_store.takeContent();
    const int version = std::max(content.version, settings.firstVersion);
    const int lastEdit = content.version == 0 ? version : content.lastEdit;
    m_playlist =
        std::make_shared<const Playlist>(std::move(content.queue), content.player, version, lastEdit, settings.seed);
    m_answers.set(std::move(content.operations));
}

Outcome PlaylistEngine::Runner::run(const Guard& guard, const Command& command)
{
    if (const std::optional<QVariantHash> answer = m_answers.find(guard.operation))
        return {*answer, CMError()};
    if (guard.version && *guard.version < m_playlist->lastEdit())
        return {QVariantHash(), Refusal::conflict(*guard.version, m_playlist->lastEdit())};
    const auto playlist = std::make_shared<Playlist>(*m_playlist);
    Outcome outcome = command(*playlist, timeOf(m_clock));
    if (!outcome)
        return outcome;

    const QueueChange change = playlist->takeChange();
    std::optional<Operation> operation;
    if (!guard.operation.isEmpty())
        operation = {guard.operation, outcome.answer};
    const QString failure = m_store.save(*playlist, change, operation);
    if (!failure.isEmpty() && !change.isEmpty())
        return {QVariantHash(), Refusal::notStored(failure)};
    warnOnce(failure);
    if (operation)
        m_answers.add(*operation);
    m_playlist = playlist;
    return outcome;
}

void PlaylistEngine::Runner::warnOnce(const QString& failure)
{
    if (!failure.isEmpty() && !m_hasWarned)
        warn(QStringLiteral("the player continues without being stored: ") + failure);
    m_hasWarned = !failure.isEmpty();
}

PlaylistEngine::PlaylistEngine(Settings settings, Listener listener)
    : m_settings(std::move(settings)), m_listener(std::move(listener))
{
    std::promise<void> promise;
    const std::future<void> isLoaded = promise.get_future();
    m_thread = std::thread([this, promise = std::move(promise)]() mutable { run(promise); });
    isLoaded.wait();
}

PlaylistEngine::~PlaylistEngine()
{
    m_wakeUps.release();
    m_thread.join();
}

void PlaylistEngine::post(Guard guard, Command command, Completion completion)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_tasks.push_back({std::move(guard), std::move(command), std::move(completion)});
    }
    m_wakeUps.release();
}

std::optional<QVariantHash> PlaylistEngine::answerTo(const QString& operation) const
{
    return m_answers.find(operation);
}

std::shared_ptr<const Playlist> PlaylistEngine::playlist() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_playlist;
}

void PlaylistEngine::run(std::promise<void>& isLoaded)
{
    Runner runner(m_settings, m_answers);
    m_playlist = runner.playlist();
    isLoaded.set_value();
    while (const std::optional<Task> task = nextTask()) {
        const Outcome outcome = runner.run(task->guard, task->command);
        publish(runner.playlist());
        if (task->completion)
            task->completion(outcome);
        runner.settle();
    }
}

std::optional<PlaylistEngine::Task> PlaylistEngine::nextTask()
{
    m_wakeUps.acquire();
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_tasks.empty())
        return std::nullopt;
    Task task = std::move(m_tasks.front());
    m_tasks.pop_front();
    return task;
}

void PlaylistEngine::publish(const std::shared_ptr<const Playlist>& playlist)
{
    std::shared_ptr<const Playlist> before = playlist;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_playlist.swap(before);
    }
    const Publication publication{
        playlist, playlist->version() != before->version(), playlist->player() != before->player(),
        playlist->outputs() != before->outputs()};
    if (m_listener && (publication.hasNewRows || publication.hasNewPlayer || publication.hasNewOutputs))
        m_listener(publication);
}
