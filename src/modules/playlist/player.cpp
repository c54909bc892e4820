#include "player.h"

#include "refusal.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace {

auto fieldsOf(const PlayerState& s)
{
    return std::tie(
        s.state, s.current, s.next, s.position, s.at, s.serial, s.output, s.volume, s.repeat, s.shuffle, s.failed,
        s.failure);
}

} // namespace

bool operator==(const PlayerState& a, const PlayerState& b)
{
    return fieldsOf(a) == fieldsOf(b);
}

Player::Player(quint64 seed) : m_random(seed) {}

Player::Player(quint64 seed, const PlayerState& stored, const Queue& queue)
    : m_state(stored), m_playSerial(stored.serial), m_random(seed)
{
    m_state.output.clear();
    if (m_state.current && queue.contains(*m_state.current)) {
        m_state.state = PlayState::Paused;
    } else {
        m_state.current.reset();
        m_state.state = PlayState::Stopped;
        m_state.position = 0;
    }
    if (m_state.shuffle)
        makeOrder(queue);
    updateNext(queue);
}

qint64 Player::positionAt(qint64 now) const
{
    if (m_state.state != PlayState::Playing || m_isHeld)
        return m_state.position;
    const qint64 position = m_state.position + std::max(now - m_state.at, qint64{0});
    return m_duration > 0 ? std::min(position, std::max(m_duration, m_state.position)) : position;
}

CMError Player::play(const Queue& queue, std::optional<EntryId> id, qint64 now)
{
    if (id && !queue.contains(*id))
        return Refusal::noSuchEntry(*id);
    const std::optional<EntryId> entry = id ? id : beginning(queue);
    if (!entry && !m_state.current)
        return Refusal::nothingToPlay();
    if (m_state.output.isEmpty())
        return Refusal::noOutput();
    if (id)
        bringForward(*id);
    if (entry) {
        begin(queue, *entry, now);
        return {};
    }
    setPosition(positionAt(now), now);
    m_state.state = PlayState::Playing;
    m_isHeld = false;
    m_failures = 0;
    raiseSerial();
    return {};
}

void Player::start(const Queue& queue, EntryId id, qint64 now)
{
    bringForward(id);
    begin(queue, id, now);
}

void Player::pause(qint64 now)
{
    setPosition(positionAt(now), now);
    if (m_state.state == PlayState::Playing)
        m_state.state = PlayState::Paused;
    raiseSerial();
}

void Player::stop(qint64 now)
{
    setPosition(0, now);
    m_state.state = PlayState::Stopped;
    raiseSerial();
}

CMError Player::next(const Queue& queue, qint64 now)
{
    if (queue.isEmpty())
        return Refusal::nothingToPlay();
    m_failures = 0;
    advance(queue, false, now);
    return {};
}

CMError Player::previous(const Queue& queue, qint64 now)
{
    if (queue.isEmpty())
        return Refusal::nothingToPlay();
    const std::optional<EntryId> before = m_isFinished ? m_state.current : neighbour(queue, -1);
    setCurrent(queue, before ? before : first(queue), now);
    m_failures = 0;
    raiseSerial();
    return {};
}

CMError Player::seek(qint64 position, qint64 now)
{
    if (position < 0)
        return Refusal::invalidPosition(position);
    if (!m_state.current)
        return Refusal::nothingToPlay();
    setPosition(m_duration > 0 ? std::min(position, m_duration) : position, now);
    m_isFinished = false;
    raiseSerial();
    return {};
}

CMError Player::setVolume(int volume)
{
    if (volume < 0 || volume > 100)
        return Refusal::invalidVolume(volume);
    m_state.volume = volume;
    ++m_state.serial;
    return {};
}

void Player::setRepeat(const Queue& queue, Repeat repeat)
{
    m_state.repeat = repeat;
    ++m_state.serial;
    updateNext(queue);
}

void Player::setShuffle(const Queue& queue, bool shuffle)
{
    if (shuffle && !m_state.shuffle)
        makeOrder(queue);
    if (!shuffle)
        m_order.clear();
    m_state.shuffle = shuffle;
    ++m_state.serial;
    updateNext(queue);
}

void Player::setOutput(const QString& name, qint64 now)
{
    setPosition(positionAt(now), now);
    m_state.output = name;
    m_isHeld = false;
    if (name.isEmpty() && m_state.state == PlayState::Playing)
        m_state.state = PlayState::Paused;
    raiseSerial();
}

void Player::report(const Queue& queue, const OutputReport& report, qint64 now)
{
    const bool isOld = report.serial && *report.serial < m_playSerial;
    if (isOld || m_state.state == PlayState::Stopped)
        return;
    if (m_state.current != report.id) {
        if (m_state.next != report.id)
            return;
        setCurrent(queue, report.id, now);
    }
    if (report.duration > 0)
        m_duration = report.duration;
    switch (report.state) {
    case OutputReport::State::Playing:
    case OutputReport::State::Paused:
        setPosition(std::max(report.position, qint64{0}), now);
        m_isHeld = report.state == OutputReport::State::Paused;
        break;
    case OutputReport::State::Ended:
        advance(queue, true, now);
        break;
    case OutputReport::State::Error:
        fail(queue, report, now);
        return;
    }
    // An entry has been played if it got beyond its beginning.
    if (report.position > 0 || report.state == OutputReport::State::Ended) {
        m_failures = 0;
        m_state.failed.reset();
        m_state.failure.clear();
    }
}

void Player::queueEdited(const Queue& before, const Queue& after, const QueueChange& change, bool isNext, qint64 now)
{
    std::vector<EntryId> removed = change.removed;
    std::sort(removed.begin(), removed.end());
    const bool isCurrentGone = m_state.current && !after.contains(*m_state.current);
    const std::optional<EntryId> successor = isCurrentGone ? survivor(before, removed) : std::nullopt;
    if (m_state.shuffle)
        updateOrder(change, removed, isNext);
    if (!isCurrentGone) {
        updateNext(after);
        return;
    }
    setCurrent(after, successor, now);
    if (!successor)
        m_state.state = PlayState::Stopped;
    raiseSerial();
}

void Player::resume(const Queue& queue, EntryId id, qint64 position, bool isPlaying, qint64 now)
{
    start(queue, id, now);
    m_state.position = position;
    if (!isPlaying)
        m_state.state = PlayState::Paused;
}

std::optional<EntryId> Player::neighbour(const Queue& queue, int step) const
{
    if (!m_state.current)
        return first(queue);
    const int count = queue.size();
    int index = m_state.shuffle ? m_order.indexOf(*m_state.current) : queue.indexOf(*m_state.current);
    index += step;
    if (m_state.repeat != Repeat::Off)
        index = (index + count) % count;
    if (index < 0 || index >= count)
        return std::nullopt;
    return m_state.shuffle ? m_order.at(index) : queue.at(index).id;
}

std::optional<EntryId> Player::first(const Queue& queue) const
{
    if (queue.isEmpty())
        return std::nullopt;
    return m_state.shuffle ? m_order.first() : queue.at(0).id;
}

std::optional<EntryId> Player::beginning(const Queue& queue) const
{
    if (m_state.current && !m_isFinished)
        return std::nullopt;
    const std::optional<EntryId> follower = neighbour(queue, 1);
    return follower ? follower : first(queue);
}

std::optional<EntryId> Player::survivor(const Queue& before, const std::vector<EntryId>& removed) const
{
    const std::vector<EntryId> order =
        m_state.shuffle ? std::vector<EntryId>(m_order.cbegin(), m_order.cend()) : before.ids();
    const auto isLeft = [&removed](EntryId id) { return !std::binary_search(removed.cbegin(), removed.cend(), id); };
    const auto current = std::find(order.cbegin(), order.cend(), *m_state.current);
    auto left = std::find_if(current, order.cend(), isLeft);
    if (left == order.cend() && m_state.repeat != Repeat::Off)
        left = std::find_if(order.cbegin(), order.cend(), isLeft);
    return left == order.cend() ? std::nullopt : std::optional<EntryId>(*left);
}

void Player::setPosition(qint64 position, qint64 now)
{
    m_state.position = position;
    m_state.at = now;
}

void Player::raiseSerial()
{
    m_playSerial = ++m_state.serial;
}

void Player::setCurrent(const Queue& queue, std::optional<EntryId> id, qint64 now)
{
    m_state.current = id;
    setPosition(0, now);
    m_duration = 0;
    m_isHeld = false;
    m_isFinished = false;
    updateNext(queue);
}

void Player::begin(const Queue& queue, EntryId id, qint64 now)
{
    setCurrent(queue, id, now);
    m_state.state = m_state.output.isEmpty() ? PlayState::Paused : PlayState::Playing;
    m_failures = 0;
    raiseSerial();
}

void Player::bringForward(EntryId id)
{
    if (!m_state.shuffle || m_state.current == id)
        return;
    m_order.removeOne(id);
    m_order.insert(unplayedBegin(), id);
}

void Player::advance(const Queue& queue, bool repeatsOne, qint64 now)
{
    const bool isRepeated = repeatsOne && m_state.repeat == Repeat::One;
    const std::optional<EntryId> follower = isRepeated ? m_state.current : neighbour(queue, 1);
    if (!follower) {
        finish(queue, now);
        return;
    }
    setCurrent(queue, follower, now);
    raiseSerial();
}

void Player::finish(const Queue& queue, qint64 now)
{
    setCurrent(queue, m_state.current, now);
    m_state.state = PlayState::Stopped;
    m_isFinished = true;
    raiseSerial();
}

void Player::fail(const Queue& queue, const OutputReport& report, qint64 now)
{
    m_state.failed = report.id;
    m_state.failure = report.error;
    if (++m_failures < mostFailures) {
        advance(queue, false, now);
        return;
    }
    m_failures = 0;
    stop(now);
}

void Player::updateNext(const Queue& queue)
{
    m_state.next.reset();
    if (m_state.current)
        m_state.next = m_state.repeat == Repeat::One ? m_state.current : neighbour(queue, 1);
}

void Player::makeOrder(const Queue& queue)
{
    const std::vector<EntryId> ids = queue.ids();
    m_order = QVector<EntryId>(ids.cbegin(), ids.cend());
    std::shuffle(m_order.begin(), m_order.end(), m_random);
    if (m_state.current)
        std::iter_swap(m_order.begin(), std::find(m_order.begin(), m_order.end(), *m_state.current));
}

void Player::updateOrder(const QueueChange& change, const std::vector<EntryId>& removed, bool isNext)
{
    // The part that has not been played begins where the current entry was, even if that is gone.
    const auto isRemoved = [&removed](EntryId id) { return std::binary_search(removed.cbegin(), removed.cend(), id); };
    const auto* const unplayed = m_order.cbegin() + unplayedBegin();
    const auto isKept = [&](EntryId id) { return !isRemoved(id); };
    const int begin = static_cast<int>(std::count_if(m_order.cbegin(), unplayed, isKept));
    m_order.erase(std::remove_if(m_order.begin(), m_order.end(), isRemoved), m_order.end());

    QVector<EntryId> added;
    for (const QueuePlace& place : change.added)
        added.append(place.entry->id);
    if (isNext) {
        const QVector<EntryId> rest = m_order.mid(begin);
        m_order = m_order.mid(0, begin) + added + rest;
        return;
    }
    for (const EntryId id : added) {
        m_order.append(id);
        std::uniform_int_distribution<int> anywhere(begin, m_order.size() - 1);
        std::swap(m_order.last(), m_order[anywhere(m_random)]);
    }
}

int Player::unplayedBegin() const
{
    return m_state.current ? m_order.indexOf(*m_state.current) + 1 : 0;
}
