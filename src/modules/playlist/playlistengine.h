#pragma once

#include "operationanswers.h"
#include "playlist.h"

#include <QSemaphore>
#include <QString>
#include <QtGlobal>

#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

/// Runs commands on the playlist one after the other, in a thread of its own, and stores what they change.
///
/// A command runs on a copy. What it has changed is stored first, in one transaction; then it is published, and then
/// the command is answered: what was answered survives a killed process. If it cannot be stored, an edit of the queue
/// ends in an error and nothing has changed; the player continues without being stored.
class PlaylistEngine
{
public:
    struct Settings
    {
        /// Where the file queue.sqlite is kept; created if it is missing. Empty: nothing is kept.
        QString directory = {};
        /// No version is below this one.
        int firstVersion = 1;
        /// Of all that is random.
        quint64 seed = 0;
        /// Milliseconds since 1970. Called in the engine's thread.
        std::function<qint64()> clock = {};
    };

    /// What a client may wrap around a command.
    struct Guard
    {
        /// The command is refused (conflict) if an edit came after this version.
        std::optional<int> version = {};
        /// The same text again gets the same answer, and nothing is done. Empty: none. The last 1,000 are kept.
        QString operation = {};
    };

    struct Publication
    {
        std::shared_ptr<const Playlist> playlist;
        bool hasNewRows;
        bool hasNewPlayer;
        bool hasNewOutputs;
    };

    using Command = std::function<Outcome(Playlist& playlist, qint64 now)>;
    using Completion = std::function<void(const Outcome&)>;
    using Listener = std::function<void(const Publication&)>;

    /// Returns when the stored playlist has been read. The listener is called in the engine's thread, after each change
    /// and before the command that made it is answered; it must not wait for the engine. May be empty.
    PlaylistEngine(Settings settings, Listener listener);
    /// Runs and answers what was posted before.
    ~PlaylistEngine();
    Q_DISABLE_COPY_MOVE(PlaylistEngine)

    /// Runs the command after those that were posted before. The completion is called in the engine's thread when
    /// everything is stored and published; it must not wait for the engine, and may be empty. Any thread.
    void post(Guard guard, Command command, Completion completion);

    /// The answer to an operation that was made before; none: it is unknown. Any thread; never waits for a command.
    [[nodiscard]] std::optional<QVariantHash> answerTo(const QString& operation) const;

    /// The playlist as published last; it does not change any more. Any thread; never waits for a command.
    [[nodiscard]] std::shared_ptr<const Playlist> playlist() const;

private:
    class Runner;
    struct Task
    {
        Guard guard;
        Command command;
        Completion completion;
    };

    void run(std::promise<void>& isLoaded);
    /// None: the engine ends.
    [[nodiscard]] std::optional<Task> nextTask();
    void publish(const std::shared_ptr<const Playlist>& playlist);

    const Settings m_settings;
    const Listener m_listener;
    OperationAnswers m_answers;

    /// Counts the tasks, and at last the end.
    QSemaphore m_wakeUps;
    /// Guards what follows; a leaf.
    mutable std::mutex m_mutex;
    std::deque<Task> m_tasks;
    std::shared_ptr<const Playlist> m_playlist;

    std::thread m_thread;
};
