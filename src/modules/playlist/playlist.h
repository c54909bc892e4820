#pragma once

#include "model/cmerror.h"
#include "player.h"
#include "queue.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QtGlobal>

#include <memory>
#include <optional>
#include <random>
#include <vector>

/// How a command ended: with an answer, or with an error.
struct [[nodiscard]] Outcome
{
    /// Texts and numbers, expressible in JSON.
    QVariantHash answer = {};
    CMError error = {};

    [[nodiscard]] explicit operator bool() const { return error.isEmpty(); }
};

/// The queue, the player and the outputs: everything that clients see, and every command.
///
/// A value: copies are cheap and share the entries. A command that ends in an error leaves things as they were. `now`
/// is in milliseconds since 1970.
///
/// Every edit of the queue that changes something makes a version; so do new descriptions of entries, which are no
/// edits. Edits answer {version}; those that take entries away also {undo}; those that add entries {added, first,
/// version}. Commands to the player answer {serial}.
class Playlist
{
public:
    /// An empty one. `version` is that of the empty queue; `seed` that of all that is random.
    explicit Playlist(int version = 0, quint64 seed = 0);
    /// A stored one. `lastEdit` is the version of the last edit.
    Playlist(Queue queue, const PlayerState& player, int version, int lastEdit, quint64 seed);

    [[nodiscard]] const Queue& queue() const { return m_queue; }
    [[nodiscard]] const PlayerState& player() const { return m_player.state(); }
    /// Where the current entry has got to, in milliseconds.
    [[nodiscard]] qint64 positionAt(qint64 now) const { return m_player.positionAt(now); }
    /// The names of the outputs, in the order in which they were offered.
    [[nodiscard]] const QStringList& outputs() const { return m_outputs; }
    /// Of the queue's rows.
    [[nodiscard]] int version() const { return m_version; }
    /// The version that the last edit made; what only describes entries does not count.
    [[nodiscard]] int lastEdit() const { return m_lastEdit; }

    /// Appends. Errors: noSuchItem (no items), queueFull; so in the next three.
    Outcome addToQueue(std::vector<QueueItem> items, qint64 now);
    /// Inserts behind the current entry, without one at the head.
    Outcome playNext(std::vector<QueueItem> items, qint64 now);
    /// As playNext(), and plays the first of them; without an output it is paused.
    Outcome playNow(std::vector<QueueItem> items, qint64 now);
    /// Replaces all entries and plays the first; without an output it is paused. Answers {undo}, too.
    Outcome replaceQueue(std::vector<QueueItem> items, qint64 now);
    /// Answers {undo}, too. Errors: noSuchItem.
    Outcome remove(const std::vector<EntryId>& ids, qint64 now);
    /// As Queue::move(). Errors: noSuchItem.
    Outcome move(const std::vector<EntryId>& ids, const Anchor& after, qint64 now);
    /// Answers {undo}, too.
    Outcome clear(qint64 now);
    Outcome shuffleQueue(qint64 now);
    /// Brings back what the edit that answered {undo: token} has removed; after replaceQueue() the queue is again as it
    /// was. A token works once, and the last ones only. Errors: noSuchItem, queueFull.
    Outcome undo(int token, qint64 now);
    /// New titles, types and media records; what is not in the queue any more is skipped. Answers {version}.
    Outcome describe(const std::vector<QueueEntry>& entries);

    /// As the functions of Player.
    Outcome play(std::optional<EntryId> id, qint64 now);
    Outcome pause(qint64 now);
    Outcome stop(qint64 now);
    Outcome next(qint64 now);
    Outcome previous(qint64 now);
    Outcome seek(qint64 position, qint64 now);
    Outcome setVolume(int volume);
    Outcome setRepeat(Repeat repeat);
    Outcome setShuffle(bool shuffle);
    /// Empty: none. Errors: noOutput, if nobody offers the output.
    Outcome setOutput(const QString& name, qint64 now);

    /// Does nothing if the output is there already.
    Outcome offerOutput(const QString& name);
    /// The player pauses if this was its output.
    Outcome withdrawOutput(const QString& name, qint64 now);
    /// As Player::report(). Errors: noOutput, if the output is not the active one.
    Outcome report(const QString& output, const OutputReport& report, qint64 now);

    /// What the commands have done to the queue since the last takeChange().
    [[nodiscard]] const QueueChange& change() const { return m_change; }
    /// What the commands have done to the queue since the last call.
    [[nodiscard]] QueueChange takeChange();

private:
    /// What an edit took away.
    struct Removal
    {
        int token;
        Queue before;
        std::vector<EntryId> removed;
        /// What replaced it.
        std::vector<EntryId> added;
        std::optional<EntryId> current;
        qint64 position;
    };

    Outcome edited(const Queue& before, const QueueEdit& edit, bool isNext, qint64 now);
    Outcome added(const Queue& before, const QueueEdit& edit, bool isNext, qint64 now);
    Outcome removed(const Queue& before, const QueueEdit& edit, qint64 now);
    /// Answers the token, too.
    void keepRemoval(
        const Queue& before, const QueueChange& change, std::optional<EntryId> current, qint64 position,
        Outcome& outcome);
    void makeVersion();
    Outcome versionAnswer() const;
    Outcome serialAnswer(const CMError& error = {}) const;

    Queue m_queue;
    Player m_player;
    QStringList m_outputs;
    int m_version;
    int m_lastEdit;
    QueueChange m_change;
    /// The oldest first.
    std::vector<std::shared_ptr<const Removal>> m_removals;
    std::mt19937_64 m_random;
};
