#include "playlist.h"

#include "refusal.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>

namespace {

/// Entries that are kept for being brought back.
constexpr std::size_t mostRemoved = std::size_t{2} * Queue::mostEntries;
constexpr std::size_t mostRemovals = 100;

template<typename T>
void append(std::vector<T>& list, const std::vector<T>& more)
{
    list.insert(list.end(), more.cbegin(), more.cend());
}

void append(QueueChange& change, const QueueChange& more)
{
    append(change.removed, more.removed);
    append(change.added, more.added);
    append(change.moved, more.moved);
    append(change.described, more.described);
    change.isReordered = change.isReordered || more.isReordered;
}

std::vector<EntryId> idsOf(const std::vector<QueuePlace>& places)
{
    std::vector<EntryId> ids;
    ids.reserve(places.size());
    for (const QueuePlace& place : places)
        ids.push_back(place.entry->id);
    return ids;
}

std::vector<EntryId> presentOf(const std::vector<EntryId>& ids, const Queue& queue)
{
    std::vector<EntryId> present;
    std::copy_if(
        ids.cbegin(), ids.cend(), std::back_inserter(present), [&queue](EntryId id) { return queue.contains(id); });
    return present;
}

Outcome refused(const CMError& error)
{
    return {QVariantHash(), error};
}

} // namespace

Playlist::Playlist(int version, quint64 seed) : m_player(seed), m_version(version), m_lastEdit(version), m_random(seed)
{
}

Playlist::Playlist(Queue queue, const PlayerState& player, int version, int lastEdit, quint64 seed)
    : m_queue(std::move(queue)), m_player(seed, player, m_queue), m_version(version), m_lastEdit(lastEdit),
      m_random(seed)
{
}

Outcome Playlist::addToQueue(std::vector<QueueItem> items, qint64 now)
{
    const Queue before = m_queue;
    return added(before, m_queue.append(std::move(items)), false, now);
}

Outcome Playlist::playNext(std::vector<QueueItem> items, qint64 now)
{
    const Queue before = m_queue;
    return added(before, m_queue.insert(player().current, std::move(items)), true, now);
}

Outcome Playlist::playNow(std::vector<QueueItem> items, qint64 now)
{
    Outcome outcome = playNext(std::move(items), now);
    if (outcome)
        m_player.start(m_queue, outcome.answer.value(QStringLiteral("first")).toLongLong(), now);
    return outcome;
}

Outcome Playlist::replaceQueue(std::vector<QueueItem> items, qint64 now)
{
    if (items.empty())
        return refused(Refusal::nothingToPlay());
    const Queue before = m_queue;
    const PlayerState played = player();
    const qint64 position = positionAt(now);
    const QueueEdit edit = m_queue.replace(std::move(items));
    Outcome outcome = added(before, edit, true, now);
    if (!outcome)
        return outcome;
    m_player.start(m_queue, edit.change.added.front().entry->id, now);
    keepRemoval(before, edit.change, played.current, position, outcome);
    return outcome;
}

Outcome Playlist::remove(const std::vector<EntryId>& ids, qint64 now)
{
    const Queue before = m_queue;
    return removed(before, m_queue.remove(ids), now);
}

Outcome Playlist::clear(qint64 now)
{
    const Queue before = m_queue;
    return removed(before, m_queue.clear(), now);
}

Outcome Playlist::move(const std::vector<EntryId>& ids, const Anchor& after, qint64 now)
{
    const Queue before = m_queue;
    return edited(before, m_queue.move(ids, after), false, now);
}

Outcome Playlist::shuffleQueue(qint64 now)
{
    const Queue before = m_queue;
    return edited(before, m_queue.shuffle(m_random), false, now);
}

Outcome Playlist::undo(int token, qint64 now)
{
    const auto found = std::find_if(
        m_removals.cbegin(), m_removals.cend(), [token](const auto& removal) { return removal->token == token; });
    if (found == m_removals.cend())
        return refused(Refusal::nothingToUndo(token));
    const auto& removal = *found;
    Queue queue = m_queue;
    QueueEdit edit = queue.remove(presentOf(removal->added, queue));
    const QueueEdit restored = queue.restore(removal->before, removal->removed);
    if (!restored)
        return refused(restored.error);

    append(edit.change, restored.change);
    const Queue before = std::exchange(m_queue, queue);
    const PlayerState played = player();
    Outcome outcome = edited(before, edit, false, now);
    const bool isCurrentGone = !played.current || !m_queue.contains(*played.current);
    if (isCurrentGone && removal->current && m_queue.contains(*removal->current))
        m_player.resume(m_queue, *removal->current, removal->position, played.state == PlayState::Playing, now);
    m_removals.erase(found);
    return outcome;
}

Outcome Playlist::describe(const std::vector<QueueEntry>& entries)
{
    const QueueEdit edit = m_queue.describe(entries);
    if (!edit.change.isEmpty()) {
        append(m_change, edit.change);
        makeVersion();
    }
    return versionAnswer();
}

Outcome Playlist::play(std::optional<EntryId> id, qint64 now)
{
    return serialAnswer(m_player.play(m_queue, id, now));
}

Outcome Playlist::pause(qint64 now)
{
    m_player.pause(now);
    return serialAnswer();
}

Outcome Playlist::stop(qint64 now)
{
    m_player.stop(now);
    return serialAnswer();
}

Outcome Playlist::next(qint64 now)
{
    return serialAnswer(m_player.next(m_queue, now));
}

Outcome Playlist::previous(qint64 now)
{
    return serialAnswer(m_player.previous(m_queue, now));
}

Outcome Playlist::seek(qint64 position, qint64 now)
{
    return serialAnswer(m_player.seek(position, now));
}

Outcome Playlist::setVolume(int volume)
{
    return serialAnswer(m_player.setVolume(volume));
}

Outcome Playlist::setRepeat(Repeat repeat)
{
    m_player.setRepeat(m_queue, repeat);
    return serialAnswer();
}

Outcome Playlist::setShuffle(bool shuffle)
{
    m_player.setShuffle(m_queue, shuffle);
    return serialAnswer();
}

Outcome Playlist::setOutput(const QString& name, qint64 now)
{
    if (!name.isEmpty() && !m_outputs.contains(name))
        return refused(Refusal::noSuchOutput(name));
    m_player.setOutput(name, now);
    return serialAnswer();
}

Outcome Playlist::offerOutput(const QString& name)
{
    if (!m_outputs.contains(name))
        m_outputs.append(name);
    return serialAnswer();
}

Outcome Playlist::withdrawOutput(const QString& name, qint64 now)
{
    m_outputs.removeOne(name);
    if (player().output == name)
        m_player.setOutput({}, now);
    return serialAnswer();
}

Outcome Playlist::report(const QString& output, const OutputReport& report, qint64 now)
{
    if (output.isEmpty() || player().output != output)
        return refused(Refusal::notActive(output));
    m_player.report(m_queue, report, now);
    return serialAnswer();
}

QueueChange Playlist::takeChange()
{
    return std::exchange(m_change, {});
}

Outcome Playlist::edited(const Queue& before, const QueueEdit& edit, bool isNext, qint64 now)
{
    if (!edit)
        return refused(edit.error);
    if (!edit.change.isEmpty()) {
        m_player.queueEdited(before, m_queue, edit.change, isNext, now);
        append(m_change, edit.change);
        makeVersion();
        m_lastEdit = m_version;
    }
    return versionAnswer();
}

Outcome Playlist::added(const Queue& before, const QueueEdit& edit, bool isNext, qint64 now)
{
    if (edit && edit.change.added.empty())
        return refused(Refusal::nothingToPlay());
    Outcome outcome = edited(before, edit, isNext, now);
    if (outcome) {
        outcome.answer.insert(QStringLiteral("added"), static_cast<int>(edit.change.added.size()));
        outcome.answer.insert(QStringLiteral("first"), edit.change.added.front().entry->id);
    }
    return outcome;
}

Outcome Playlist::removed(const Queue& before, const QueueEdit& edit, qint64 now)
{
    const PlayerState played = player();
    const qint64 position = positionAt(now);
    Outcome outcome = edited(before, edit, false, now);
    if (outcome && !edit.change.isEmpty())
        keepRemoval(before, edit.change, played.current, position, outcome);
    return outcome;
}

void Playlist::keepRemoval(
    const Queue& before, const QueueChange& change, std::optional<EntryId> current, qint64 position, Outcome& outcome)
{
    Removal removal{m_version, before, change.removed, idsOf(change.added), current, position};
    m_removals.push_back(std::make_shared<const Removal>(std::move(removal)));
    const auto add = [](std::size_t sum, const auto& kept) { return sum + kept->removed.size(); };
    while (m_removals.size() > mostRemovals ||
           std::accumulate(m_removals.cbegin(), m_removals.cend(), std::size_t{0}, add) > mostRemoved)
        m_removals.erase(m_removals.begin());
    outcome.answer.insert(QStringLiteral("undo"), m_version);
}

void Playlist::makeVersion()
{
    m_version = m_version == std::numeric_limits<int>::max() ? 1 : m_version + 1;
}

Outcome Playlist::versionAnswer() const
{
    return {{{QStringLiteral("version"), m_version}}, CMError()};
}

Outcome Playlist::serialAnswer(const CMError& error) const
{
    if (!error.isEmpty())
        return refused(error);
    return {{{QStringLiteral("serial"), player().serial}}, CMError()};
}
