#pragma once

#include "model/cmerror.h"
#include "queue.h"
#include "queueentry.h"

#include <QString>
#include <QVector>
#include <QtGlobal>

#include <optional>
#include <random>
#include <vector>

enum class PlayState { Stopped, Paused, Playing };
enum class Repeat { Off, All, One };

/// What clients see of the player.
struct PlayerState
{
    /// As commanded; playing only with an output.
    PlayState state = PlayState::Stopped;
    std::optional<EntryId> current = {};
    /// The entry that follows by itself when the current one ends.
    std::optional<EntryId> next = {};
    /// Of the current entry, in milliseconds; it was so at `at`.
    qint64 position = 0;
    /// Milliseconds since 1970.
    qint64 at = 0;
    /// Rises with each command, and with each change that the output has to obey and did not cause.
    qint64 serial = 0;
    /// The name of the active output; empty: none.
    QString output = {};
    /// 0 to 100.
    int volume = 100;
    Repeat repeat = Repeat::Off;
    bool shuffle = false;
    /// The entry that could not be played last, and why, until an entry is played; null: none.
    std::optional<EntryId> failed = {};
    QString failure = {};

    friend bool operator==(const PlayerState& a, const PlayerState& b);
    friend bool operator!=(const PlayerState& a, const PlayerState& b) { return !(a == b); }
};

/// How the active output gets on.
struct OutputReport
{
    enum class State { Playing, Paused, Ended, Error };

    EntryId id;
    State state;
    /// Milliseconds.
    qint64 position = 0;
    /// Milliseconds; 0: unknown.
    qint64 duration = 0;
    /// The serial of the command that the output obeys; none: the newest.
    std::optional<qint64> serial = {};
    /// Why the entry cannot be played.
    QString error = {};
};

/// The state machine of the player: commands and reports in, states out. It has neither a clock nor a thread of its
/// own.
///
/// A value. Functions get the queue as it is, and the time in milliseconds since 1970. Commands that can be refused
/// return the error, after which nothing has changed; an empty error stands for success.
class Player
{
public:
    /// An entry after which this many others failed in a row is not skipped: the player stops.
    static constexpr int mostFailures = 10;

    /// `seed` of the order in which shuffle plays.
    explicit Player(quint64 seed = 0);
    /// The player after a restart: paused, if there is a current entry, and without an output.
    Player(quint64 seed, const PlayerState& stored, const Queue& queue);

    [[nodiscard]] const PlayerState& state() const { return m_state; }
    /// Where the current entry has got to at `now`: the reported position, and the time since.
    [[nodiscard]] qint64 positionAt(qint64 now) const;

    /// Plays the entry from its beginning. Without an id it resumes the current entry, or begins with the first.
    /// Errors: noSuchItem, noOutput.
    [[nodiscard]] CMError play(const Queue& queue, std::optional<EntryId> id, qint64 now);
    /// As play(), but paused as long as there is no output. The queue has the entry.
    void start(const Queue& queue, EntryId id, qint64 now);
    /// What is stopped stays so.
    void pause(qint64 now);
    /// The current entry stays, at its beginning.
    void stop(qint64 now);
    /// Behind the last entry the player stops, if nothing repeats. Errors: noSuchItem, in an empty queue.
    [[nodiscard]] CMError next(const Queue& queue, qint64 now);
    /// At the first entry that one begins again, if nothing repeats. Errors: noSuchItem, in an empty queue.
    [[nodiscard]] CMError previous(const Queue& queue, qint64 now);
    /// Errors: noSuchItem without a current entry, invalidValue below 0.
    [[nodiscard]] CMError seek(qint64 position, qint64 now);
    /// Errors: invalidValue outside 0 to 100.
    [[nodiscard]] CMError setVolume(int volume);
    void setRepeat(const Queue& queue, Repeat repeat);
    /// Shuffle plays in a random order that begins with the current entry; the order of the queue stays.
    void setShuffle(const Queue& queue, bool shuffle);
    /// Another output continues at the same place; without one (empty) the player pauses. The caller knows that the
    /// output is there.
    void setOutput(const QString& name, qint64 now);

    /// A report of the active output. Ignored if it obeys an older command that changed what is played, or speaks of
    /// neither the current nor the next entry.
    void report(const Queue& queue, const OutputReport& report, qint64 now);

    /// The queue has been edited from `before` to `after`. `isNext`: the new entries are to be played next, also by
    /// shuffle; else they join the part that has not been played. A current entry that is gone gives way to the one
    /// that followed it.
    void queueEdited(const Queue& before, const Queue& after, const QueueChange& change, bool isNext, qint64 now);
    /// Goes on with an entry where it was; paused, if it is not to be playing or there is no output.
    void resume(const Queue& queue, EntryId id, qint64 position, bool isPlaying, qint64 now);

private:
    /// The entry that is `step` (1 or -1) from the current one in the order of playing.
    [[nodiscard]] std::optional<EntryId> neighbour(const Queue& queue, int step) const;
    [[nodiscard]] std::optional<EntryId> first(const Queue& queue) const;
    /// What play() without an id plays from its beginning; none: it resumes the current entry.
    [[nodiscard]] std::optional<EntryId> beginning(const Queue& queue) const;
    [[nodiscard]] std::optional<EntryId> survivor(const Queue& before, const std::vector<EntryId>& removed) const;

    void setPosition(qint64 position, qint64 now);
    /// A change that makes reports on what was played before void.
    void raiseSerial();
    void setCurrent(const Queue& queue, std::optional<EntryId> id, qint64 now);
    void begin(const Queue& queue, EntryId id, qint64 now);
    /// Makes the entry the one behind the current one in the order of shuffle.
    void bringForward(EntryId id);
    void advance(const Queue& queue, bool repeatsOne, qint64 now);
    void finish(const Queue& queue, qint64 now);
    void fail(const Queue& queue, const OutputReport& report, qint64 now);
    void updateNext(const Queue& queue);
    void makeOrder(const Queue& queue);
    void updateOrder(const QueueChange& change, const std::vector<EntryId>& removed, bool isNext);
    [[nodiscard]] int unplayedBegin() const;

    PlayerState m_state;
    /// The serial of the last command that changed what is played.
    qint64 m_playSerial = 0;
    /// Of the current entry, as reported; 0: unknown.
    qint64 m_duration = 0;
    /// The output holds the current entry, though it was commanded to play.
    bool m_isHeld = false;
    /// The last entry has ended: playing begins behind it, or with the first.
    bool m_isFinished = false;
    int m_failures = 0;
    /// The ids in the order in which shuffle plays; empty without shuffle.
    QVector<EntryId> m_order;
    std::mt19937_64 m_random;
};
